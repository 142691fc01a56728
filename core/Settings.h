// The program's settings file: the user's last choices and values written for other
// programs, one value at a time.
#pragma once

#include <string>

namespace quorvane {

inline constexpr const char* kProgramName = "quorvane-audio";

// Where the settings file goes: under $XDG_CONFIG_HOME (default ~/.config) in a folder of
// the program's name, made when missing. Never beside the program, whose folder may be a
// build tree or shared by every user.
std::string SettingsFilePlace();

// An empty section means "General", an empty key "END"; at most 99 characters.
std::string SettingGet(const std::string& section, const std::string& key,
                       const std::string& defaultValue);

// An empty section means "General". Failures are not reported.
void SettingPut(const std::string& section, const std::string& key, const std::string& value);

}  // namespace quorvane
