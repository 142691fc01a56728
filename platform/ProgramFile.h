// The running program's own file.
#pragma once

#include <string>

namespace quorvane {

// Full path of the running program (from /proc/self/exe).
std::string ProgramFile();

// The folder that holds it, without a trailing "/".
std::string ProgramFolder();

// Its file name without folder and without extension.
std::string ProgramBaseName();

// $XDG_CONFIG_HOME, or ~/.config when it is not set.
std::string UserConfigFolder();

// The first executable file of that name in the folders of $PATH, or "".
std::string FindOnPath(const std::string& programName);

}  // namespace quorvane
