#include "tests/devices/LoopbackRecorder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>

namespace quorvane::testing {

LoopbackRecorder::LoopbackRecorder(int32_t channels, int32_t rate)
    : channels_(channels), rate_(rate) {
  const auto bytes = static_cast<size_t>(2 * channels * rate / 20);
  for (size_t i = 0; i < headers_.size(); ++i) {
    data_[i].resize(bytes);
    headers_[i].lpData = data_[i].data();
    headers_[i].dwBufferLength = static_cast<uint32_t>(bytes);
  }
  // The buffers come back in the order they were queued; each is kept and queued again.
  const int32_t opened = device_.waveInOpen({channels, rate, 16}, [this](uint32_t) {
    std::lock_guard lock(mutex_);
    WAVEHDR& header = headers_[next_];
    next_ = (next_ + 1) % headers_.size();
    const size_t values = header.dwBytesRecorded / 2;
    const size_t at = samples_.size();
    samples_.resize(at + values);
    std::memcpy(samples_.data() + at, header.lpData, values * 2);
    if (header.dwBytesRecorded == header.dwBufferLength) device_.waveInAddBuffer(header);
  });
  EXPECT_EQ(opened, MMSYSERR_NOERROR) << "recording through loopmic";
  for (WAVEHDR& header : headers_) {
    device_.waveInPrepareHeader(header);
    device_.waveInAddBuffer(header);
  }
  device_.waveInStart();
}

LoopbackRecorder::~LoopbackRecorder() { device_.waveInClose(); }

std::vector<int16_t> LoopbackRecorder::Samples() const {
  std::lock_guard lock(mutex_);
  return samples_;
}

double ToneAmplitude(const std::vector<int16_t>& samples, int32_t channels, int32_t rate,
                     double frequency, size_t first, size_t count) {
  double re = 0;
  double im = 0;
  const double step = 2 * std::numbers::pi * frequency / rate;
  for (size_t i = 0; i < count; ++i) {
    const size_t at = (first + i) * static_cast<size_t>(channels);
    if (at >= samples.size()) break;
    re += samples[at] * std::cos(step * static_cast<double>(i));
    im += samples[at] * std::sin(step * static_cast<double>(i));
  }
  return 2 * std::hypot(re, im) / static_cast<double>(count);
}

std::vector<int16_t> Tone(double frequency, int rate, int amplitude, int frames) {
  std::vector<int16_t> samples(static_cast<size_t>(frames));
  for (int i = 0; i < frames; ++i) {
    samples[static_cast<size_t>(i)] = static_cast<int16_t>(
        std::lround(amplitude * std::sin(2 * std::numbers::pi * frequency * i / rate)));
  }
  return samples;
}

int32_t BestLag(const std::vector<int16_t>& reference, const std::vector<int16_t>& heard,
                int32_t mostLag) {
  int32_t best = 0;
  double bestSum = -1e300;
  for (int32_t lag = -mostLag; lag <= mostLag; ++lag) {
    double sum = 0;
    for (size_t i = 0; i < heard.size(); ++i) {
      const int64_t at = static_cast<int64_t>(i) + lag;
      if (at < 0 || at >= static_cast<int64_t>(reference.size())) continue;
      sum += static_cast<double>(heard[i]) * reference[static_cast<size_t>(at)];
    }
    if (sum > bestSum) {
      bestSum = sum;
      best = lag;
    }
  }
  return best;
}

std::vector<int16_t> Noise(int frames, int amplitude, uint32_t seed) {
  std::vector<int16_t> samples(static_cast<size_t>(frames));
  uint32_t state = seed;
  for (int16_t& sample : samples) {
    state = state * 1664525u + 1013904223u;
    sample = static_cast<int16_t>((static_cast<int64_t>(state >> 16) - 32768) * amplitude / 32768);
  }
  return samples;
}

size_t FirstSound(const std::vector<int16_t>& samples, int32_t channels, int threshold) {
  for (size_t i = 0; i < samples.size(); i += static_cast<size_t>(channels)) {
    if (std::abs(samples[i]) > threshold) return i / static_cast<size_t>(channels);
  }
  return samples.size() / static_cast<size_t>(channels);
}

}  // namespace quorvane::testing
