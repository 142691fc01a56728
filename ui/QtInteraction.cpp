#include "ui/QtInteraction.h"

#include <QApplication>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>
#include <utility>

#include <vector>
#include "ui/DialogButtons.h"

namespace quorvane {

namespace {

QMessageBox::Icon BoxIcon(MessageIcon icon) {
  switch (icon) {
    case MessageIcon::Critical:
      return QMessageBox::Critical;
    case MessageIcon::Question:
      return QMessageBox::Question;
    case MessageIcon::Exclamation:
      return QMessageBox::Warning;
    case MessageIcon::Information:
      return QMessageBox::Information;
    case MessageIcon::None:
      break;
  }
  return QMessageBox::NoIcon;
}

std::vector<std::pair<MessageAnswer, QMessageBox::StandardButton>> Buttons(MessageButtons buttons) {
  using A = MessageAnswer;
  using B = QMessageBox;
  switch (buttons) {
    case MessageButtons::OkOnly:
      return {{A::Ok, B::Ok}};
    case MessageButtons::OkCancel:
      return {{A::Ok, B::Ok}, {A::Cancel, B::Cancel}};
    case MessageButtons::AbortRetryIgnore:
      return {{A::Abort, B::Abort}, {A::Retry, B::Retry}, {A::Ignore, B::Ignore}};
    case MessageButtons::YesNoCancel:
      return {{A::Yes, B::Yes}, {A::No, B::No}, {A::Cancel, B::Cancel}};
    case MessageButtons::YesNo:
      return {{A::Yes, B::Yes}, {A::No, B::No}};
    case MessageButtons::RetryCancel:
      return {{A::Retry, B::Retry}, {A::Cancel, B::Cancel}};
  }
  return {{A::Ok, B::Ok}};
}

}  // namespace

MessageAnswer QtInteraction::MsgBox(const MessageRequest& request) {
  QMessageBox box(BoxIcon(request.icon), QString::fromStdString(request.caption),
                  QString::fromStdString(request.text), QMessageBox::NoButton, owner_);
  const auto buttons = Buttons(request.buttons);
  for (const auto& [answer, button] : buttons) box.addButton(button);
  const size_t defaultIndex = static_cast<size_t>(request.defaultButton) - 1;
  if (defaultIndex < buttons.size()) box.setDefaultButton(buttons[defaultIndex].second);
  // The busy pointer of a long operation must not hide the pointer over the box.
  const bool busy = QApplication::overrideCursor() != nullptr;
  if (busy) QApplication::setOverrideCursor(Qt::ArrowCursor);
  const int chosen = box.exec();
  if (busy) QApplication::restoreOverrideCursor();
  for (const auto& [answer, button] : buttons) {
    if (chosen == button) return answer;
  }
  // Closed with the window's close box: the escape answer, else the default one.
  if (request.buttons == MessageButtons::YesNoCancel ||
      request.buttons == MessageButtons::OkCancel ||
      request.buttons == MessageButtons::RetryCancel) {
    return MessageAnswer::Cancel;
  }
  return DefaultAnswer(request);
}

std::optional<std::string> QtInteraction::InputBox(const std::string& prompt,
                                                   const std::string& title,
                                                   const std::string& defaultText) {
  QInputDialog dialog(owner_);
  dialog.setWindowTitle(QString::fromStdString(title));
  dialog.setLabelText(QString::fromStdString(prompt));
  dialog.setTextValue(QString::fromStdString(defaultText));
  FixDialogSize(dialog);
  if (dialog.exec() != QDialog::Accepted) return std::nullopt;
  return dialog.textValue().toStdString();
}

void QtInteraction::SetBusy(bool busy) {
  if (busy) {
    QApplication::setOverrideCursor(Qt::WaitCursor);
  } else if (QApplication::overrideCursor() != nullptr) {
    QApplication::restoreOverrideCursor();
  }
}

ProgressDisplay& QtInteraction::Progress() { return progress_ != nullptr ? *progress_ : noPanel_; }

}  // namespace quorvane
