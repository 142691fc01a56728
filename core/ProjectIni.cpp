#include "core/ProjectIni.h"

namespace quorvane {

std::string ProjectIniGet(const std::string& section, const std::string& key,
                          const std::string& defaultValue, const ProfileDocument& project) {
  // Most values are short; only a full first buffer costs a second read.
  ProfileRead read = project.Get(section, key, defaultValue, 50);
  if (read.copied >= 49) read = project.Get(section, key, defaultValue, 2000);
  return read.value.substr(0, read.copied);
}

void ProjectIniPut(const std::string& section, const std::string& key, const std::string& value,
                   ProfileDocument& project) {
  project.Put(section.empty() ? "General" : section, key, value);
}

}  // namespace quorvane
