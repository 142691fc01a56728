// The canonical 44-byte header of a PCM WAV file: a RIFF chunk holding a 16-byte `fmt `
// chunk and the `data` chunk that follows it. Every WAV file the program writes starts so.
#pragma once

#include <array>
#include <cstdint>

namespace quorvane {

inline constexpr int32_t kCanonicalHeaderBytes = 44;

// The header of a PCM file of `frames` frames. With `trailingBytes`, chunks of that many
// bytes follow the data, after a pad byte where the data's size is odd; the RIFF size
// covers them.
std::array<unsigned char, kCanonicalHeaderBytes> CanonicalWaveHeader(int32_t channels,
                                                                     int32_t sampleRate,
                                                                     int32_t bits, int64_t frames,
                                                                     uint32_t trailingBytes = 0);

// The pad byte a data chunk of this many bytes needs before chunks that follow it.
inline uint32_t DataPadBytes(uint32_t dataBytes) { return dataBytes & 1U; }

}  // namespace quorvane
