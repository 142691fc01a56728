#include "ui/DialogButtons.h"

#include <QBoxLayout>
#include <QDialog>
#include <QFontMetrics>
#include <QLayout>
#include <QPushButton>
#include <algorithm>

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

int TitleBarWidth(const QWidget& window) {
  // Desktops draw titles in a bold font of about the window's size, beside up to three
  // buttons and an icon.
  constexpr int kButtonsAndIcon = 140;
  QFont bold = window.font();
  bold.setBold(true);
  return QFontMetrics(bold).horizontalAdvance(window.windowTitle().trimmed()) + kButtonsAndIcon;
}

void FixDialogSize(QDialog& dialog) {
  QLayout* layout = dialog.layout();
  if (layout != nullptr) layout->activate();
  const QSize wanted = dialog.sizeHint();
  const int width = std::max({wanted.width(), dialog.minimumWidth(), TitleBarWidth(dialog)});
  // Wrapped text is as tall as the final width makes it, with no empty strip below.
  const int height = layout != nullptr && layout->hasHeightForWidth()
                         ? layout->totalHeightForWidth(width)
                         : wanted.height();
  dialog.setFixedSize(width, height);
}

}  // namespace quorvane
