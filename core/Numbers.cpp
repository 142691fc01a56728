#include "core/Numbers.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace quorvane {

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Rounds to a number of decimals, half to even on the decimal digits as written by the
// shortest exact representation of the double, and prints with that many decimals.
std::string FixedDecimals(double value, int decimals) {
  if (!std::isfinite(value)) value = 0.0;
  const double scale = std::pow(10.0, decimals);
  const double scaled = value * scale;
  // Round half to even on the scaled value; values like 2.0004 * 1000 are exact enough.
  const double rounded = std::nearbyint(scaled);
  double result = rounded / scale;
  if (result == 0.0) result = 0.0;  // no "-0.0"
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.*f", decimals, result);
  return buffer;
}

}  // namespace

double LeadingNumber(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
  const size_t start = i;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
  size_t digits = 0;
  while (i < text.size() && IsDigit(text[i])) ++i, ++digits;
  if (i < text.size() && text[i] == '.') {
    ++i;
    while (i < text.size() && IsDigit(text[i])) ++i, ++digits;
  }
  if (digits == 0) return 0.0;
  size_t end = i;
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    size_t j = i + 1;
    if (j < text.size() && (text[j] == '+' || text[j] == '-')) ++j;
    size_t exponentDigits = 0;
    while (j < text.size() && IsDigit(text[j])) ++j, ++exponentDigits;
    if (exponentDigits > 0) end = j;
  }
  const std::string number(text.substr(start, end - start));
  const double value = std::strtod(number.c_str(), nullptr);
  return std::isfinite(value) ? value : 0.0;
}

int64_t RoundHalfEven64(double value) {
  if (std::isnan(value)) return 0;
  const double rounded = std::nearbyint(value);  // default mode rounds half to even
  if (rounded >= 9.2233720368547758e18) return std::numeric_limits<int64_t>::max();
  if (rounded <= -9.2233720368547758e18) return std::numeric_limits<int64_t>::min();
  return static_cast<int64_t>(rounded);
}

int32_t RoundHalfEven(double value) {
  const int64_t rounded = RoundHalfEven64(value);
  if (rounded > std::numeric_limits<int32_t>::max()) return std::numeric_limits<int32_t>::max();
  if (rounded < std::numeric_limits<int32_t>::min()) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(rounded);
}

std::string FormatOneToThreeDecimals(double value) {
  std::string text = FixedDecimals(value, 3);
  // Drop trailing zeros of the optional decimals, keeping one.
  while (text.size() >= 2 && text.back() == '0' && text[text.size() - 2] != '.') text.pop_back();
  return text;
}

std::string FormatThreeDecimals(double value) { return FixedDecimals(value, 3); }

std::string FormatOneDecimal(double value) { return FixedDecimals(value, 1); }

std::string FormatTwoDigits(int64_t value) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%02lld", static_cast<long long>(value));
  return buffer;
}

std::string FormatTwoDigitsTwoDecimals(double value) {
  std::string text = FixedDecimals(value, 2);
  const bool negative = !text.empty() && text[0] == '-';
  const size_t integerDigits = text.find('.') - (negative ? 1 : 0);
  if (integerDigits < 2) text.insert(negative ? 1 : 0, 2 - integerDigits, '0');
  return text;
}

std::string DecimalText(int64_t value) { return std::to_string(value); }

std::string Trim(std::string_view text) {
  size_t begin = 0;
  size_t end = text.size();
  while (begin < end && text[begin] == ' ') ++begin;
  while (end > begin && text[end - 1] == ' ') --end;
  return std::string(text.substr(begin, end - begin));
}

}  // namespace quorvane
