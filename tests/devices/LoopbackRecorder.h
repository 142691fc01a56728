// Records what the sound server's null sink plays, through "loopmic" and the waveform-input
// layer, for as long as it lives: the tests' ear. 16-bit samples, interleaved.
#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <vector>

#include "devices/WaveInDevice.h"

namespace quorvane::testing {

class LoopbackRecorder {
 public:
  LoopbackRecorder(int32_t channels, int32_t rate);
  ~LoopbackRecorder();

  // Everything recorded so far.
  std::vector<int16_t> Samples() const;
  int32_t Rate() const { return rate_; }

 private:
  WaveInDevice device_;
  int32_t channels_;
  int32_t rate_;
  std::array<std::vector<uint8_t>, 4> data_;
  std::array<WAVEHDR, 4> headers_;
  size_t next_ = 0;
  mutable std::mutex mutex_;
  std::vector<int16_t> samples_;
};

// The strength of `frequency` in samples[first, first + count) of one channel, as the
// amplitude of a sine of that frequency (0 to 32767).
double ToneAmplitude(const std::vector<int16_t>& samples, int32_t channels, int32_t rate,
                     double frequency, size_t first, size_t count);

// A sine of `frequency` at `amplitude`, `frames` samples long: what the tests play.
std::vector<int16_t> Tone(double frequency, int rate, int amplitude, int frames);

// The shift, within ±mostLag samples, at which `heard` lines up best with `reference` (the
// cross-correlation's peak): heard[i] matches reference[i + lag]. Both are one channel.
int32_t BestLag(const std::vector<int16_t>& reference, const std::vector<int16_t>& heard,
                int32_t mostLag);

// Noise of `frames` samples at `amplitude`, the same for the same seed: audio that lines up
// with itself at one shift only.
std::vector<int16_t> Noise(int frames, int amplitude, uint32_t seed);

// Index of the first frame whose sample is louder than `threshold`, or the size.
size_t FirstSound(const std::vector<int16_t>& samples, int32_t channels, int threshold);

}  // namespace quorvane::testing
