// One block file kept open for reading. The block list keeps two of these, one for the
// original (source) files and one for the temporary block files, so that reading block
// after block of the same file costs no open and close, while the number of open files
// stays bounded whatever the number of files in use.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "storage/FileHandle.h"

namespace quorvane {

class OpenFileCache {
 public:
  // Reads up to `bytes` bytes at byte `offset` (0-based) of the file `name`, which the
  // caller knows as table entry `entry`. Returns the number of bytes read; when that is
  // short, `reason` says why in plain words.
  size_t Read(int32_t entry, const std::string& name, int64_t offset, void* buffer, size_t bytes,
              std::string& reason);

  // Closes the file when it is the one kept open for `entry`.
  void CloseEntry(int32_t entry);
  void Close();

  bool Holds(int32_t entry) const { return file_.IsOpen() && entry_ == entry; }

 private:
  FileHandle file_;
  int32_t entry_ = 0;
  std::string name_;
};

}  // namespace quorvane
