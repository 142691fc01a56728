// A steep high-pass filter for voice: eight poles (four second-order sections in the
// shape of a Butterworth filter), so that below an 80 Hz cut-off the 50 Hz hum of mains
// power drops by more than 30 dB while the voice above passes unchanged in level.
#pragma once

#include <array>
#include <cstdint>

namespace quorvane {

class HighPassFilter {
 public:
  HighPassFilter(double cutOffHz, int32_t rate);
  // The next sample, filtered; the filter remembers what came before.
  double Next(double sample);
  // The gain at `hz` in dB (negative below the cut-off).
  double GainDb(double hz) const;

 private:
  struct Section {
    double b0, b1, b2, a1, a2;  // normalized by a0
    double z1 = 0, z2 = 0;      // transposed direct form II state
  };
  std::array<Section, 4> sections_{};
  int32_t rate_;
};

}  // namespace quorvane
