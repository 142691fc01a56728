// The canonical 44-byte header of a PCM WAV file: a RIFF chunk holding a 16-byte `fmt `
// chunk and the `data` chunk that follows it. Every WAV file the program writes starts so.
#pragma once

#include <array>
#include <cstdint>

namespace quorvane {

inline constexpr int32_t kCanonicalHeaderBytes = 44;

// The header of a PCM file of `frames` frames.
std::array<unsigned char, kCanonicalHeaderBytes> CanonicalWaveHeader(int32_t channels,
                                                                     int32_t sampleRate,
                                                                     int32_t bits, int64_t frames);

}  // namespace quorvane
