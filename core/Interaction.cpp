#include "core/Interaction.h"

#include <iostream>

#include "core/BatchInteraction.h"

namespace quorvane {

namespace {

Interaction* g_interaction = nullptr;

Interaction& FallbackInteraction() {
  static BatchInteraction fallback(std::cerr);
  return fallback;
}

}  // namespace

MessageAnswer DefaultAnswer(const MessageRequest& request) {
  static constexpr MessageAnswer kOk[] = {MessageAnswer::Ok};
  static constexpr MessageAnswer kOkCancel[] = {MessageAnswer::Ok, MessageAnswer::Cancel};
  static constexpr MessageAnswer kAbortRetryIgnore[] = {MessageAnswer::Abort, MessageAnswer::Retry,
                                                        MessageAnswer::Ignore};
  static constexpr MessageAnswer kYesNoCancel[] = {MessageAnswer::Yes, MessageAnswer::No,
                                                   MessageAnswer::Cancel};
  static constexpr MessageAnswer kYesNo[] = {MessageAnswer::Yes, MessageAnswer::No};
  static constexpr MessageAnswer kRetryCancel[] = {MessageAnswer::Retry, MessageAnswer::Cancel};

  const MessageAnswer* buttons = kOk;
  int count = 1;
  switch (request.buttons) {
    case MessageButtons::OkOnly:
      buttons = kOk;
      count = 1;
      break;
    case MessageButtons::OkCancel:
      buttons = kOkCancel;
      count = 2;
      break;
    case MessageButtons::AbortRetryIgnore:
      buttons = kAbortRetryIgnore;
      count = 3;
      break;
    case MessageButtons::YesNoCancel:
      buttons = kYesNoCancel;
      count = 3;
      break;
    case MessageButtons::YesNo:
      buttons = kYesNo;
      count = 2;
      break;
    case MessageButtons::RetryCancel:
      buttons = kRetryCancel;
      count = 2;
      break;
  }
  const int index =
      request.defaultButton >= 1 && request.defaultButton <= count ? request.defaultButton - 1 : 0;
  return buttons[index];
}

const char* AnswerName(MessageAnswer answer) {
  switch (answer) {
    case MessageAnswer::Ok:
      return "OK";
    case MessageAnswer::Cancel:
      return "Cancel";
    case MessageAnswer::Abort:
      return "Abort";
    case MessageAnswer::Retry:
      return "Retry";
    case MessageAnswer::Ignore:
      return "Ignore";
    case MessageAnswer::Yes:
      return "Yes";
    case MessageAnswer::No:
      return "No";
  }
  return "OK";
}

const char* IconName(MessageIcon icon) {
  switch (icon) {
    case MessageIcon::None:
      return "None";
    case MessageIcon::Critical:
      return "Critical";
    case MessageIcon::Question:
      return "Question";
    case MessageIcon::Exclamation:
      return "Exclamation";
    case MessageIcon::Information:
      return "Information";
  }
  return "None";
}

const char* ButtonsName(MessageButtons buttons) {
  switch (buttons) {
    case MessageButtons::OkOnly:
      return "OKOnly";
    case MessageButtons::OkCancel:
      return "OKCancel";
    case MessageButtons::AbortRetryIgnore:
      return "AbortRetryIgnore";
    case MessageButtons::YesNoCancel:
      return "YesNoCancel";
    case MessageButtons::YesNo:
      return "YesNo";
    case MessageButtons::RetryCancel:
      return "RetryCancel";
  }
  return "OKOnly";
}

void Interaction::Message(const std::string& text, MessageIcon icon, const std::string& caption) {
  MsgBox(MessageRequest{text, caption, icon, MessageButtons::OkOnly, 1});
}

Interaction& UserInterface() { return g_interaction ? *g_interaction : FallbackInteraction(); }

void SetUserInterface(Interaction* interaction) { g_interaction = interaction; }

CountedMessages::CountedMessages() : installedBefore_(g_interaction), passOn_(UserInterface()) {
  SetUserInterface(this);
}

CountedMessages::~CountedMessages() { SetUserInterface(installedBefore_); }

MessageAnswer CountedMessages::MsgBox(const MessageRequest& request) {
  ++count_;
  return passOn_.MsgBox(request);
}

std::optional<std::string> CountedMessages::InputBox(const std::string& prompt,
                                                     const std::string& title,
                                                     const std::string& defaultText) {
  return passOn_.InputBox(prompt, title, defaultText);
}

void CountedMessages::SetBusy(bool busy) { passOn_.SetBusy(busy); }

ProgressDisplay& CountedMessages::Progress() { return passOn_.Progress(); }

}  // namespace quorvane
