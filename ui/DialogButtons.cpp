#include "ui/DialogButtons.h"

#include <QBoxLayout>
#include <QDialog>
#include <QPushButton>

namespace quorvane {

void AddOkCancelButtons(QDialog& dialog, QBoxLayout& column, const QString& okCaption,
                        std::function<void()> onOk, std::function<void()> onCancel) {
  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  auto* ok = new QPushButton(okCaption, &dialog);
  ok->setObjectName("OkBtn");
  ok->setDefault(true);
  auto* cancel = new QPushButton("Cancel", &dialog);
  cancel->setObjectName("CancelBtn");
  buttons->addWidget(ok);
  buttons->addWidget(cancel);
  column.addLayout(buttons);
  QObject::connect(ok, &QPushButton::clicked, &dialog, std::move(onOk));
  QObject::connect(cancel, &QPushButton::clicked, &dialog, std::move(onCancel));
}

}  // namespace quorvane
