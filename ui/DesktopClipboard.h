// The desktop's clipboard behind the editor's text clipboard, so that two running editors
// exchange audio descriptions through it, and other programs take and give audio as WAV.
#pragma once

#include "editing/TextClipboard.h"

namespace quorvane {

class DesktopClipboard : public TextClipboard {
 public:
  std::string Text() const override;
  void SetText(const std::string& text) override;
  void Clear() override;
  void SetTextAndAudio(const std::string& text, std::function<std::string()> wav) override;
  std::string Audio() const override;
};

}  // namespace quorvane
