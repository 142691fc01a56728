#include "core/Numbers.h"

#include <gtest/gtest.h>

#include <limits>

namespace quorvane {
namespace {

TEST(LeadingNumber, ReadsTheLongestLeadingDecimalNumber) {
  EXPECT_DOUBLE_EQ(LeadingNumber("1.5"), 1.5);
  EXPECT_DOUBLE_EQ(LeadingNumber("   -2.25xyz"), -2.25);
  EXPECT_DOUBLE_EQ(LeadingNumber("+7"), 7.0);
  EXPECT_DOUBLE_EQ(LeadingNumber(".5"), 0.5);
  EXPECT_DOUBLE_EQ(LeadingNumber("3."), 3.0);
  EXPECT_DOUBLE_EQ(LeadingNumber("1e3 samples"), 1000.0);
  EXPECT_DOUBLE_EQ(LeadingNumber("2.5E-1"), 0.25);
  EXPECT_DOUBLE_EQ(LeadingNumber("12,5"), 12.0);  // only the point separates decimals
  EXPECT_DOUBLE_EQ(LeadingNumber("1.2.3"), 1.2);
}

TEST(LeadingNumber, TextWithoutANumberGivesZero) {
  EXPECT_EQ(LeadingNumber(""), 0.0);
  EXPECT_EQ(LeadingNumber("abc"), 0.0);
  EXPECT_EQ(LeadingNumber("-"), 0.0);
  EXPECT_EQ(LeadingNumber("."), 0.0);
  EXPECT_EQ(LeadingNumber("e5"), 0.0);
  EXPECT_EQ(LeadingNumber("\t 4"), 4.0);
}

TEST(LeadingNumber, AnExponentWithoutDigitsIsNotPartOfTheNumber) {
  EXPECT_DOUBLE_EQ(LeadingNumber("4e"), 4.0);
  EXPECT_DOUBLE_EQ(LeadingNumber("4e+x"), 4.0);
  EXPECT_EQ(LeadingNumber("1e999"), 0.0);  // not a finite number
}

TEST(RoundHalfEven, TiesGoToTheEvenNeighbour) {
  EXPECT_EQ(RoundHalfEven(0.5), 0);
  EXPECT_EQ(RoundHalfEven(1.5), 2);
  EXPECT_EQ(RoundHalfEven(2.5), 2);
  EXPECT_EQ(RoundHalfEven(-0.5), 0);
  EXPECT_EQ(RoundHalfEven(-1.5), -2);
  EXPECT_EQ(RoundHalfEven(2.5000001), 3);
  EXPECT_EQ(RoundHalfEven(-2.4), -2);
}

TEST(RoundHalfEven, SaturatesAtTheLimitsOfThirtyTwoBits) {
  EXPECT_EQ(RoundHalfEven(1e12), std::numeric_limits<int32_t>::max());
  EXPECT_EQ(RoundHalfEven(-1e12), std::numeric_limits<int32_t>::min());
  EXPECT_EQ(RoundHalfEven(std::numeric_limits<double>::quiet_NaN()), 0);
  EXPECT_EQ(RoundHalfEven64(1e12 + 0.5), 1'000'000'000'000LL);
}

TEST(NumberFormats, OneToThreeDecimals) {
  EXPECT_EQ(FormatOneToThreeDecimals(3), "3.0");
  EXPECT_EQ(FormatOneToThreeDecimals(12.5), "12.5");
  EXPECT_EQ(FormatOneToThreeDecimals(1.23456), "1.235");
  EXPECT_EQ(FormatOneToThreeDecimals(2.0004), "2.0");
  EXPECT_EQ(FormatOneToThreeDecimals(0.5), "0.5");
  EXPECT_EQ(FormatOneToThreeDecimals(0.0), "0.0");
  EXPECT_EQ(FormatOneToThreeDecimals(-0.0001), "0.0");
  EXPECT_EQ(FormatOneToThreeDecimals(-1.25), "-1.25");
  EXPECT_EQ(FormatOneToThreeDecimals(static_cast<float>(1.23456)), "1.235");
  EXPECT_EQ(FormatOneToThreeDecimals(1.9996), "2.0");
}

TEST(NumberFormats, FixedPatterns) {
  EXPECT_EQ(FormatThreeDecimals(1.5), "1.500");
  EXPECT_EQ(FormatThreeDecimals(0.0), "0.000");
  EXPECT_EQ(FormatOneDecimal(2.25), "2.2");  // half to even
  EXPECT_EQ(FormatOneDecimal(7), "7.0");
  EXPECT_EQ(FormatTwoDigits(5), "05");
  EXPECT_EQ(FormatTwoDigits(123), "123");
  EXPECT_EQ(FormatTwoDigitsTwoDecimals(5.5), "05.50");
  EXPECT_EQ(FormatTwoDigitsTwoDecimals(59.999), "60.00");
  EXPECT_EQ(FormatTwoDigitsTwoDecimals(-3.5), "-03.50");
}

TEST(Trim, RemovesSpacesOnly) {
  EXPECT_EQ(Trim("  a b  "), "a b");
  EXPECT_EQ(Trim("\ta\t"), "\ta\t");
  EXPECT_EQ(Trim("   "), "");
}

}  // namespace
}  // namespace quorvane
