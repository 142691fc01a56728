#include "editing/TruePeakMeter.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quorvane {

namespace {

double Sinc(double x) {
  return x == 0.0 ? 1.0 : std::sin(std::numbers::pi * x) / (std::numbers::pi * x);
}

// Kaiser window over [-halfWidth, halfWidth].
double Kaiser(double x, double halfWidth) {
  constexpr double kBeta = 5.0;
  const double ratio = x / halfWidth;
  if (std::abs(ratio) >= 1.0) return 0.0;
  return std::cyl_bessel_i(0.0, kBeta * std::sqrt(1.0 - ratio * ratio)) /
         std::cyl_bessel_i(0.0, kBeta);
}

}  // namespace

TruePeakMeter::TruePeakMeter() : window_(kHistory, 0.0F) {
  // The point a quarter, a half and three quarters past sample n comes from samples
  // n - 5 .. n + 6; tap j of a phase weighs sample n - 5 + j.
  constexpr double kHalfWidth = kTaps / 2 + 0.5;
  for (int phase = 0; phase < kBetween; ++phase) {
    const double fraction = (phase + 1) / 4.0;
    for (int tap = 0; tap < kTaps; ++tap) {
      const double distance = (tap - 5) - fraction;
      phases_[static_cast<size_t>(phase)][static_cast<size_t>(tap)] =
          static_cast<float>(Sinc(distance) * Kaiser(distance, kHalfWidth));
    }
  }
}

void TruePeakMeter::Add(const float* samples, size_t count) {
  if (count == 0) return;
  window_.resize(kHistory + count);
  std::copy(samples, samples + count, window_.begin() + kHistory);
  float peak = peak_;
  for (size_t i = 0; i < count; ++i) peak = std::max(peak, std::abs(samples[i]));
  // Points between the samples: the one after sample n needs samples up to n + 6, so the
  // last six samples of the block wait for the next one (they are in the history then).
  // window_[k] is sample k - kHistory of this block; the point after window_[k] needs
  // window_[k - 5 .. k + 6].
  const size_t points = count;
  sums_.assign(points, 0.0F);
  for (const auto& taps : phases_) {
    std::fill(sums_.begin(), sums_.end(), 0.0F);
    for (int tap = 0; tap < kTaps; ++tap) {
      const float weight = taps[static_cast<size_t>(tap)];
      const float* source = window_.data() + tap;  // point i lies after window_[i + 5]
      float* sums = sums_.data();
      for (size_t i = 0; i < points; ++i) sums[i] += weight * source[i];
    }
    for (size_t i = 0; i < points; ++i) peak = std::max(peak, std::abs(sums_[i]));
  }
  peak_ = peak;
  std::copy(window_.end() - kHistory, window_.end(), window_.begin());
}

}  // namespace quorvane
