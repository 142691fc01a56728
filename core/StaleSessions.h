// Session folders left behind: a session holds a lock on a file in its folder for as long
// as its process lives, and the kernel lets it go however the process ends. A later start
// removes the folders whose lock nobody holds, unless they hold a journal of unsaved edits
// to recover.
#pragma once

#include <chrono>
#include <string>

namespace quorvane {

// The lock file inside a session folder, and the journal that keeps a folder for recovery.
inline constexpr const char* kSessionLockName = "session.lock";
inline constexpr const char* kSessionJournalName = "journal";

// Takes the lock of `folder` for this process's lifetime (or until ReleaseSessionFolder).
bool HoldSessionFolder(const std::string& folder);
void ReleaseSessionFolder();

// Removes this user's session folders ("fm" and six characters) in `root` that no process
// holds and that hold no journal, leaving `own` and any made in the last `settle` (a start
// under way may not have taken its lock yet). The number removed.
int RemoveStaleSessionFolders(const std::string& root, const std::string& own,
                              std::chrono::seconds settle = std::chrono::seconds(60));

}  // namespace quorvane
