#include "core/ProjectIni.h"

#include "platform/ProfileFile.h"

namespace quorvane {

std::string ProjectIniGet(const std::string& section, const std::string& key,
                          const std::string& defaultValue, const std::string& file) {
  // Most values are short; only a full first buffer costs a second read.
  ProfileRead read = GetProfileString(file, section, key, defaultValue, 50);
  if (read.copied >= 49) read = GetProfileString(file, section, key, defaultValue, 2000);
  return read.value.substr(0, read.copied);
}

bool ProjectIniPut(const std::string& section, const std::string& key, const std::string& value,
                   const std::string& file) {
  return WriteProfileString(file, section.empty() ? "General" : section, key, value);
}

}  // namespace quorvane
