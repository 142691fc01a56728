// The window's handle as the sound output switch takes it, and the two questions the
// window asks of playback in its own words.
#pragma once

#include <cstdint>

#include "devices/PlayControl.h"

class QWidget;

namespace quorvane {

// A non-zero number standing for the window.
int32_t SoundWindowHandle(QWidget& window);

inline void SoundDriverSwitch(bool on, QWidget& window) {
  SoundDriverSwitch(on, on ? SoundWindowHandle(window) : 0);
}

inline bool IsPlaying() { return CurrentPlayState() != 0; }

}  // namespace quorvane
