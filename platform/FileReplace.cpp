#include "platform/FileReplace.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace quorvane {

SwapOutcome SwapIntoPlace(const std::string& from, const std::string& target) {
  // A folder in the target's place is nobody's audio to swap away.
  struct stat existing {};
  if (::lstat(target.c_str(), &existing) == 0 && S_ISDIR(existing.st_mode)) {
    return SwapOutcome::Failed;
  }
  // Swapping the two names replaces as atomically as a rename. A plain rename over an
  // existing file makes some file systems write the new file out at once, which slows a
  // save of many large files by half; the swap does not.
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, target.c_str(), RENAME_EXCHANGE) == 0) {
    return SwapOutcome::Swapped;
  }
  // No file to swap with, or a file system that cannot swap.
  return ::rename(from.c_str(), target.c_str()) == 0 ? SwapOutcome::Renamed : SwapOutcome::Failed;
}

bool UndoSwap(const std::string& from, const std::string& target, SwapOutcome outcome) {
  if (outcome == SwapOutcome::Swapped) {
    return ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, target.c_str(), RENAME_EXCHANGE) == 0;
  }
  return outcome == SwapOutcome::Renamed && ::rename(target.c_str(), from.c_str()) == 0;
}

bool ReplaceFile(const std::string& from, const std::string& target) {
  const SwapOutcome outcome = SwapIntoPlace(from, target);
  // The old file, now under the new file's former name, goes.
  if (outcome == SwapOutcome::Swapped) ::unlink(from.c_str());
  return outcome != SwapOutcome::Failed;
}

}  // namespace quorvane
