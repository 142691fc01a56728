// The desktop's clipboard behind the editor's text clipboard, so that two running editors
// exchange audio descriptions through it.
#pragma once

#include "editing/TextClipboard.h"

namespace quorvane {

class DesktopClipboard : public TextClipboard {
 public:
  std::string Text() const override;
  void SetText(const std::string& text) override;
  void Clear() override;
};

}  // namespace quorvane
