// Putting a newly written file in place of another in one step.
#pragma once

#include <string>

namespace quorvane {

// Gives the file `from` the name `target`, replacing any file of that name at once: at
// every moment `target` names either the old file or the new one. False, with both files
// where they were, when it cannot.
bool ReplaceFile(const std::string& from, const std::string& target);

// How SwapIntoPlace put a file in place.
enum class SwapOutcome {
  Failed,   // both files are where they were
  Swapped,  // the old file now has the name `from`
  Renamed,  // there was no old file, or it is gone (a file system that cannot swap)
};

// Gives the file `from` the name `target` in one step, keeping the file it replaces under
// the name `from`, so that UndoSwap can put it back.
SwapOutcome SwapIntoPlace(const std::string& from, const std::string& target);
// Takes back a swap (the new file gets the name `from` again); a rename only where the old
// file is `from`-less, which leaves the new file under `from`. False when it cannot.
bool UndoSwap(const std::string& from, const std::string& target, SwapOutcome outcome);

}  // namespace quorvane
