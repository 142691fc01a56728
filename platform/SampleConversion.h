// Decoded samples of any width and layout turned into interleaved 16-bit samples, for
// one or two channels. These loops run for every sample of a decoding, so the choice of
// format is made once per call, never per sample.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quorvane {

enum class SampleEncoding { UnsignedByte, Int16, Int32, Int64, Float, Double };

struct SampleSource {
  SampleEncoding encoding = SampleEncoding::Int16;
  bool planar = false;  // one plane per channel, else frames interleaved in plane 0
  const uint8_t* const* planes = nullptr;
  int channels = 1;  // 1 or 2
};

// Converts `count` frames, beginning at frame `first`, into `out` (count × channels
// samples). Integers keep their top 16 bits; floating-point full scale is ±1.0, rounded to
// the nearest value and clipped.
void ConvertToInt16(const SampleSource& source, size_t first, size_t count, int16_t* out);

}  // namespace quorvane
