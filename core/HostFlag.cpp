#include "core/HostFlag.h"

#include <filesystem>
#include <system_error>

#include "platform/ProfileFile.h"
#include "platform/ProgramFile.h"

namespace quorvane {

std::string HostFlagFile() {
  return UserConfigFolder() + "/VB and VBA Program Settings/Quorvane Stagora.conf";
}

bool SetHostFlag(const std::string& value) {
  const std::string file = HostFlagFile();
  std::error_code ignored;
  std::filesystem::create_directories(std::filesystem::path(file).parent_path(), ignored);
  return WriteProfileString(file, "Dynamic", "TAEState", value);
}

std::string GetHostFlag() {
  return GetProfileString(HostFlagFile(), "Dynamic", "TAEState", "", 2000).value;
}

}  // namespace quorvane
