// One value of the project file at a time.
#pragma once

#include <string>

namespace quorvane {

// Reads section/key; values up to 1999 characters are returned whole.
std::string ProjectIniGet(const std::string& section, const std::string& key,
                          const std::string& defaultValue, const std::string& file);

// Writes section/key; an empty section means "General". False when it could not be written.
bool ProjectIniPut(const std::string& section, const std::string& key, const std::string& value,
                   const std::string& file);

}  // namespace quorvane
