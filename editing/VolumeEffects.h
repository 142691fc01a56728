// The Volume menu's two scaling commands over the selected range: Change Volume by a
// percentage and Maximize, each channel to its own full scale. Each replaces the range as
// one undo item named after the command; without a range they do nothing.
#pragma once

#include <cstdint>

namespace quorvane {

class FileMemoClass;

inline constexpr uint32_t kEffectBarColor = 0x808000;

// Multiplies the range by Percent / 100 (0 to 200, as the dialog's slider gives it).
// False when nothing changed (no range, or a run-time error after its message).
bool ChangeVolume(FileMemoClass& document, int32_t Percent);

// Scales each channel of the range so that its largest sample reaches full scale.
bool Maximize(FileMemoClass& document);

}  // namespace quorvane
