#include "core/ScaleTime.h"

#include <cmath>

#include "core/Numbers.h"

namespace quorvane {

std::string FormatScaleTime(float Seconds) {
  const bool negative = Seconds < 0.0F;
  const double s = static_cast<double>(RoundHalfEven64(std::fabs(double{Seconds}) * 100.0)) / 100.0;
  const double h = std::floor(s / 3600.0);
  const double r = s - 3600.0 * h;
  const double m = std::floor(r / 60.0);
  const double sec = r - 60.0 * m;

  std::string text = negative ? "-" : "";
  if (h >= 1.0) text += DecimalText(static_cast<int64_t>(h)) + ":";
  if (m > 0.0 || h > 0.0) text += FormatTwoDigits(static_cast<int64_t>(m)) + ":";
  std::string seconds = FormatTwoDigitsTwoDecimals(sec);
  if (seconds.ends_with(".00")) seconds.resize(2);
  return text + seconds;
}

}  // namespace quorvane
