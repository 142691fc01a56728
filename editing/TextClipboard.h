// The plain-text clipboard that copy and paste exchange their description through. The
// window puts the desktop clipboard behind it, so that two running editors share it; the
// batch tool and the tests use the in-process one.
#pragma once

#include <functional>
#include <string>

namespace quorvane {

class TextClipboard {
 public:
  virtual ~TextClipboard() = default;
  // The text on the clipboard; empty when it holds none.
  virtual std::string Text() const = 0;
  virtual void SetText(const std::string& text) = 0;
  virtual void Clear() = 0;
  // The text, and beside it the same audio as a WAV file's bytes for other programs
  // (audio/wav), made by `wav` only when someone asks for them; no audio without `wav`.
  virtual void SetTextAndAudio(const std::string& text, std::function<std::string()> wav) = 0;
  // A WAV file's bytes on the clipboard (audio/wav); empty when it holds none.
  virtual std::string Audio() const = 0;
};

// A clipboard that lives as long as the process and is seen by nobody else.
class InProcessClipboard : public TextClipboard {
 public:
  std::string Text() const override { return text_; }
  void SetText(const std::string& text) override {
    text_ = text;
    audio_ = nullptr;
  }
  void Clear() override { SetText(""); }
  void SetTextAndAudio(const std::string& text, std::function<std::string()> wav) override {
    text_ = text;
    audio_ = std::move(wav);
  }
  std::string Audio() const override { return audio_ ? audio_() : ""; }

 private:
  std::string text_;
  std::function<std::string()> audio_;
};

// The process-wide clipboard in use: an in-process one until a front end installs its own.
TextClipboard& SystemClipboard();
void SetSystemClipboard(TextClipboard* clipboard);  // nullptr restores the in-process one

}  // namespace quorvane
