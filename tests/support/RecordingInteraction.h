// An interaction for tests: records every message and progress value, and answers
// messages from a script (default answers once the script runs out) and input boxes with
// their default text.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "core/ErrorReport.h"
#include "core/Interaction.h"

namespace quorvane::testing {

class RecordingProgress : public ProgressDisplay {
 public:
  void SetBarColor1(uint32_t rgb) override { color = rgb; }
  uint32_t BarColor1() const override { return color; }
  void SetCurrentProgress(float value) override {
    progress = value;
    values.push_back(value);
  }
  float CurrentProgress() const override { return progress; }
  void SetIsVisible(bool visible) override {
    if (visible && failWhenShownInColor == color) {
      failWhenShownInColor.reset();
      ThrowError(kErrorOutOfMemory, "Out of memory");
    }
    shown = visible;
    timesShown += visible ? 1 : 0;
  }
  bool IsVisible() const override { return shown; }

  // The one way tests reach the error handlers of long operations: the display fails once,
  // with the run-time error "Out of memory", when it is next shown in this bar colour.
  std::optional<uint32_t> failWhenShownInColor;

  uint32_t color = 0;
  float progress = 0.0F;
  bool shown = false;
  int timesShown = 0;
  std::vector<float> values;
};

class RecordingInteraction : public Interaction {
 public:
  // Installs itself as the process-wide interaction for its lifetime.
  RecordingInteraction() { SetUserInterface(this); }
  ~RecordingInteraction() override { SetUserInterface(nullptr); }

  MessageAnswer MsgBox(const MessageRequest& request) override {
    messages.push_back(request);
    if (answers.empty()) return DefaultAnswer(request);
    const MessageAnswer answer = answers.front();
    answers.pop_front();
    return answer;
  }
  std::optional<std::string> InputBox(const std::string&, const std::string&,
                                      const std::string& defaultText) override {
    return defaultText;
  }
  void SetBusy(bool busy) override { busyDepth += busy ? 1 : -1; }
  ProgressDisplay& Progress() override { return progress; }

  // An answer for the next question, after those given before.
  void Answer(MessageAnswer answer) { answers.push_back(answer); }

  // The texts of every message so far.
  std::vector<std::string> Texts() const {
    std::vector<std::string> texts;
    for (const auto& message : messages) texts.push_back(message.text);
    return texts;
  }

  std::vector<MessageRequest> messages;
  std::deque<MessageAnswer> answers;
  int busyDepth = 0;
  RecordingProgress progress;
};

}  // namespace quorvane::testing
