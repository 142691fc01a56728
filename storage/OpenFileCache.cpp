#include "storage/OpenFileCache.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace quorvane {

size_t OpenFileCache::Read(int32_t entry, const std::string& name, int64_t offset, void* buffer,
                           size_t bytes, std::string& reason) {
  if (!file_.IsOpen() || entry_ != entry || name_ != name) {
    Close();
    const int descriptor = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
      reason = std::strerror(errno);
      return 0;
    }
    file_ = FileHandle(descriptor);
    entry_ = entry;
    name_ = name;
  }
  if (offset < 0) {
    reason = "the position lies before the start of the file";
    return 0;
  }
  auto* target = static_cast<char*>(buffer);
  size_t done = 0;
  while (done < bytes) {
    const ssize_t got = ::pread(file_.Descriptor(), target + done, bytes - done,
                                static_cast<off_t>(offset + static_cast<int64_t>(done)));
    if (got < 0) {
      if (errno == EINTR) continue;
      reason = std::strerror(errno);
      break;
    }
    if (got == 0) {
      reason = "the file ends before the audio it should hold";
      break;
    }
    done += static_cast<size_t>(got);
  }
  return done;
}

void OpenFileCache::CloseEntry(int32_t entry) {
  if (entry_ == entry) Close();
}

void OpenFileCache::Close() {
  file_.Close();
  entry_ = 0;
  name_.clear();
}

}  // namespace quorvane
