// An open POSIX file descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <utility>

namespace quorvane {

class FileHandle {
 public:
  FileHandle() = default;
  explicit FileHandle(int descriptor) : descriptor_(descriptor) {}
  ~FileHandle() { Close(); }
  FileHandle(FileHandle&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  FileHandle& operator=(FileHandle&& other) noexcept {
    if (this != &other) {
      Close();
      descriptor_ = std::exchange(other.descriptor_, -1);
    }
    return *this;
  }
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;

  bool IsOpen() const { return descriptor_ >= 0; }
  int Descriptor() const { return descriptor_; }

  // Returns false when closing reported an error (a delayed write failure).
  bool Close() {
    if (descriptor_ < 0) return true;
    const int result = ::close(std::exchange(descriptor_, -1));
    return result == 0;
  }

 private:
  int descriptor_ = -1;
};

}  // namespace quorvane
