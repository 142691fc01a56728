#include "ui/UndoClearFrm.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "core/Interaction.h"
#include "ui/DialogButtons.h"

namespace quorvane {

UndoClearFrm::UndoClearFrm(QWidget* parent, const std::vector<std::string>& AvailList)
    : QDialog(parent) {
  setWindowTitle(kAppTitle);
  auto* column = new QVBoxLayout(this);
  column->addWidget(new QLabel("Undo backup data items:", this));
  list_ = new QListWidget(this);
  for (const std::string& entry : AvailList) list_->addItem(QString::fromStdString(entry));
  column->addWidget(list_);
  auto* row = new QHBoxLayout;
  const std::array<const char*, 3> captions = {"Clear first one", "Clear up to selected item",
                                               "Clear all"};
  for (int index = 1; index <= 3; ++index) {
    auto* button = new QPushButton(captions[static_cast<size_t>(index) - 1], this);
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, [this, index] { ClearButton_Click(index); });
    row->addWidget(button);
  }
  auto* close = new QPushButton("Close", this);
  connect(close, &QPushButton::clicked, this, [this] {
    choice_.Button = kUndoClearClose;
    hide();
    done(QDialog::Rejected);
  });
  row->addWidget(close);
  column->addLayout(row);
  FixDialogSize(*this);
}

void UndoClearFrm::ClearButton_Click(int index) {
  const std::optional<int> result = UndoClearButtonResult(index, list_->currentRow());
  if (!result) return;
  choice_.Button = *result;
  choice_.SelectedEntry = list_->currentRow();
  done(QDialog::Accepted);
}

}  // namespace quorvane
