// F1: the user manual, in the desktop's browser.
#pragma once

#include <string>

namespace quorvane {

// The manual installed beside the program (../share/doc/quorvane-audio/manual.html), or the
// one in the source tree for a program run from its build folder.
std::string ManualPath();

// Opens the manual; false when there is none or nothing could open it.
bool ShowHelp();

}  // namespace quorvane
