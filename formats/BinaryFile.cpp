#include "formats/BinaryFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "core/ErrorReport.h"

namespace quorvane {

BinaryFile::BinaryFile(const std::string& path, Mode mode) : path_(path) {
  const int flags = mode == Mode::Read     ? O_RDONLY
                    : mode == Mode::Create ? (O_RDWR | O_CREAT | O_TRUNC | O_NOFOLLOW)
                                           : (O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW);
  do {
    descriptor_ = ::open(path.c_str(), flags | O_CLOEXEC, 0600);
  } while (descriptor_ < 0 && errno == EINTR);
  if (descriptor_ < 0) ThrowErrno("Cannot open " + path);
}

BinaryFile::~BinaryFile() { Close(); }

BinaryFile::BinaryFile(BinaryFile&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), path_(std::move(other.path_)) {}

BinaryFile& BinaryFile::operator=(BinaryFile&& other) noexcept {
  if (this != &other) {
    Close();
    descriptor_ = std::exchange(other.descriptor_, -1);
    path_ = std::move(other.path_);
  }
  return *this;
}

void BinaryFile::Close() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
}

void BinaryFile::CloseWritten() {
  const int descriptor = std::exchange(descriptor_, -1);
  if (descriptor >= 0 && ::close(descriptor) != 0) ThrowErrno("Cannot write " + path_);
}

int64_t BinaryFile::Length() const {
  struct stat status {};
  if (::fstat(descriptor_, &status) != 0) ThrowErrno("Cannot read the size of " + path_);
  return status.st_size;
}

size_t BinaryFile::ReadAt(int64_t offset, void* buffer, size_t count) const {
  size_t done = 0;
  auto* bytes = static_cast<char*>(buffer);
  while (done < count) {
    const ssize_t got = ::pread(descriptor_, bytes + done, count - done,
                                static_cast<off_t>(offset + static_cast<int64_t>(done)));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) ThrowErrno("Cannot read " + path_);
    if (got == 0) break;
    done += static_cast<size_t>(got);
  }
  return done;
}

void BinaryFile::WriteAt(int64_t offset, const void* buffer, size_t count) {
  size_t done = 0;
  const auto* bytes = static_cast<const char*>(buffer);
  while (done < count) {
    const ssize_t put = ::pwrite(descriptor_, bytes + done, count - done,
                                 static_cast<off_t>(offset + static_cast<int64_t>(done)));
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) ThrowErrno("Cannot write " + path_);
    done += static_cast<size_t>(put);
  }
}

uint32_t BinaryFile::ReadUint32(int64_t offset) const {
  unsigned char bytes[4] = {0, 0, 0, 0};
  if (offset >= 0) ReadAt(offset, bytes, 4);
  return static_cast<uint32_t>(bytes[0]) | (static_cast<uint32_t>(bytes[1]) << 8) |
         (static_cast<uint32_t>(bytes[2]) << 16) | (static_cast<uint32_t>(bytes[3]) << 24);
}

uint16_t BinaryFile::ReadUint16(int64_t offset) const {
  unsigned char bytes[2] = {0, 0};
  if (offset >= 0) ReadAt(offset, bytes, 2);
  return static_cast<uint16_t>(bytes[0] | (bytes[1] << 8));
}

uint8_t BinaryFile::ReadByte(int64_t offset) const {
  unsigned char byte = 0;
  if (offset >= 0) ReadAt(offset, &byte, 1);
  return byte;
}

}  // namespace quorvane
