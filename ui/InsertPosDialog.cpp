#include "ui/InsertPosDialog.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QRadioButton>
#include <QVBoxLayout>

#include "core/Interaction.h"

#include "ui/DialogButtons.h"

namespace quorvane {

InsertPosDialog::InsertPosDialog(QWidget* parent, InsertPosFrm& form)
    : QDialog(parent), form_(form) {
  setWindowTitle(kAppTitle);
  auto* column = new QVBoxLayout(this);
  auto* group = new QGroupBox("Insert at", this);
  auto* choices = new QVBoxLayout(group);
  const std::array<const char*, 3> captions = {"Cursor Position", "Start of Current Slide",
                                               "End of Current Slide"};
  for (int index = 0; index < 3; ++index) {
    auto* option = new QRadioButton(captions[static_cast<size_t>(index)], group);
    option->setObjectName(QString("InsertPosOpn%1").arg(index));
    choices->addWidget(option);
    options_[static_cast<size_t>(index)] = option;
  }
  Option(kInsertAtCursor)->setEnabled(form_.CursorOptionEnabled);
  Option(form_.InsertPosOpn)->setChecked(true);
  column->addWidget(group);
  AddOkCancelButtons(
      *this, *column, "Ok", [this] { OkBtn_Click(); }, [this] { CancelBtn_Click(); });
  FixDialogSize(*this);
}

void InsertPosDialog::OkBtn_Click() {
  for (int index = 0; index < 3; ++index) {
    if (Option(index)->isChecked()) form_.InsertPosOpn = index;
  }
  form_.OkClicked = true;
  accept();
}

void InsertPosDialog::CancelBtn_Click() {
  form_.OkClicked = false;
  reject();
}

}  // namespace quorvane
