// The progress display of an effect pass: base + share x i / length, written only at every
// 100,000th sample so that the display costs nothing in the sample loops.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/Interaction.h"

namespace quorvane {

inline constexpr int32_t kProgressStep = 100000;

class EffectProgress {
 public:
  EffectProgress(float base, float share, int32_t length)
      : base_(base), share_(share), length_(length) {}

  // The last sample of the run that starts at `first` (1-based) and may go on to `last`:
  // runs end at every multiple of the step, where `Reached` then writes the progress.
  static int32_t RunEnd(int32_t first, int32_t last) {
    const int32_t nextStep = (first + kProgressStep - 1) / kProgressStep * kProgressStep;
    return std::min(last, nextStep);
  }

  void Reached(int32_t i) const {
    if (i % kProgressStep == 0) Set(i);
  }

  void Set(int32_t i) const {
    UserInterface().Progress().SetCurrentProgress(base_ + share_ * static_cast<float>(i) /
                                                              static_cast<float>(length_));
  }

 private:
  float base_;
  float share_;
  int32_t length_;
};

}  // namespace quorvane
