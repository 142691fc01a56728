// One session per project: two editors, or an editor and a batch run, saving the same
// project would mix their tracks and durations. The lock is held from loading to the end
// of the session, and the kernel lets it go however the process ends.
#pragma once

#include <string>

namespace quorvane {

// Locks the project file's session: ".NAME.lock" beside it (the project file itself where
// its folder takes no new file). False after a message when another session holds it.
bool LockProject(const std::string& projectPath);

// Lets the lock go (and removes the lock file).
void UnlockProject();

}  // namespace quorvane
