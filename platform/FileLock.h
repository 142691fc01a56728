// An exclusive lock that one process holds on a file for as long as it keeps the object;
// the kernel lets it go however the process ends, so a crash never leaves a stale lock.
#pragma once

#include <string>

#include "platform/FileHandle.h"

namespace quorvane {

class ExclusiveFileLock {
 public:
  enum class Outcome { Locked, HeldElsewhere, Unavailable };

  ExclusiveFileLock() = default;
  ~ExclusiveFileLock();
  ExclusiveFileLock(ExclusiveFileLock&& other) noexcept = default;
  ExclusiveFileLock& operator=(ExclusiveFileLock&& other) noexcept;
  ExclusiveFileLock(const ExclusiveFileLock&) = delete;
  ExclusiveFileLock& operator=(const ExclusiveFileLock&) = delete;

  // Locks `lockFile`, made when missing and removed again when the lock is let go. Where no
  // such file can be made (a read-only folder) `fallback` itself is locked instead.
  Outcome Take(const std::string& lockFile, const std::string& fallback);
  void Release();

 private:
  FileHandle file_;
  std::string removeAtRelease_;
};

}  // namespace quorvane
