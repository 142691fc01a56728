#include "storage/OpenFileCache.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace quorvane {

bool OpenFileCache::Open(int32_t entry, const std::string& name, std::string& reason) {
  if (!files_.empty() && files_.front().entry == entry && files_.front().name == name) return true;
  // The page belongs to the file read last.
  pageOffset_ = -1;
  pageBytes_ = 0;
  const auto kept = std::find_if(files_.begin(), files_.end(), [&](const OpenFile& file) {
    return file.entry == entry && file.name == name;
  });
  if (kept != files_.end()) {
    std::rotate(files_.begin(), kept, kept + 1);
    return true;
  }
  const int descriptor = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    reason = std::strerror(errno);
    return false;
  }
  if (files_.size() >= kOpenFiles) files_.pop_back();
  files_.insert(files_.begin(), OpenFile{FileHandle(descriptor), entry, name});
  return true;
}

bool OpenFileCache::Holds(int32_t entry) const {
  return std::any_of(files_.begin(), files_.end(),
                     [entry](const OpenFile& file) { return file.entry == entry; });
}

size_t OpenFileCache::ReadFile(int64_t offset, void* buffer, size_t bytes, std::string& reason) {
  auto* target = static_cast<char*>(buffer);
  size_t done = 0;
  while (done < bytes) {
    const ssize_t got = ::pread(files_.front().file.Descriptor(), target + done, bytes - done,
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

size_t OpenFileCache::Read(int32_t entry, const std::string& name, int64_t offset, void* buffer,
                           size_t bytes, std::string& reason) {
  if (!Open(entry, name, reason)) return 0;
  if (offset < 0) {
    reason = "the position lies before the start of the file";
    return 0;
  }
  if (bytes > kPageBytes / 8) return ReadFile(offset, buffer, bytes, reason);
  const bool kept =
      pageOffset_ >= 0 && offset >= pageOffset_ &&
      offset + static_cast<int64_t>(bytes) <= pageOffset_ + static_cast<int64_t>(pageBytes_);
  if (!kept) {
    pageBytes_ = ReadFile(offset, page_, kPageBytes, reason);
    pageOffset_ = offset;
  }
  const size_t available =
      std::min(bytes, static_cast<size_t>(pageOffset_ + static_cast<int64_t>(pageBytes_) - offset));
  std::memcpy(buffer, page_ + (offset - pageOffset_), available);
  if (available < bytes && reason.empty()) reason = "the file ends before the audio it should hold";
  return available;
}

void OpenFileCache::CloseEntry(int32_t entry) {
  if (!files_.empty() && files_.front().entry == entry) {
    pageOffset_ = -1;
    pageBytes_ = 0;
  }
  std::erase_if(files_, [entry](const OpenFile& file) { return file.entry == entry; });
}

void OpenFileCache::Close() {
  files_.clear();
  pageOffset_ = -1;
  pageBytes_ = 0;
}

}  // namespace quorvane
