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

float TruePeakMeter::Peak() const {
  // The last six samples wait for the points after them; their own values count already.
  float peak = peak_;
  for (size_t k = kHistory - 6; k < kHistory; ++k) peak = std::max(peak, std::abs(window_[k]));
  return peak;
}

void TruePeakMeter::Add(const float* samples, size_t count) {
  if (count == 0) return;
  window_.resize(kHistory + count);
  std::copy(samples, samples + count, window_.begin() + kHistory);
  // window_[k] is sample k - kHistory of this block. Point group i holds the three points
  // after window_[i + 5], made from window_[i .. i + 11]; the last six samples of the
  // block get theirs with the next block, when they are history. Eight groups at a time,
  // each lane keeping its own largest value, so that the loops become vector code.
  constexpr size_t kLanes = 8;
  std::array<float, kLanes> largest{};
  const float* window = window_.data();
  size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    for (size_t lane = 0; lane < kLanes; ++lane) {
      const float* source = window + i + lane;
      float first = 0.0F;
      float second = 0.0F;
      float third = 0.0F;
      for (size_t tap = 0; tap < kTaps; ++tap) {
        first += phases_[0][tap] * source[tap];
        second += phases_[1][tap] * source[tap];
        third += phases_[2][tap] * source[tap];
      }
      const float point =
          std::max({std::abs(source[5]), std::abs(first), std::abs(second), std::abs(third)});
      largest[lane] = std::max(largest[lane], point);
    }
  }
  float peak = std::max(peak_, *std::max_element(largest.begin(), largest.end()));
  for (; i < count; ++i) {
    const float* source = window + i;
    float first = 0.0F;
    float second = 0.0F;
    float third = 0.0F;
    for (size_t tap = 0; tap < kTaps; ++tap) {
      first += phases_[0][tap] * source[tap];
      second += phases_[1][tap] * source[tap];
      third += phases_[2][tap] * source[tap];
    }
    peak =
        std::max({peak, std::abs(source[5]), std::abs(first), std::abs(second), std::abs(third)});
  }
  peak_ = peak;
  std::copy(window_.end() - kHistory, window_.end(), window_.begin());
}

}  // namespace quorvane
