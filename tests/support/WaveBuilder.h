// Builds WAV files byte by byte for tests: canonical PCM files of given samples, and files
// with any chunks, ids and sizes for the reader's fault paths.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorvane::testing {

struct Chunk {
  std::string id;                       // four characters
  std::string data;                     // the chunk's bytes
  std::optional<int32_t> declaredSize;  // a size field that lies, when set
};

// "RIFF" size "WAVE" and the chunks in order; the RIFF size is the true one unless given.
std::string RiffFile(const std::vector<Chunk>& chunks, std::optional<int32_t> riffSize = {},
                     const std::string& riffId = "RIFF", const std::string& formType = "WAVE");

// The 16 bytes of a `fmt ` chunk.
std::string FormatChunkData(int formatTag, int channels, int sampleRate, int bits);

// Interleaved samples as file bytes: 16-bit little-endian, or 8-bit as value + 128.
std::string SampleBytes(const std::vector<int16_t>& interleaved, int bits);

// A canonical 44-byte-header PCM file.
std::string PcmWave(int channels, int sampleRate, int bits,
                    const std::vector<int16_t>& interleaved);

std::string Le32(uint32_t value);
std::string Le16(uint16_t value);

}  // namespace quorvane::testing
