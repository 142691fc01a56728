#include "core/Numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <utility>

namespace quorvane {
namespace {

TEST(LeadingNumber, ReadsTheLongestLeadingDecimalNumberOrGivesZero) {
  // Only the point separates decimals; an exponent without digits is not part of the
  // number; a number that is not finite gives zero.
  using Case = std::pair<const char*, double>;
  for (const auto& [text, value] :
       {Case{"1.5", 1.5}, Case{"   -2.25xyz", -2.25}, Case{"+7", 7}, Case{".5", 0.5}, Case{"3.", 3},
        Case{"1e3 samples", 1000}, Case{"2.5E-1", 0.25}, Case{"12,5", 12}, Case{"1.2.3", 1.2},
        Case{"", 0}, Case{"abc", 0}, Case{"-", 0}, Case{".", 0}, Case{"e5", 0}, Case{"\t 4", 4},
        Case{"4e", 4}, Case{"4e+x", 4}, Case{"1e999", 0}}) {
    EXPECT_DOUBLE_EQ(LeadingNumber(text), value) << text;
  }
}

TEST(RoundHalfEven, TiesGoToTheEvenNeighbourAndThirtyTwoBitsSaturate) {
  using Case = std::pair<double, int64_t>;
  for (const auto& [value, rounded] :
       {Case{0.5, 0}, Case{1.5, 2}, Case{2.5, 2}, Case{-0.5, 0}, Case{-1.5, -2}, Case{2.5000001, 3},
        Case{-2.4, -2}, Case{1e12, INT32_MAX}, Case{-1e12, INT32_MIN}, Case{std::nan(""), 0}}) {
    EXPECT_EQ(RoundHalfEven(value), rounded) << value;
  }
  EXPECT_EQ(RoundHalfEven64(1e12 + 0.5), 1'000'000'000'000LL);
}

TEST(NumberFormats, HaveTheirPatterns) {
  using Case = std::pair<double, const char*>;
  for (const auto& [value, text] :
       {Case{3, "3.0"}, Case{12.5, "12.5"}, Case{1.23456, "1.235"}, Case{2.0004, "2.0"},
        Case{0.5, "0.5"}, Case{0.0, "0.0"}, Case{-0.0001, "0.0"}, Case{-1.25, "-1.25"},
        Case{1.9996, "2.0"}}) {
    EXPECT_EQ(FormatOneToThreeDecimals(value), text) << value;
  }
  EXPECT_EQ(FormatOneToThreeDecimals(static_cast<float>(1.23456)), "1.235");
  EXPECT_EQ(FormatThreeDecimals(1.5), "1.500");
  EXPECT_EQ(FormatThreeDecimals(0.0), "0.000");
  EXPECT_EQ(FormatOneDecimal(2.25), "2.2");  // half to even
  EXPECT_EQ(FormatOneDecimal(7), "7.0");
  EXPECT_EQ(Trim("  a b  "), "a b");  // spaces only
  EXPECT_EQ(Trim("\ta\t"), "\ta\t");
  EXPECT_EQ(Trim("   "), "");
}

}  // namespace
}  // namespace quorvane
