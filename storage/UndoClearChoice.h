// What the clear-undo-data dialog (UndoClearFrm) hands back, and what its buttons do. The
// window shows the dialog; the choice is acted on by the wave document.
#pragma once

#include <optional>

namespace quorvane {

inline constexpr int kUndoClearClose = 0;
inline constexpr int kUndoClearFirstOne = 1;
inline constexpr int kUndoClearUpToSelected = 2;
inline constexpr int kUndoClearAll = 3;

struct UndoClearChoice {
  int Button = kUndoClearClose;  // the button that closed the dialog
  int SelectedEntry = -1;        // 0-based entry of the dialog's list, -1 for none
};

// A press of one of the dialog's buttons: the result to store before hiding the dialog,
// or no value when the dialog stays open ("Clear up to selected item" with no entry
// selected shows why).
std::optional<int> UndoClearButtonResult(int button, int selectedEntry);

}  // namespace quorvane
