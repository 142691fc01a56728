#include "platform/MappedFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include "platform/FileHandle.h"

namespace quorvane {

std::shared_ptr<const MappedFile> MappedFile::Map(const std::string& path) {
  const FileHandle file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status {};
  if (!file.IsOpen() || ::fstat(file.Descriptor(), &status) != 0 || status.st_size <= 0) {
    return nullptr;
  }
  const auto size = static_cast<size_t>(status.st_size);
  void* address = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, file.Descriptor(), 0);
  if (address == MAP_FAILED) return nullptr;
  return std::shared_ptr<const MappedFile>(new MappedFile(address, size));
}

MappedFile::~MappedFile() { ::munmap(address_, size_); }

}  // namespace quorvane
