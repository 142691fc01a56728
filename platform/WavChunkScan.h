// The chunk layout of a WAV file as the decoder needs it: the format, where the audio
// data lies, and the frame count of the `fact` chunk that compressed formats carry.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quorvane {

inline constexpr uint16_t kWaveFormatExtensible = 0xFFFE;

struct WavChunkLayout {
  uint16_t formatTag = 0;  // as written in the `fmt ` chunk (0xFFFE for the extensible form)
  uint16_t codecTag = 0;   // the extensible form's sub-format, else the format tag
  uint16_t channels = 0;
  uint32_t sampleRate = 0;
  uint64_t fileSize = 0;
  uint64_t dataOffset = 0;
  uint64_t dataSize = 0;  // never reaches past the end of the file
  std::optional<uint32_t> factFrames;
  bool bigEndian = false;  // a "RIFX" file
};

// Walks the chunks of a RIFF WAVE file (also of the "RF64" and big-endian "RIFX" forms). Throws
// RuntimeError, in plain words, when the file cannot be read, is no WAV file, or lacks its `fmt `
// or `data` chunk.
WavChunkLayout ScanWavChunks(const std::string& path);

}  // namespace quorvane
