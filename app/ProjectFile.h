// The project file: the only exchange between the host and the editor.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

class FileMemoClass;

// The highest "BaseFrequency" a project may give (0 keeps each track's own rate).
inline constexpr int32_t kHighestBaseFrequency = 384000;

// Reads the project named by the command line (surrounding quotes removed in place) and
// assembles its slides into the document. False after a message when it cannot.
bool ProjectFileLoad(std::string& path, FileMemoClass& document);

// Writes every slide's audio file and its duration and markers back into the project.
// Shows "Error Saving" and stops when something cannot be written.
void ProjectFileSave(FileMemoClass& document);

}  // namespace quorvane
