// The gain Level Slides gives a slide: the distance to the target, unless the true peak
// would pass the ceiling; silent slides get none.
#include <gtest/gtest.h>

#include <limits>

#include "editing/LevelSlides.h"

namespace quorvane::testing {
namespace {

TEST(LevelSlides, GainReachesTheTargetUnlessThePeakWouldPassTheCeiling) {
  constexpr double kSilent = -std::numeric_limits<double>::infinity();
  struct Case {
    double integrated, truePeak, target;
    bool levels;
    double gain;
    bool peakLimited;
  };
  for (const Case& c :
       {Case{-30.0, -12.0, -19.0, true, 11.0, false}, Case{-12.0, -0.5, -19.0, true, -7.0, false},
        Case{-25.0, -3.0, -19.0, true, 2.0, true}, Case{-25.0, -0.2, -16.0, true, -0.8, true},
        Case{kSilent, kSilent, -19.0, false, 0.0, false}}) {
    SCOPED_TRACE(std::to_string(c.integrated) + " LUFS, " + std::to_string(c.truePeak) + " dBTP");
    double gain = 99.0;
    bool peakLimited = true;
    EXPECT_EQ(LevelGain(SlideLoudness{1, c.integrated, c.truePeak}, c.target, gain, peakLimited),
              c.levels);
    EXPECT_NEAR(gain, c.gain, 1e-9);
    EXPECT_EQ(peakLimited, c.peakLimited);
  }
  EXPECT_EQ(DefaultLoudnessTarget(1), -19.0);
  EXPECT_EQ(DefaultLoudnessTarget(2), -16.0);
}

}  // namespace
}  // namespace quorvane::testing
