// Carries out a batch script: the session is prepared as the editor prepares it, the
// commands run in order through the editor's own edit functions, and the session ends as
// the editor ends it.
#pragma once

#include <ostream>

#include "batch/BatchCommandLine.h"

namespace quorvane {

// A save did not write everything: a track or the project file could not be written, or
// the edits of a slide whose track could not be read were left out.
inline constexpr int kSaveFellShort = 3;

// Exit status: 0 when every command ran, 1 when the project could not be loaded, 2 when a
// command names positions outside the document or more silence than the document can
// hold (after the usage text on `errors`; the commands after it do not run), and
// kSaveFellShort when every command ran but a save fell short.
int RunBatchScript(const BatchScript& script, std::ostream& out, std::ostream& errors);

}  // namespace quorvane
