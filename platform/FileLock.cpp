#include "platform/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>

namespace quorvane {

namespace {

bool SameFile(int descriptor, const std::string& path) {
  struct stat open {};
  struct stat named {};
  return ::fstat(descriptor, &open) == 0 && ::lstat(path.c_str(), &named) == 0 &&
         open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

}  // namespace

ExclusiveFileLock::~ExclusiveFileLock() { Release(); }

ExclusiveFileLock& ExclusiveFileLock::operator=(ExclusiveFileLock&& other) noexcept {
  if (this != &other) {
    Release();
    file_ = std::move(other.file_);
    removeAtRelease_ = std::move(other.removeAtRelease_);
  }
  return *this;
}

ExclusiveFileLock::Outcome ExclusiveFileLock::Take(const std::string& lockFile,
                                                   const std::string& fallback) {
  Release();
  // A holder that ends removes its lock file; whoever opened that file just before locks a
  // file nobody else will find, so the lock counts only while the name still leads to it.
  for (int attempt = 0; attempt < 100; ++attempt) {
    FileHandle file(::open(lockFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    std::string removable = lockFile;
    if (!file.IsOpen()) {
      file = FileHandle(::open(fallback.c_str(), O_RDONLY | O_CLOEXEC));
      removable.clear();
      if (!file.IsOpen()) return Outcome::Unavailable;
    }
    if (::flock(file.Descriptor(), LOCK_EX | LOCK_NB) != 0) {
      return errno == EWOULDBLOCK ? Outcome::HeldElsewhere : Outcome::Unavailable;
    }
    if (!removable.empty() && !SameFile(file.Descriptor(), lockFile)) continue;
    file_ = std::move(file);
    removeAtRelease_ = removable;
    return Outcome::Locked;
  }
  return Outcome::HeldElsewhere;
}

void ExclusiveFileLock::Release() {
  if (!file_.IsOpen()) return;
  // Removed while still locked: nobody can lock it in between and keep a lock that counts.
  if (!removeAtRelease_.empty()) ::unlink(removeAtRelease_.c_str());
  removeAtRelease_.clear();
  file_.Close();
}

}  // namespace quorvane
