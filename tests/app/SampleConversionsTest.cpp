#include "app/SampleConversions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/support/RecordingInteraction.h"

namespace quorvane::testing {
namespace {

// A channel over a plain vector, 1-based like the program's carriers.
struct VectorChannel {
  std::vector<int16_t> samples;
  int resizes = 0;
  int32_t Length() const { return static_cast<int32_t>(samples.size()); }
  int16_t At(int32_t position) const { return samples.at(static_cast<size_t>(position - 1)); }
  void Resize(int32_t length) {
    ++resizes;
    samples.resize(static_cast<size_t>(length));
  }
  void Set(int32_t position, int16_t value) {
    samples.at(static_cast<size_t>(position - 1)) = value;
  }
};

class SampleConversions : public ::testing::Test {
 protected:
  RecordingInteraction ui;  // the conversions report their progress here
  VectorChannel target;
};

TEST_F(SampleConversions, BitsWidenAndNarrowWithHalfToEvenRounding) {
  VectorChannel channel{{0, 1, -1, 127, -128}};
  ConvertSampleBits(channel, 8, 16, 1.0F);
  EXPECT_EQ(channel.samples, (std::vector<int16_t>{0, 256, -256, 32512, -32768}));
  VectorChannel wide{{32767, -32768, 384, 640, -384, -640, 127, 128, 129}};
  ConvertSampleBits(wide, 16, 8, 1.0F);
  EXPECT_EQ(wide.samples, (std::vector<int16_t>{127, -128, 2, 2, -2, -2, 0, 0, 1}));
  VectorChannel same{{1000, -5}};
  ConvertSampleBits(same, 16, 16, 1.0F);
  ConvertSampleBits(same, 24, 8, 1.0F);
  EXPECT_EQ(same.samples, (std::vector<int16_t>{1000, -5}));
}

TEST_F(SampleConversions, NearestTakesEverySecondSampleAtHalfRateAndRepeatsAtDouble) {
  ResampleNearest(VectorChannel{{10, 20, 30, 40, 50, 60, 70, 80, 90, 100}}, 50.0, target, 1.0F);
  EXPECT_EQ(target.samples, (std::vector<int16_t>{20, 40, 60, 80, 100}));
  // i / 2 rounded half to even: 0->1st, 1, 2 (1.5), 2, 2 (2.5), 3; kept inside the source.
  ResampleNearest(VectorChannel{{1, 2, 3}}, 200.0, target, 1.0F);
  EXPECT_EQ(target.samples, (std::vector<int16_t>{1, 1, 2, 2, 2, 3}));
  ResampleNearest(VectorChannel{{7, 8}}, 50.0, target, 1.0F);
  EXPECT_EQ(target.samples, (std::vector<int16_t>{7, 8}));
}

TEST_F(SampleConversions, CurveAtFourTimesFollowsTheBezierBetweenNeighbours) {
  ResampleCurve(VectorChannel{{0, 800, 0, 0}}, 16, 400.0, 400.0, target, 1.0F, 4);
  ASSERT_EQ(target.samples.size(), 16u);
  // Interval 0 -> 800: P0 0, P1 160, P2 800, P3 800; 192.5 and 697.5 go to even. Interval
  // 800 -> 0 is its mirror image; every whole position is a source sample.
  EXPECT_EQ(std::vector<int16_t>(target.samples.begin(), target.samples.begin() + 9),
            (std::vector<int16_t>{0, 192, 460, 698, 800, 698, 460, 192, 0}));
  EXPECT_EQ(target.samples[12], 0);
  EXPECT_EQ(target.resizes, 5);  // grown four at a time, then cut to its length
  // Sources shorter than three samples are copied unchanged.
  ResampleCurve(VectorChannel{{5, -5}}, 16, 400.0, 400.0, target, 1.0F, 4);
  EXPECT_EQ(target.samples, (std::vector<int16_t>{5, -5}));
}

TEST_F(SampleConversions, CurveOvershootIsLimitedToTheRangeOfTheBits) {
  const VectorChannel source{{0, 127, 127, 0, -128, -128, 0}};
  ResampleCurve(source, 8, 400.0, 400.0, target, 1.0F, 1024);
  ASSERT_EQ(target.samples.size(), 28u);
  auto [lowest, highest] = std::minmax_element(target.samples.begin(), target.samples.end());
  EXPECT_EQ(*lowest, -128);
  EXPECT_EQ(*highest, 127);
  VectorChannel sixteen;
  ResampleCurve(source, 16, 400.0, 400.0, sixteen, 1.0F, 1024);
  std::tie(lowest, highest) = std::minmax_element(sixteen.samples.begin(), sixteen.samples.end());
  EXPECT_LT(*lowest, -128);
  EXPECT_GT(*highest, 127);
}

}  // namespace
}  // namespace quorvane::testing
