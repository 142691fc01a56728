#include "ui/TwoValueDialog.h"

#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "core/Numbers.h"
#include "core/Settings.h"
#include "ui/DialogButtons.h"

namespace quorvane {

namespace {

constexpr const char* kSection = "Effects";

}  // namespace

TwoValueDialog::TwoValueDialog(QWidget* parent, const QString& title, const char* key,
                               const std::array<ValueBox, 2>& boxes, const QString& help)
    : QDialog(parent), key_(key) {
  setWindowTitle(title);
  const std::string kept = SettingGet(kSection, key_, "");
  const size_t comma = kept.find(',');
  auto* column = new QVBoxLayout(this);
  auto* grid = new QGridLayout;
  for (int row = 0; row < 2; ++row) {
    const ValueBox& box = boxes[static_cast<size_t>(row)];
    const std::string text = comma == std::string::npos ? box.defaultText
                             : row == 0                 ? kept.substr(0, comma)
                                                        : kept.substr(comma + 1);
    auto* edit = new QLineEdit(QString::fromStdString(text), this);
    edit->setObjectName(box.name);
    boxes_[static_cast<size_t>(row)] = edit;
    auto* label = new QLabel(box.caption, this);
    label->setBuddy(edit);
    grid->addWidget(label, row, 0);
    grid->addWidget(edit, row, 1);
    grid->addWidget(new QLabel(box.range, this), row, 2);
  }
  auto* explanation = new QLabel(help, this);
  explanation->setWordWrap(true);
  grid->addWidget(explanation, 2, 0, 1, 3);
  column->addLayout(grid);
  AddOkCancelButtons(
      *this, *column, "OK", [this] { accept(); }, [this] { reject(); });
  setMinimumWidth(420);
  FixDialogSize(*this);
}

std::array<double, 2> TwoValueDialog::Numbers() const {
  return {LeadingNumber(boxes_[0]->text().toStdString()),
          LeadingNumber(boxes_[1]->text().toStdString())};
}

void TwoValueDialog::KeepValues() const {
  SettingPut(kSection, key_,
             boxes_[0]->text().toStdString() + "," + boxes_[1]->text().toStdString());
}

}  // namespace quorvane
