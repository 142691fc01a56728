// The true peak of sines whose crest falls between two samples, a quarter, a half or three
// quarters of the way: the samples miss it, the meter finds it, fed whole or in pieces.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "editing/TruePeakMeter.h"

namespace quorvane {
namespace {

TEST(TruePeakMeter, FindsACrestBetweenSamplesWhereverItFalls) {
  for (const double fraction : {0.25, 0.5, 0.75}) {
    SCOPED_TRACE(fraction);
    // A sine of sixteen samples a period (3 kHz at 48 kHz) whose crest lies `fraction` past
    // sample 1000.
    constexpr double kAmplitude = 0.5;
    constexpr double kStep = std::numbers::pi / 8;
    std::vector<int16_t> samples(4000);
    float samplePeak = 0.0F;
    for (size_t n = 0; n < samples.size(); ++n) {
      const double angle = (static_cast<double>(n) - 1000.0 - fraction) * kStep;
      // Faded in over the first 500 samples: a sudden start rings like any edge.
      const double fade = std::min(1.0, static_cast<double>(n) / 500.0);
      samples[n] = static_cast<int16_t>(std::lround(fade * kAmplitude * std::cos(angle) * 32768));
      samplePeak = std::max(samplePeak, std::abs(samples[n]) / 32768.0F);
    }
    TruePeakMeter whole;
    whole.Add(samples.data(), 1, samples.size());
    EXPECT_NEAR(whole.Peak(), kAmplitude, 0.002);
    EXPECT_GT(whole.Peak(), samplePeak + 0.002);
    TruePeakMeter pieces;
    for (size_t at = 0, size = 1; at < samples.size(); at += size, size = size * 3 % 997 + 1) {
      pieces.Add(samples.data() + at, 1, std::min(size, samples.size() - at));
    }
    EXPECT_EQ(pieces.Peak(), whole.Peak());
    // After a click between the largest sample and the crest, the crest still counts,
    // though every sample around it is smaller than the click.
    std::vector<int16_t> clicked(500 + samples.size() + 100, 0);
    clicked[100] = static_cast<int16_t>(std::lround((samplePeak + 0.001) * 32768));
    std::copy(samples.begin(), samples.end(), clicked.begin() + 500);
    TruePeakMeter afterClick;
    afterClick.Add(clicked.data(), 1, clicked.size());
    EXPECT_EQ(afterClick.Peak(), whole.Peak());
  }
}

}  // namespace
}  // namespace quorvane
