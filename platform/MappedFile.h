// A whole file mapped read-only into memory: its pages are read as they are touched and
// can be dropped again under memory pressure, since the file keeps them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace quorvane {

class MappedFile {
 public:
  // Nothing when the file cannot be opened or mapped, or is empty.
  static std::shared_ptr<const MappedFile> Map(const std::string& path);
  ~MappedFile();
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  const uint8_t* Data() const { return static_cast<const uint8_t*>(address_); }
  size_t Size() const { return size_; }

 private:
  MappedFile(void* address, size_t size) : address_(address), size_(size) {}

  void* address_;
  size_t size_;
};

}  // namespace quorvane
