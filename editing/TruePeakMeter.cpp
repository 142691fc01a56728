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
  std::array<std::array<float, kTaps>, kBetween> phases{};
  for (int phase = 0; phase < kBetween; ++phase) {
    const double fraction = (phase + 1) / 4.0;
    for (int tap = 0; tap < kTaps; ++tap) {
      const double distance = (tap - 5) - fraction;
      phases[static_cast<size_t>(phase)][static_cast<size_t>(tap)] =
          static_cast<float>(Sinc(distance) * Kaiser(distance, kHalfWidth));
    }
  }
  // The half-way phase is symmetric and the other two mirror each other: point pairs
  // come from sums and differences of samples equally far from the middle, with half the
  // multiplications.
  for (size_t tap = 0; tap < kTaps / 2; ++tap) {
    const float outer = phases[0][kTaps - 1 - tap];
    half_[tap] = phases[1][tap];
    sumWeights_[tap] = phases[0][tap] + outer;
    differenceWeights_[tap] = phases[0][tap] - outer;
  }
  // No point exceeds the largest nearby sample times the largest sum of absolute weights
  // of a phase; the margin covers the rounding of the single-precision sums.
  double gain = 1.0;
  for (const auto& phase : phases) {
    double sum = 0.0;
    for (const float weight : phase) sum += std::abs(weight);
    gain = std::max(gain, sum);
  }
  largestGain_ = static_cast<float>(gain * 1.001);
}

float TruePeakMeter::Peak() const {
  // The last six samples wait for the points after them; their own values count already.
  float peak = peak_;
  for (size_t k = kHistory - 6; k < kHistory; ++k) peak = std::max(peak, std::abs(window_[k]));
  return peak;
}

// The largest of sample source[5] and the three points after it: with the quarter point q
// and the three-quarter point t, the sums P = q + t and M = q - t give max(|q|, |t|) as
// (|P| + |M|) / 2.
inline float TruePeakMeter::LargestAround(const float* source) const {
  float half = 0.0F;
  float sum = 0.0F;
  float difference = 0.0F;
  for (size_t tap = 0; tap < kTaps / 2; ++tap) {
    const float near = source[tap];
    const float far = source[kTaps - 1 - tap];
    half += half_[tap] * (near + far);
    sum += sumWeights_[tap] * (near + far);
    difference += differenceWeights_[tap] * (near - far);
  }
  return std::max(
      {std::abs(source[5]), std::abs(half), 0.5F * (std::abs(sum) + std::abs(difference))});
}

// Built twice, for processors with 256-bit vectors and for all others; the lanes add in
// the same order either way, so both give the same peak.
__attribute__((target_clones("avx2", "default"))) void TruePeakMeter::Add(const int16_t* samples,
                                                                          size_t stride,
                                                                          size_t count) {
  if (count == 0) return;
  window_.resize(kHistory + count);
  for (size_t k = 0; k < count; ++k) {
    window_[kHistory + k] = static_cast<float>(samples[k * stride]) * (1.0F / 32768);
  }
  // window_[k] is sample k - kHistory of this block. Point group i holds the three points
  // after window_[i + 5], made from window_[i .. i + 11]; the last six samples of the
  // block get theirs with the next block, when they are history. Eight groups at a time,
  // each lane keeping its own largest value, so that the loops become vector code.
  // Stretches of 64 groups whose samples are too small for any point to pass the peak
  // found so far are skipped: most of speech, once its loudest syllable has been met.
  constexpr size_t kLanes = 8;
  constexpr size_t kStretch = 64;
  const float* window = window_.data();
  float peak = peak_;
  size_t i = 0;
  for (; i + kStretch <= count; i += kStretch) {
    // The largest of the stretch's samples, eight lanes at a time; the last eight overlap
    // the ones before, which changes no maximum.
    constexpr size_t kSamples = kStretch + kTaps - 1;
    std::array<float, kLanes> nearby{};
    const auto take = [&nearby](const float* from) {
      for (size_t lane = 0; lane < kLanes; ++lane) {
        nearby[lane] = std::max(nearby[lane], std::abs(from[lane]));
      }
    };
    for (size_t k = i; k + kLanes <= i + kSamples; k += kLanes) take(window + k);
    take(window + i + kSamples - kLanes);
    if (*std::max_element(nearby.begin(), nearby.end()) * largestGain_ <= peak) continue;
    std::array<float, kLanes> largest{};
    for (size_t group = i; group < i + kStretch; group += kLanes) {
      for (size_t lane = 0; lane < kLanes; ++lane) {
        largest[lane] = std::max(largest[lane], LargestAround(window + group + lane));
      }
    }
    peak = std::max(peak, *std::max_element(largest.begin(), largest.end()));
  }
  for (; i < count; ++i) peak = std::max(peak, LargestAround(window + i));
  peak_ = peak;
  std::copy(window_.end() - kHistory, window_.end(), window_.begin());
}

}  // namespace quorvane
