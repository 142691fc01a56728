// The true peak of one channel after EBU R128: the largest absolute value of the signal
// interpolated four times over (the samples themselves and three points between each two),
// through a windowed-sinc filter of 12 taps per phase. Fed block by block in order; the
// filter runs as plain loops over whole blocks that the compiler turns into vector code.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace quorvane {

class TruePeakMeter {
 public:
  static constexpr int kTaps = 12;     // per phase
  static constexpr int kBetween = 3;   // interpolated points between two samples
  static constexpr int kHistory = 11;  // samples the filter looks back

  TruePeakMeter();

  // The next `count` samples, 16-bit (32768 is full scale), each `stride` values after the
  // one before: one channel of interleaved frames.
  void Add(const int16_t* samples, size_t stride, size_t count);

  // Largest absolute value so far, full scale 1.0.
  float Peak() const;

 private:
  float LargestAround(const float* source) const;

  std::array<float, kTaps / 2> half_{};               // the half-way phase's outer half
  std::array<float, kTaps / 2> sumWeights_{};         // quarter + three-quarter weights
  std::array<float, kTaps / 2> differenceWeights_{};  // quarter - three-quarter weights
  float largestGain_ = 1.0F;   // no point exceeds the largest of its 12 samples times this
  std::vector<float> window_;  // history, then the block being measured
  float peak_ = 0.0F;
};

}  // namespace quorvane
