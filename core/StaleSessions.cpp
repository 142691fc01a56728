#include "core/StaleSessions.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <mutex>

#include "platform/FileLock.h"

namespace quorvane {

namespace fs = std::filesystem;

namespace {

std::mutex g_lockMutex;
ExclusiveFileLock g_sessionLock;

bool LooksLikeSessionFolder(const std::string& name) {
  return name.size() == 8 && name.rfind("fm", 0) == 0;
}

}  // namespace

bool HoldSessionFolder(const std::string& folder) {
  const std::lock_guard lock(g_lockMutex);
  const std::string file = folder + "/" + kSessionLockName;
  return g_sessionLock.Take(file, file) == ExclusiveFileLock::Outcome::Locked;
}

void ReleaseSessionFolder() {
  const std::lock_guard lock(g_lockMutex);
  g_sessionLock.Release();
}

int RemoveStaleSessionFolders(const std::string& root, const std::string& own,
                              std::chrono::seconds settle) {
  int removed = 0;
  const time_t settledBefore = ::time(nullptr) - static_cast<time_t>(settle.count());
  std::error_code error;
  for (fs::directory_iterator it(root, error), end; !error && it != end; it.increment(error)) {
    const std::string folder = it->path().string();
    if (!LooksLikeSessionFolder(it->path().filename().string()) || folder == own) continue;
    struct stat status {};
    if (::lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) ||
        status.st_uid != ::getuid() || status.st_mtime > settledBefore) {
      continue;
    }
    std::error_code ignored;
    if (fs::exists(folder + "/" + kSessionJournalName, ignored)) continue;
    const std::string file = folder + "/" + kSessionLockName;
    ExclusiveFileLock probe;
    if (probe.Take(file, file) != ExclusiveFileLock::Outcome::Locked) continue;
    probe.Release();
    fs::remove_all(folder, ignored);
    if (!ignored) ++removed;
  }
  return removed;
}

}  // namespace quorvane
