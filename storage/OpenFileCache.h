// Block files kept open for reading, the most recently read first. The block list keeps
// two of these, one for the original (source) files and one for the temporary block files,
// so that reading block after block, or drawing across many slides' files, costs no open
// and close, while the number of open files stays bounded whatever the number of files in
// use. Small reads (single samples for
// drawing) are served from the last page read, so the other channel of the same frame and
// neighbouring samples cost no further read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/FileHandle.h"

namespace quorvane {

class OpenFileCache {
 public:
  // Reads up to `bytes` bytes at byte `offset` (0-based) of the file `name`, which the
  // caller knows as table entry `entry`. Returns the number of bytes read; when that is
  // short, `reason` says why in plain words.
  size_t Read(int32_t entry, const std::string& name, int64_t offset, void* buffer, size_t bytes,
              std::string& reason);

 private:
  bool Open(int32_t entry, const std::string& name, std::string& reason);
  size_t ReadFile(int64_t offset, void* buffer, size_t bytes, std::string& reason);

 public:
  // Closes the file when it is the one kept open for `entry`.
  void CloseEntry(int32_t entry);
  void Close();

  bool Holds(int32_t entry) const;

 private:
  static constexpr size_t kPageBytes = 1024;
  static constexpr size_t kOpenFiles = 64;

  struct OpenFile {
    FileHandle file;
    int32_t entry = 0;
    std::string name;
  };
  std::vector<OpenFile> files_;  // files_[0] is the one read last
  char page_[kPageBytes];
  int64_t pageOffset_ = -1;  // file offset of page_[0], -1 when nothing is kept
  size_t pageBytes_ = 0;
};

}  // namespace quorvane
