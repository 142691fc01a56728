// Replacing a stretch of the document with other audio, a recorded take or a file, as one
// undo item. Short cross-fades at both joins make the cut inaudible: the new audio's first
// and last stretch are blended with the first and last stretch of the audio they replace,
// so the result is exactly as long as the new audio.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

class FileMemoClass;

// The cross-fade at each join, in milliseconds, from the setting "PunchCrossfadeMs"
// (default 10, at most 1000; 0: none).
double PunchCrossfadeMs();

// Replaces from..to of the document with the audio of the wav or mp3 file `path`, brought
// to the document's rate, sample size and channels, as one undo item named `undoName`.
// Boundaries and markers inside the range keep their offset from `from`, up to the new
// audio's last sample; later ones move with the change in length. False, changing nothing,
// when the range is not in the document or the file gave no audio (its message shown).
bool ReplaceWithFile(FileMemoClass& document, int32_t from, int32_t to, const std::string& path,
                     double crossfadeMs, const std::string& undoName);

}  // namespace quorvane
