// Shorten Pauses: stretches quieter than a level (measured over 20 ms windows) that last
// longer than a longest pause are cut down to it by removing their middle, so the edges of
// the speech stay as they were. Boundaries and markers move with the audio; a marker inside
// a removed stretch moves to the cut. A pause across a slide boundary is shortened on each
// side of it on its own, so every slide keeps audio of its own.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quorvane {

class FileMemoClass;

struct PauseShortening {
  double longestSeconds = 0.8;  // what a pause is shortened to
  double quietBelowDb = -45;    // dBFS: windows at or below it are quiet
};

struct ShortenedPauses {
  int32_t pauses = 0;
  double removedSeconds = 0;
  bool cancelled = false;  // the person cancelled while the pauses were looked for
};

// The message for values that cannot be used; nothing when they can.
std::optional<std::string> RefusePauseValues(const PauseShortening& values);

// Shortens the pauses of from..to as one undo item "Shorten Pauses" and says how many it
// shortened and how much it removed. Changes nothing when none is longer than the longest,
// or when the person cancels while the pauses are looked for.
ShortenedPauses ShortenPauses(FileMemoClass& document, int32_t from, int32_t to,
                              const PauseShortening& values);

// The batch tool's line for the result: {"pauses":N,"removed_seconds":S}.
std::string ShortenedPausesJson(const ShortenedPauses& result);

}  // namespace quorvane
