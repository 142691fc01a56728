// Noise suppression for recorded speech, on libspeexdsp's preprocessor: a spectral
// suppressor that follows the noise floor and lowers it by a strength in dB, leaving speech
// as it is. One denoiser is one channel. Only noise suppression runs: no gain control, no
// voice detection, no dereverberation.
#pragma once

#include <cstdint>
#include <memory>

namespace quorvane {

class SpeechDenoiser {
 public:
  // Frames of 10 ms at `rate`; `strengthDb` (positive) is how far the noise is lowered.
  SpeechDenoiser(int32_t rate, int32_t strengthDb);
  ~SpeechDenoiser();
  SpeechDenoiser(const SpeechDenoiser&) = delete;
  SpeechDenoiser& operator=(const SpeechDenoiser&) = delete;

  int32_t FrameSamples() const { return frame_; }
  // Denoises one frame in place. The result lags the input by one frame: the first frame
  // out belongs before the first frame in.
  void Process(int16_t* frame);

 private:
  struct State;
  std::unique_ptr<State> state_;
  int32_t frame_;
};

}  // namespace quorvane
