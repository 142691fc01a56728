// One value of the project file at a time, from and into the file's text read once.
#pragma once

#include <string>

#include "platform/ProfileFile.h"

namespace quorvane {

// Reads section/key; values up to 1999 characters are returned whole.
std::string ProjectIniGet(const std::string& section, const std::string& key,
                          const std::string& defaultValue, const ProfileDocument& project);

// Writes section/key; an empty section means "General".
void ProjectIniPut(const std::string& section, const std::string& key, const std::string& value,
                   ProfileDocument& project);

}  // namespace quorvane
