// Clean Up Voice: rumble and mains hum taken out by a steep high-pass filter, then the
// noise floor lowered by a noise suppressor, over a range of the document, as one undo
// item. The voice keeps its level.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quorvane {

class FileMemoClass;

struct VoiceCleanUp {
  double highPassHz = 80;  // the high-pass filter's cut-off; 0: no filter
  double strengthDb = 12;  // how far the noise is lowered; 0: no noise reduction
};

// The message for values that cannot be used; nothing when they can.
std::optional<std::string> RefuseCleanUpValues(const VoiceCleanUp& values);

// Cleans up from..to in every channel as "Clean Up Voice". False, changing nothing, when
// the values are refused, the person cancels, or a run-time error was reported.
bool CleanUpVoice(FileMemoClass& document, int32_t from, int32_t to, const VoiceCleanUp& values);

}  // namespace quorvane
