// Which file names the editor reads as audio.
#pragma once

#include <string>

namespace quorvane {

// True when the text after the last "." is "mp3" or "wav" in any letter case; false for a
// name that is empty after trimming.
bool IsAudioFileName(const std::string& name);

// The last `count` characters in lower case ("wav" / ".mp3" decide how a track is read).
std::string LowerEnding(const std::string& name, size_t count);

}  // namespace quorvane
