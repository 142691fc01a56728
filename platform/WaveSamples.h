// One sample of a WAV file's data as a document holds it, and back. 8-bit samples are
// unsigned bytes centred on 128 and are held as -128..127; 16-bit ones are little-endian
// two's complement.
#pragma once

#include <cstdint>

namespace quorvane {

inline int16_t DecodeWaveSample(const uint8_t* bytes, int32_t sampleBytes) {
  if (sampleBytes == 1) return static_cast<int16_t>(static_cast<int32_t>(bytes[0]) - 128);
  return static_cast<int16_t>(static_cast<uint16_t>(bytes[0] | (bytes[1] << 8)));
}

// An 8-bit value outside -128..127 is the caller's to refuse.
inline uint8_t* EncodeWaveSample(int16_t value, int32_t sampleBytes, uint8_t* out) {
  if (sampleBytes == 1) {
    *out++ = static_cast<uint8_t>(value + 128);
    return out;
  }
  const auto word = static_cast<uint16_t>(value);
  *out++ = static_cast<uint8_t>(word & 0xFF);
  *out++ = static_cast<uint8_t>(word >> 8);
  return out;
}

}  // namespace quorvane
