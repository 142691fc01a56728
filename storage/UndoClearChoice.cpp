#include "storage/UndoClearChoice.h"

#include <string>

#include "core/Interaction.h"

namespace quorvane {

std::optional<int> UndoClearButtonResult(int button, int selectedEntry) {
  if (button == kUndoClearUpToSelected && selectedEntry < 0) {
    UserInterface().Message(std::string("Please select an item in the list and") + kCrLf +
                            "click \"Clear up to selected item\"");
    return std::nullopt;
  }
  if (button < kUndoClearFirstOne || button > kUndoClearAll) return kUndoClearClose;
  return button;
}

}  // namespace quorvane
