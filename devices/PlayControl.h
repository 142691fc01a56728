// The playback routine and the sound output switch: the process-wide player, the range
// to play, and what the play toolbar is told after every command.
#pragma once

#include <cstdint>
#include <functional>

namespace quorvane {

class DsPlayClass;
class FileMemoClass;

// What the routine shows on the play toolbar.
struct PlayToolbarLink {
  // After every command: 0 stopped, 1 or 2 playing, 3 paused.
  std::function<void(int32_t state)> ShowPlayState;
  std::function<void()> EnableStopButton;
  std::function<void()> DisablePauseButton;
};
void SetPlayToolbar(PlayToolbarLink link);
// The document that command 11 plays from, and the range it plays (the whole document
// when `from` equals `to`), both kept in the editor's context.
void SetPlayDocument(FileMemoClass* document);
void SetPlayRange(int32_t from, int32_t to);

// The player wrapper of the session: made at start-up with the loop switch as it stands,
// dropped at its end.
void CreatePlayer(bool loop = false);
void ReleasePlayer();
DsPlayClass* DsPlay();

int32_t SoundDriverHandle();
// On: opens the sound output for the window and shows the sound-driver message when that
// fails; off: closes it.
void SoundDriverSwitch(bool on, int32_t windowHandle);

// 2 stop, 3 pause or continue, 6 stop and release, 11 play the play range. The argument
// is not used by these commands.
void PlayControl(int32_t command, int32_t argument = 0);

// The player's state (0 without a player) and the position it plays: the first position
// of the playing range plus what it has played, with the range and its rate.
int32_t CurrentPlayState();
int32_t PlayedSamples();
int32_t PlayingFirst();
int32_t PlayingLast();
int32_t PlayingRate();
void PassLoopToPlayer(bool loop);
// Before anything writes over a file: the player lets go of the files it plays from.
void ReleasePlayingFiles(bool OnlyOriginal);

}  // namespace quorvane
