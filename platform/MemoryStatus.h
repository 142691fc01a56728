// The machine's physical memory, read from /proc/meminfo.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

struct MemoryStatus {
  uint64_t totalBytes = 0;      // MemTotal
  uint64_t availableBytes = 0;  // MemAvailable
};

// Reads the given meminfo file; a missing or unreadable file gives zeros.
MemoryStatus QueryMemoryStatus(const std::string& meminfoPath = "/proc/meminfo");

}  // namespace quorvane
