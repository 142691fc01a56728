// An interaction for tests: records every message, input box and progress value, and
// answers from a script (default answers once the script runs out).
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

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
  void SetIsVisible(bool visible) override;
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
  RecordingInteraction();
  ~RecordingInteraction() override;

  MessageAnswer MsgBox(const MessageRequest& request) override;
  std::optional<std::string> InputBox(const std::string& prompt, const std::string& title,
                                      const std::string& defaultText) override;
  void SetBusy(bool busy) override;
  ProgressDisplay& Progress() override { return progress; }

  // Answers for the next questions, in order.
  void Answer(MessageAnswer answer) { answers.push_back(answer); }
  void AnswerInput(std::optional<std::string> text) { inputs.push_back(std::move(text)); }

  // The texts of every message so far.
  std::vector<std::string> Texts() const;

  std::vector<MessageRequest> messages;
  std::vector<std::string> inputPrompts;
  std::deque<MessageAnswer> answers;
  std::deque<std::optional<std::string>> inputs;
  int busyDepth = 0;
  int busyCalls = 0;
  RecordingProgress progress;
};

}  // namespace quorvane::testing
