#include "tests/support/WaveBuilder.h"

namespace quorvane::testing {

std::string Le32(uint32_t value) {
  std::string bytes(4, '\0');
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<char>((value >> (8 * i)) & 0xFF);
  return bytes;
}

std::string Le16(uint16_t value) {
  return std::string{static_cast<char>(value & 0xFF), static_cast<char>(value >> 8)};
}

std::string RiffFile(const std::vector<Chunk>& chunks, std::optional<int32_t> riffSize,
                     const std::string& riffId, const std::string& formType) {
  std::string body = formType;
  for (const Chunk& chunk : chunks) {
    body += chunk.id;
    body += Le32(static_cast<uint32_t>(
        chunk.declaredSize.value_or(static_cast<int32_t>(chunk.data.size()))));
    body += chunk.data;
  }
  return riffId +
         Le32(static_cast<uint32_t>(riffSize.value_or(static_cast<int32_t>(body.size())))) + body;
}

std::string FormatChunkData(int formatTag, int channels, int sampleRate, int bits) {
  const int frameSize = channels * bits / 8;
  return Le16(static_cast<uint16_t>(formatTag)) + Le16(static_cast<uint16_t>(channels)) +
         Le32(static_cast<uint32_t>(sampleRate)) +
         Le32(static_cast<uint32_t>(sampleRate * frameSize)) +
         Le16(static_cast<uint16_t>(frameSize)) + Le16(static_cast<uint16_t>(bits));
}

std::string SampleBytes(const std::vector<int16_t>& interleaved, int bits) {
  std::string bytes;
  bytes.reserve(interleaved.size() * 2);
  for (const int16_t sample : interleaved) {
    if (bits == 8) {
      bytes += static_cast<char>(static_cast<uint8_t>(sample + 128));
    } else {
      bytes += Le16(static_cast<uint16_t>(sample));
    }
  }
  return bytes;
}

std::string PcmWave(int channels, int sampleRate, int bits,
                    const std::vector<int16_t>& interleaved) {
  return RiffFile({{"fmt ", FormatChunkData(1, channels, sampleRate, bits), {}},
                   {"data", SampleBytes(interleaved, bits), {}}});
}

}  // namespace quorvane::testing
