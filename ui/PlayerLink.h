// What the window asks of playback: the sound output switch, the play commands and the
// loop switch, in the shape the play toolbar and the end of a session call them. A player
// installs its commands here; without one, play commands do their checks and play nothing.
#pragma once

#include <cstdint>
#include <functional>

class QWidget;

namespace quorvane {

// The player's side: opening the output (0 or -1 for failure; may throw), the commands
// 2 stop, 3 pause/continue, 6 stop and release, 11 play PlayFrom..PlayTo, the loop switch.
struct PlayerCommands {
  std::function<int32_t(int32_t windowHandle)> SoundInit;
  std::function<void(int32_t command, int32_t from, int32_t to)> Command;
  std::function<void(bool loop)> LoopFlag;
  std::function<int32_t()> PlayState;  // 0 stopped
};
void SetPlayerCommands(PlayerCommands commands);

int32_t SoundDriverHandle();

// On: opens the sound output and shows the sound-driver message when that fails; off:
// closes it.
void SoundDriverSwitch(bool on, QWidget& window);

// 2 stop, 3 pause/continue, 6 stop and release, 11 play from..to; "Sound driver is off"
// when the output is off (except for 2 and 6).
void PlayControl(int32_t command, int32_t from = 0, int32_t to = 0);

bool IsPlaying();
void PassLoopToPlayer(bool loop);

}  // namespace quorvane
