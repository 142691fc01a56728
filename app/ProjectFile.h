// The project file: the only exchange between the host and the editor.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

class FileMemoClass;

// The highest "BaseFrequency" a project may give; any other than 0 (each track keeps its
// own rate) must be at least the lowest.
inline constexpr int32_t kLowestBaseFrequency = 1000;
inline constexpr int32_t kHighestBaseFrequency = 384000;

// The most slides a project may have.
inline constexpr int32_t kMostSlides = 10000;

// Reads the project named by the command line (surrounding quotes removed in place), takes
// the project's session lock and assembles its slides into the document. False after a
// message when it cannot.
bool ProjectFileLoad(std::string& path, FileMemoClass& document);

// Writes every slide's audio file and its duration and markers back into the project; the
// tracks first, the project file last. A slide whose track could not be read is left as it
// was unless its audio was edited and the user has it replaced. Shows "Error Saving" and
// stops when something cannot be written. True when everything was written; false after a
// failure, or when edits of a slide were left out.
bool ProjectFileSave(FileMemoClass& document);

}  // namespace quorvane
