// Putting a newly written file in place of another in one step.
#pragma once

#include <string>

namespace quorvane {

// Gives the file `from` the name `target`, replacing any file of that name at once: at
// every moment `target` names either the old file or the new one. False, with both files
// where they were, when it cannot.
bool ReplaceFile(const std::string& from, const std::string& target);

}  // namespace quorvane
