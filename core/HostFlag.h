// The flag by which the editor tells the host that the project was saved: "TAEState" in
// section "Dynamic" of the per-user settings of the presentation add-in.
#pragma once

#include <string>

namespace quorvane {

// $XDG_CONFIG_HOME (default ~/.config) + "/VB and VBA Program Settings/Quorvane Stagora.conf"
std::string HostFlagFile();

bool SetHostFlag(const std::string& value);  // "1" after a save; false when not written
std::string GetHostFlag();                   // "" when never written

}  // namespace quorvane
