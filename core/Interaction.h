// The one way the logic talks to the person at the machine: message boxes, questions,
// input boxes, the busy pointer and the progress display. The window implements it with
// Qt, the batch tool writes JSON lines, and tests record every call.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quorvane {

inline constexpr const char* kAppTitle = "Timeline Audio Editor";
inline constexpr const char* kCrLf = "\r\n";

enum class MessageIcon { None, Critical, Question, Exclamation, Information };

enum class MessageButtons { OkOnly, OkCancel, AbortRetryIgnore, YesNoCancel, YesNo, RetryCancel };

enum class MessageAnswer { Ok = 1, Cancel = 2, Abort = 3, Retry = 4, Ignore = 5, Yes = 6, No = 7 };

struct MessageRequest {
  std::string text;
  std::string caption = kAppTitle;
  MessageIcon icon = MessageIcon::None;
  MessageButtons buttons = MessageButtons::OkOnly;
  int defaultButton = 1;  // 1-based: which of the buttons is the default answer
};

// The default answer of a request: the button at `defaultButton`, or the first one.
MessageAnswer DefaultAnswer(const MessageRequest& request);

// Names used when messages are written as text: "OK", "Yes", "Critical", "YesNoCancel", ...
const char* AnswerName(MessageAnswer answer);
const char* IconName(MessageIcon icon);
const char* ButtonsName(MessageButtons buttons);

// The progress panel of the window: users set the bar colour, show it, write progress
// values repeatedly and hide it again.
class ProgressDisplay {
 public:
  virtual ~ProgressDisplay() = default;
  virtual void SetBarColor1(uint32_t rgb) = 0;
  virtual uint32_t BarColor1() const = 0;
  virtual void SetCurrentProgress(float value) = 0;
  virtual float CurrentProgress() const = 0;
  virtual void SetIsVisible(bool visible) = 0;
  virtual bool IsVisible() const = 0;
  // Whether the person asked to cancel the operation shown since it was made visible. An
  // operation asks only while the document is as it was before it: cancelling then leaves
  // nothing changed.
  virtual bool CancelRequested() { return false; }
};

// A progress display that only keeps its values, for front ends without a panel.
class SilentProgressDisplay : public ProgressDisplay {
 public:
  void SetBarColor1(uint32_t rgb) override { color_ = rgb; }
  uint32_t BarColor1() const override { return color_; }
  void SetCurrentProgress(float value) override { progress_ = value; }
  float CurrentProgress() const override { return progress_; }
  void SetIsVisible(bool visible) override { visible_ = visible; }
  bool IsVisible() const override { return visible_; }

 private:
  uint32_t color_ = 0;
  float progress_ = 0.0F;
  bool visible_ = false;
};

class Interaction {
 public:
  virtual ~Interaction() = default;

  // Shows a message box or asks a question; returns the button chosen.
  virtual MessageAnswer MsgBox(const MessageRequest& request) = 0;

  // Asks for a line of text; no value when the person cancels.
  virtual std::optional<std::string> InputBox(const std::string& prompt, const std::string& title,
                                              const std::string& defaultText) = 0;

  // Shows or restores the busy (hourglass) pointer.
  virtual void SetBusy(bool busy) = 0;

  virtual ProgressDisplay& Progress() = 0;

  // Shorthand for an OK-only message.
  void Message(const std::string& text, MessageIcon icon = MessageIcon::None,
               const std::string& caption = kAppTitle);
};

// The process-wide interaction in use. Until a front end installs its own, messages go
// to standard error as JSON lines and every question takes its default answer.
Interaction& UserInterface();
void SetUserInterface(Interaction* interaction);  // nullptr restores the default

// Counts the messages shown while it is installed and passes every call on to the
// interaction installed before it; installed for its lifetime. Tells whether anything went
// wrong in an operation that reports its troubles only to the user.
class CountedMessages : public Interaction {
 public:
  CountedMessages();
  ~CountedMessages() override;
  CountedMessages(const CountedMessages&) = delete;
  CountedMessages& operator=(const CountedMessages&) = delete;

  MessageAnswer MsgBox(const MessageRequest& request) override;
  std::optional<std::string> InputBox(const std::string& prompt, const std::string& title,
                                      const std::string& defaultText) override;
  void SetBusy(bool busy) override;
  ProgressDisplay& Progress() override;

  int Count() const { return count_; }

 private:
  Interaction* installedBefore_;
  Interaction& passOn_;
  int count_ = 0;
};

// RGB colour value in the platform's order (red in the low byte).
constexpr uint32_t Rgb(int red, int green, int blue) {
  return static_cast<uint32_t>(red & 0xFF) | (static_cast<uint32_t>(green & 0xFF) << 8) |
         (static_cast<uint32_t>(blue & 0xFF) << 16);
}

// Shows the busy pointer for the life of the object and restores it at the end.
class BusyPointer {
 public:
  BusyPointer() { UserInterface().SetBusy(true); }
  ~BusyPointer() { UserInterface().SetBusy(false); }
  BusyPointer(const BusyPointer&) = delete;
  BusyPointer& operator=(const BusyPointer&) = delete;
};

// Shows the progress display for the life of the object. With a bar colour it starts the
// bar at 0 and hides the display on every way out; without one it only shows a display
// not shown yet and leaves one already shown (by an enclosing operation) as it was.
class ShownProgress {
 public:
  explicit ShownProgress(uint32_t barColor) : hideAtEnd_(true) {
    ProgressDisplay& progress = UserInterface().Progress();
    progress.SetBarColor1(barColor);
    progress.SetIsVisible(true);
    progress.SetCurrentProgress(0.0F);
  }
  ShownProgress() : hideAtEnd_(!UserInterface().Progress().IsVisible()) {
    if (hideAtEnd_) UserInterface().Progress().SetIsVisible(true);
  }
  ~ShownProgress() {
    if (hideAtEnd_) UserInterface().Progress().SetIsVisible(false);
  }
  ShownProgress(const ShownProgress&) = delete;
  ShownProgress& operator=(const ShownProgress&) = delete;
  void Set(float value) { UserInterface().Progress().SetCurrentProgress(value); }

 private:
  bool hideAtEnd_;
};

}  // namespace quorvane
