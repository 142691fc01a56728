// Conversions of one channel of samples between bit depths and sample rates, as session
// loading brings every track to the session's format. They work on any channel type with
// sequential access (block carriers in the program, plain vectors in tests):
//   source: int32_t Length() const; int16_t At(int32_t position) const   (1-based)
//   target: void Resize(int32_t length); void Set(int32_t position, int16_t value)
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "core/Interaction.h"
#include "core/Numbers.h"

namespace quorvane {

inline constexpr int32_t kProgressEverySamples = 10'000;

// Reports base + share * done / total to the progress display.
class ConversionProgress {
 public:
  ConversionProgress(float share, int32_t total)
      : base_(UserInterface().Progress().CurrentProgress()), share_(share), total_(total) {}
  void Report(int32_t done) const {
    if (total_ <= 0) return;
    UserInterface().Progress().SetCurrentProgress(base_ + share_ * static_cast<float>(done) /
                                                              static_cast<float>(total_));
  }

 private:
  float base_;
  float share_;
  int32_t total_;
};

// 8 to 16 bits multiplies by 256; 16 to 8 bits divides by 256, rounding half to even, with
// 128 limited to 127. Other pairs leave the samples as they are.
template <typename Channel>
void ConvertSampleBits(Channel& channel, int32_t fromBits, int32_t toBits, float progressShare) {
  const bool widen = fromBits == 8 && toBits == 16;
  const bool narrow = fromBits == 16 && toBits == 8;
  if (!widen && !narrow) return;
  const int32_t length = channel.Length();
  const ConversionProgress progress(progressShare, length);
  for (int32_t position = 1; position <= length; ++position) {
    const int32_t value = channel.At(position);
    int32_t converted = 0;
    if (widen) {
      converted = value * 256;
    } else {
      converted = RoundHalfEven(value / 256.0);
      if (converted > 127) converted = 127;
    }
    channel.Set(position, static_cast<int16_t>(converted));
    if (position % kProgressEverySamples == 0) progress.Report(position);
  }
}

// Copies a source of fewer than three samples unchanged.
template <typename Source, typename Target>
void CopyUnchanged(const Source& source, Target& target) {
  const int32_t length = source.Length();
  target.Resize(length);
  for (int32_t position = 1; position <= length; ++position) {
    target.Set(position, source.At(position));
  }
}

// Nearest-sample resampling without filtering: output sample i is source sample i / factor,
// rounded half to even and kept inside the source.
template <typename Source, typename Target>
void ResampleNearest(const Source& source, double percent, Target& target, float progressShare) {
  const int32_t length = source.Length();
  if (length < 3 || !(percent > 0.0)) return CopyUnchanged(source, target);
  const double factor = percent / 100.0;
  const int32_t outputLength = RoundHalfEven(length * factor);
  target.Resize(outputLength);
  const ConversionProgress progress(progressShare, outputLength);
  for (int32_t i = 1; i <= outputLength; ++i) {
    const int32_t from = std::clamp(RoundHalfEven(i / factor), 1, length);
    target.Set(i, source.At(from));
    if (i % kProgressEverySamples == 0) progress.Report(i);
  }
}

// Cubic Bezier interpolation between neighbouring samples, with a source step per output
// sample that moves linearly from 100 / startPercent to 100 / endPercent over the source.
// The output grows in steps of `growStep` samples and is cut to its length at the end.
template <typename Source, typename Target>
void ResampleCurve(const Source& source, int32_t bits, double startPercent, double endPercent,
                   Target& target, float progressShare, int32_t growStep) {
  const int32_t length = source.Length();
  if (length < 3 || !(startPercent > 0.0) || !(endPercent > 0.0)) {
    return CopyUnchanged(source, target);
  }
  const double low = bits == 8 ? -128.0 : -32768.0;
  const double high = bits == 8 ? 127.0 : 32767.0;

  std::array<double, 101> b0{}, b1{}, b2{}, b3{};
  for (int k = 0; k <= 100; ++k) {
    const double t = k / 100.0;
    const double u = 1.0 - t;
    b0[k] = u * u * u;
    b1[k] = 3.0 * u * u * t;
    b2[k] = 3.0 * u * t * t;
    b3[k] = t * t * t;
  }
  const double startStep = 100.0 / startPercent;
  const double endStep = 100.0 / endPercent;
  const double stepChange = length > 1 ? (endStep - startStep) / (length - 1) : 0.0;

  // y(i) with the samples before the first and after the last equal to the ends.
  const auto y = [&source, length](int32_t i) -> double {
    return source.At(std::clamp(i, 1, length));
  };

  int32_t capacity = 0;
  int32_t count = 0;
  const ConversionProgress progress(progressShare, length);
  double x = 1.0;
  for (int32_t i = 1; i <= length; ++i) {
    const double p0 = y(i);
    const double p3 = y(i + 1);
    const double p1 = p0 + (p3 - y(i - 1)) / 5.0;
    const double p2 = p3 - (y(i + 2) - p0) / 5.0;
    while (x >= i && x < i + 1) {
      const int k = std::clamp(RoundHalfEven((x - i) * 100.0), 0, 100);
      const double value = p0 * b0[k] + p1 * b1[k] + p2 * b2[k] + p3 * b3[k];
      if (count == capacity) {
        capacity += growStep;
        target.Resize(capacity);
      }
      ++count;
      target.Set(count, static_cast<int16_t>(std::clamp<double>(RoundHalfEven(value), low, high)));
      x += startStep + stepChange * (x - 1.0);
    }
    if (i % kProgressEverySamples == 0) progress.Report(i);
  }
  target.Resize(count);
}

}  // namespace quorvane
