#include "platform/MemoryStatus.h"

#include <fstream>
#include <sstream>

namespace quorvane {

MemoryStatus QueryMemoryStatus(const std::string& meminfoPath) {
  MemoryStatus status;
  std::ifstream in(meminfoPath);
  std::string line;
  while (in && std::getline(in, line)) {
    std::istringstream fields(line);
    std::string name;
    uint64_t kilobytes = 0;
    if (!(fields >> name >> kilobytes)) continue;
    if (name == "MemTotal:") status.totalBytes = kilobytes * 1024;
    if (name == "MemAvailable:") status.availableBytes = kilobytes * 1024;
  }
  return status;
}

}  // namespace quorvane
