// The one time text of the editor: the time scale, the duration and position labels and
// the play position all show seconds this way.
#pragma once

#include <string>

namespace quorvane {

// 0 -> "00", 0.5 -> "00.50", 75.25 -> "01:15.25", 3725 -> "1:02:05", -2 -> "-02": hours
// and minutes only when there are any, hundredths only when they are not zero.
std::string FormatScaleTime(float Seconds);

}  // namespace quorvane
