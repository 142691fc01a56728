#include "app/SampleConversions.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/RecordingInteraction.h"

namespace quorvane {
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

TEST(ConvertSampleBits, WidensAndNarrowsWithHalfToEvenRounding) {
  testing::RecordingInteraction recorder;
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

TEST(ConvertSampleBits, ReportsProgressEveryTenThousandSamplesFromTheCurrentValue) {
  testing::RecordingInteraction recorder;
  recorder.progress.SetCurrentProgress(0.5F);
  recorder.progress.values.clear();
  VectorChannel channel{std::vector<int16_t>(25'000, 3)};
  ConvertSampleBits(channel, 8, 16, 0.5F);
  ASSERT_EQ(recorder.progress.values.size(), 2u);
  EXPECT_FLOAT_EQ(recorder.progress.values[0], 0.5F + 0.5F * 10'000 / 25'000);
  EXPECT_FLOAT_EQ(recorder.progress.values[1], 0.5F + 0.5F * 20'000 / 25'000);
}

TEST(ResampleNearest, HalfRateTakesEverySecondSample) {
  testing::RecordingInteraction recorder;
  VectorChannel source{{10, 20, 30, 40, 50, 60, 70, 80, 90, 100}};
  VectorChannel target;
  ResampleNearest(source, 50.0, target, 1.0F);
  EXPECT_EQ(target.samples, (std::vector<int16_t>{20, 40, 60, 80, 100}));
}

TEST(ResampleNearest, UpsamplingRepeatsAndKeepsInsideTheSource) {
  testing::RecordingInteraction recorder;
  VectorChannel source{{1, 2, 3}};
  VectorChannel target;
  ResampleNearest(source, 200.0, target, 1.0F);
  // i / 2 rounded half to even: 0->1st, 1, 2 (1.5), 2, 2 (2.5), 3
  EXPECT_EQ(target.samples, (std::vector<int16_t>{1, 1, 2, 2, 2, 3}));
  VectorChannel tiny{{7, 8}};
  ResampleNearest(tiny, 50.0, target, 1.0F);
  EXPECT_EQ(target.samples, (std::vector<int16_t>{7, 8}));
}

TEST(ResampleCurve, FourTimesFollowsTheBezierBetweenNeighbours) {
  testing::RecordingInteraction recorder;
  VectorChannel source{{0, 800, 0, 0}};
  VectorChannel target;
  ResampleCurve(source, 16, 400.0, 400.0, target, 1.0F, 4);
  ASSERT_EQ(target.samples.size(), 16u);
  // Interval 0 -> 800: P0 0, P1 160, P2 800, P3 800.
  EXPECT_EQ(target.samples[0], 0);
  EXPECT_EQ(target.samples[1], 192);  // 192.5 to even
  EXPECT_EQ(target.samples[2], 460);
  EXPECT_EQ(target.samples[3], 698);  // 697.5 to even
  EXPECT_EQ(target.samples[4], 800);  // every whole position is a source sample
  EXPECT_EQ(target.samples[8], 0);
  EXPECT_EQ(target.samples[12], 0);
  // Interval 800 -> 0: P0 800, P1 800, P2 160, P3 0, the mirror image.
  EXPECT_EQ(target.samples[5], 698);
  EXPECT_EQ(target.samples[7], 192);
  EXPECT_EQ(target.resizes, 5);  // grown four at a time, then cut to its length
}

TEST(ResampleCurve, OvershootIsLimitedToTheRangeOfTheBits) {
  testing::RecordingInteraction recorder;
  VectorChannel source{{0, 127, 127, 0, -128, -128, 0}};
  VectorChannel eight;
  ResampleCurve(source, 8, 400.0, 400.0, eight, 1.0F, 1024);
  VectorChannel sixteen;
  ResampleCurve(source, 16, 400.0, 400.0, sixteen, 1.0F, 1024);
  ASSERT_EQ(eight.samples.size(), 28u);
  int16_t highest8 = 0, lowest8 = 0, highest16 = 0, lowest16 = 0;
  for (int16_t v : eight.samples) highest8 = std::max(highest8, v), lowest8 = std::min(lowest8, v);
  for (int16_t v : sixteen.samples) {
    highest16 = std::max(highest16, v);
    lowest16 = std::min(lowest16, v);
  }
  EXPECT_GT(highest16, 127);
  EXPECT_LT(lowest16, -128);
  EXPECT_EQ(highest8, 127);
  EXPECT_EQ(lowest8, -128);
}

TEST(ResampleCurve, AChangingStepStretchesTheEndMoreThanTheStart) {
  testing::RecordingInteraction recorder;
  VectorChannel source{std::vector<int16_t>(1001, 0)};
  for (size_t i = 0; i < source.samples.size(); ++i) source.samples[i] = static_cast<int16_t>(i);
  VectorChannel target;
  ResampleCurve(source, 16, 100.0, 200.0, target, 1.0F, 4096);
  // The step falls from 1 to 0.5: between 1001 (constant 100 %) and 2002 (constant 200 %).
  EXPECT_GT(target.samples.size(), 1200u);
  EXPECT_LT(target.samples.size(), 1800u);
  EXPECT_EQ(target.samples[0], 0);
  EXPECT_EQ(target.samples[1], 1);  // the start still steps by a whole sample
  for (size_t i = 1; i < target.samples.size(); ++i) {
    ASSERT_GE(target.samples[i], target.samples[i - 1]);  // a ramp stays a ramp
  }
}

TEST(ResampleCurve, ShortSourcesAreCopiedUnchanged) {
  testing::RecordingInteraction recorder;
  VectorChannel source{{5, -5}};
  VectorChannel target;
  ResampleCurve(source, 16, 400.0, 400.0, target, 1.0F, 4);
  EXPECT_EQ(target.samples, (std::vector<int16_t>{5, -5}));
}

}  // namespace
}  // namespace quorvane
