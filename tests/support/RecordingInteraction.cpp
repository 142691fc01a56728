#include "tests/support/RecordingInteraction.h"

#include "core/ErrorReport.h"

namespace quorvane::testing {

void RecordingProgress::SetIsVisible(bool visible) {
  if (visible && failWhenShownInColor == color) {
    failWhenShownInColor.reset();
    ThrowError(kErrorOutOfMemory, "Out of memory");
  }
  shown = visible;
  if (visible) ++timesShown;
}

RecordingInteraction::RecordingInteraction() { SetUserInterface(this); }

RecordingInteraction::~RecordingInteraction() { SetUserInterface(nullptr); }

MessageAnswer RecordingInteraction::MsgBox(const MessageRequest& request) {
  messages.push_back(request);
  if (answers.empty()) return DefaultAnswer(request);
  const MessageAnswer answer = answers.front();
  answers.pop_front();
  return answer;
}

std::optional<std::string> RecordingInteraction::InputBox(const std::string& prompt,
                                                          const std::string&,
                                                          const std::string& defaultText) {
  inputPrompts.push_back(prompt);
  if (inputs.empty()) return defaultText;
  auto answer = inputs.front();
  inputs.pop_front();
  return answer;
}

void RecordingInteraction::SetBusy(bool busy) {
  ++busyCalls;
  busyDepth += busy ? 1 : -1;
}

std::vector<std::string> RecordingInteraction::Texts() const {
  std::vector<std::string> texts;
  for (const auto& message : messages) texts.push_back(message.text);
  return texts;
}

}  // namespace quorvane::testing
