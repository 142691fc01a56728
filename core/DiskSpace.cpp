#include "core/DiskSpace.h"

#include <filesystem>
#include <limits>
#include <system_error>

#include "core/Environment.h"
#include "core/Interaction.h"

namespace quorvane {

int64_t FreeDiskBytes() {
  std::error_code error;
  const auto space = std::filesystem::space(Env().TempRoot + "/", error);
  if (error || space.available == static_cast<std::uintmax_t>(-1)) return 0;
  if (space.available > static_cast<std::uintmax_t>(std::numeric_limits<int64_t>::max())) {
    return std::numeric_limits<int64_t>::max();
  }
  return static_cast<int64_t>(space.available);
}

bool CheckFreeDisk(int64_t neededBytes) {
  if (FreeDiskBytes() > neededBytes) return true;
  UserInterface().Message("Free disk space for this is low.", MessageIcon::Exclamation);
  return false;
}

}  // namespace quorvane
