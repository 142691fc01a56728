// Number conversions shared by every layer: reading numbers from text the way the
// project and settings files need it, rounding, and the few fixed text formats.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quorvane {

// Leading-number conversion: leading blanks are skipped, then the longest leading part
// that forms a decimal number (optional sign, digits, one point, optional exponent) is
// used; whatever follows is ignored. Text without such a part gives 0.
double LeadingNumber(std::string_view text);

// Rounds half to even and saturates at the limits of a 32-bit integer (NaN gives 0).
int32_t RoundHalfEven(double value);
int64_t RoundHalfEven64(double value);

// Text formats, with a point as the decimal separator and half-to-even rounding:
std::string FormatOneToThreeDecimals(double value);    // "0.0##": 3 -> "3.0", 1.23456 -> "1.235"
std::string FormatThreeDecimals(double value);         // "0.000"
std::string FormatOneDecimal(double value);            // "0.0"
std::string FormatTwoDigits(int64_t value);            // "00"
std::string FormatTwoDigitsTwoDecimals(double value);  // "00.00"

// Decimal text of an integer, without blanks (section names, counters).
std::string DecimalText(int64_t value);

// Spaces removed from both ends (tabs and other characters stay).
std::string Trim(std::string_view text);

}  // namespace quorvane
