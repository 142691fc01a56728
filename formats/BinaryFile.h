// A file opened for reading or writing at byte offsets, closed when the object goes.
// Failures throw RuntimeError with the reason in plain words.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace quorvane {

class BinaryFile {
 public:
  // Create makes a new file or empties an existing one, which keeps its permissions; a new
  // one is readable by the user alone (temporary audio). CreateNew makes a file that must
  // not exist yet, in the same way.
  enum class Mode { Read, Create, CreateNew };

  BinaryFile() = default;
  BinaryFile(const std::string& path, Mode mode);
  ~BinaryFile();
  BinaryFile(BinaryFile&& other) noexcept;
  BinaryFile& operator=(BinaryFile&& other) noexcept;
  BinaryFile(const BinaryFile&) = delete;
  BinaryFile& operator=(const BinaryFile&) = delete;

  bool IsOpen() const { return descriptor_ >= 0; }
  const std::string& Path() const { return path_; }
  void Close();
  // Closes a file that was written, throwing when the system reports that what was written
  // did not all reach the file (some file systems report a full disk only here).
  void CloseWritten();

  // Length of the file in bytes.
  int64_t Length() const;

  // Reads up to `count` bytes at `offset`; returns how many were there (fewer at the end).
  size_t ReadAt(int64_t offset, void* buffer, size_t count) const;

  // Writes all `count` bytes at `offset`.
  void WriteAt(int64_t offset, const void* buffer, size_t count);

  // Little-endian numbers at an offset; bytes past the end read as 0.
  uint32_t ReadUint32(int64_t offset) const;
  int32_t ReadInt32(int64_t offset) const { return static_cast<int32_t>(ReadUint32(offset)); }
  uint16_t ReadUint16(int64_t offset) const;
  uint8_t ReadByte(int64_t offset) const;

 private:
  int descriptor_ = -1;
  std::string path_;
};

}  // namespace quorvane
