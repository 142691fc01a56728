#include "core/Settings.h"

#include <filesystem>
#include <system_error>

#include "core/Environment.h"
#include "platform/ProfileFile.h"
#include "platform/ProgramFile.h"

namespace quorvane {

std::string SettingsFilePlace() {
  const std::string fileName = std::string(kProgramName) + ".ini";
  const std::string folder = UserConfigFolder() + "/" + kProgramName;
  std::error_code ignored;
  std::filesystem::create_directories(folder, ignored);
  return folder + "/" + fileName;
}

std::string SettingGet(const std::string& section, const std::string& key,
                       const std::string& defaultValue) {
  return GetProfileString(Env().SettingsFile, section.empty() ? "General" : section,
                          key.empty() ? "END" : key, defaultValue, 100)
      .value;
}

void SettingPut(const std::string& section, const std::string& key, const std::string& value) {
  WriteProfileString(Env().SettingsFile, section.empty() ? "General" : section, key, value);
}

}  // namespace quorvane
