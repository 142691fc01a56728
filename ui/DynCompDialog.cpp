#include "ui/DynCompDialog.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "ui/DialogButtons.h"

namespace quorvane {

namespace {

struct BoxText {
  const char* name;
  const char* caption;
  const char* range;
  const char* help;
};

constexpr std::array<BoxText, 3> kBoxes = {{
    {"SampDurTxt", "Sampling Duration (Seconds) :", "Permissible range: 0.1 to 4.0",
     "Average volume for this much of audio samples will be checked to adjust a sample at the "
     "center that region."},
    {"TargetVolTxt", "Target Volume (%) :", "Permissible range 10 to 200",
     "This will be the final volume. Enter a value lower than 100 to reduce, more than 100 to "
     "increase."},
    {"CutOffVolTxt", "Cut off Volume (%) :", "Permissible range 0 to 10",
     "If the original volume is below this value, it will not be changed. Use it to avoid "
     "processing silent regions so that, the noise is not amplified."},
}};

}  // namespace

DynCompDialog::DynCompDialog(QWidget* parent, DynCompFrm& form) : QDialog(parent), form_(form) {
  setWindowTitle("Enter Dynamic Compress / Expand Parameters:");
  auto* column = new QVBoxLayout(this);
  auto* grid = new QGridLayout;
  const std::array<std::string*, 3> texts = {&form_.SampDurTxt, &form_.TargetVolTxt,
                                             &form_.CutOffVolTxt};
  for (int row = 0; row < 3; ++row) {
    const BoxText& box = kBoxes[static_cast<size_t>(row)];
    auto* edit = new QLineEdit(QString::fromStdString(*texts[static_cast<size_t>(row)]), this);
    edit->setObjectName(box.name);
    edit->setMaximumWidth(80);
    boxes_[static_cast<size_t>(row)] = edit;
    auto* help = new QLabel(box.help, this);
    help->setWordWrap(true);
    grid->addWidget(new QLabel(box.caption, this), row * 2, 0);
    grid->addWidget(edit, row * 2, 1);
    grid->addWidget(new QLabel(box.range, this), row * 2, 2);
    grid->addWidget(help, row * 2 + 1, 0, 1, 3);
  }
  column->addLayout(grid);
  AddOkCancelButtons(
      *this, *column, "OK", [this] { OkBtn_Click(); }, [this] { CancelBtn_Click(); });
  setMinimumWidth(460);
  FixDialogSize(*this);
}

void DynCompDialog::OkBtn_Click() {
  form_.SampDurTxt = boxes_[0]->text().toStdString();
  form_.TargetVolTxt = boxes_[1]->text().toStdString();
  form_.CutOffVolTxt = boxes_[2]->text().toStdString();
  form_.OkClicked = true;
  accept();
}

void DynCompDialog::CancelBtn_Click() {
  form_.OkClicked = false;
  reject();
}

}  // namespace quorvane
