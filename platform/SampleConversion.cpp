#include "platform/SampleConversion.h"

#include <cmath>
#include <type_traits>

#include "platform/WaveSamples.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace quorvane {

namespace {

struct FromUnsignedByte {
  using Type = uint8_t;
  static int16_t Convert(uint8_t value) {
    return static_cast<int16_t>(DecodeWaveSample(&value, 1) * 256);
  }
};

struct FromInt16 {
  using Type = int16_t;
  static int16_t Convert(int16_t value) { return value; }
};

struct FromInt32 {
  using Type = int32_t;
  static int16_t Convert(int32_t value) { return static_cast<int16_t>(value >> 16); }
};

struct FromInt64 {
  using Type = int64_t;
  static int16_t Convert(int64_t value) { return static_cast<int16_t>(value >> 48); }
};

struct FromFloat {
  using Type = float;
  static int16_t Convert(float value) {
    const float scaled = value * 32768.0F;
    if (!(scaled > -32768.0F)) return scaled != scaled ? 0 : -32768;  // NaN gives silence
    if (scaled >= 32767.0F) return 32767;
    return static_cast<int16_t>(std::lrintf(scaled));
  }
};

struct FromDouble {
  using Type = double;
  static int16_t Convert(double value) {
    const double scaled = value * 32768.0;
    if (!(scaled > -32768.0)) return scaled != scaled ? 0 : -32768;
    if (scaled >= 32767.0) return 32767;
    return static_cast<int16_t>(std::lrint(scaled));
  }
};

// Planar 16-bit stereo, what the ADPCM decoders deliver: only interleaving is left to do.
void InterleaveInt16(const int16_t* left, const int16_t* right, size_t count, int16_t* out) {
  size_t i = 0;
#if defined(__SSE2__)
  for (; i + 8 <= count; i += 8) {
    const __m128i l = _mm_loadu_si128(reinterpret_cast<const __m128i*>(left + i));
    const __m128i r = _mm_loadu_si128(reinterpret_cast<const __m128i*>(right + i));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * i), _mm_unpacklo_epi16(l, r));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * i + 8), _mm_unpackhi_epi16(l, r));
  }
#endif
  for (; i < count; ++i) {
    out[2 * i] = left[i];
    out[2 * i + 1] = right[i];
  }
}

template <typename From>
void Convert(const SampleSource& source, size_t first, size_t count, int16_t* out) {
  using Type = typename From::Type;
  const auto* plane0 = reinterpret_cast<const Type*>(source.planes[0]);
  if (source.channels == 1 || !source.planar) {
    const size_t samples = count * static_cast<size_t>(source.channels);
    const Type* in = plane0 + first * static_cast<size_t>(source.channels);
    for (size_t i = 0; i < samples; ++i) out[i] = From::Convert(in[i]);
    return;
  }
  const Type* left = plane0 + first;
  const Type* right = reinterpret_cast<const Type*>(source.planes[1]) + first;
  if constexpr (std::is_same_v<Type, int16_t>) {
    InterleaveInt16(left, right, count, out);
  } else {
    for (size_t i = 0; i < count; ++i) {
      out[2 * i] = From::Convert(left[i]);
      out[2 * i + 1] = From::Convert(right[i]);
    }
  }
}

}  // namespace

void ConvertToInt16(const SampleSource& source, size_t first, size_t count, int16_t* out) {
  switch (source.encoding) {
    case SampleEncoding::UnsignedByte:
      return Convert<FromUnsignedByte>(source, first, count, out);
    case SampleEncoding::Int16:
      return Convert<FromInt16>(source, first, count, out);
    case SampleEncoding::Int32:
      return Convert<FromInt32>(source, first, count, out);
    case SampleEncoding::Int64:
      return Convert<FromInt64>(source, first, count, out);
    case SampleEncoding::Float:
      return Convert<FromFloat>(source, first, count, out);
    case SampleEncoding::Double:
      return Convert<FromDouble>(source, first, count, out);
  }
}

}  // namespace quorvane
