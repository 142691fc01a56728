// What the reader finds in a WAV file before it takes a sample: the chunks its walk meets,
// the format, where the samples lie, or the fault that refuses the file. Nothing here shows
// anything; the loading tells the user from the fault table.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "formats/BinaryFile.h"

namespace quorvane {

// Where a chunk's data lies and how long it is.
struct ChunkPlace {
  int64_t DataOffset = 0;  // 0: not found (no chunk's data can start at offset 0)
  int64_t DataSize = 0;
  bool Found() const { return DataOffset != 0; }
};

enum class WaveFault {
  None,
  NoWaveData,  // shorter than a header
  NoRiff,      // neither "RIFF" nor a form that is decoded instead
  NotWave,     // a RIFF file of another kind
  NoFormat,
  SmallFormat,  // a format chunk under 16 bytes
  NoData,
  RateUnsupported,
  BadChannels,
  BadBits,
  SmallData,  // less than one frame
  // The same faults in the file a decoding wrote.
  DecodedNoWaveData,
  DecodedNoFormat,
  DecodedSmallFormat,
};

struct WaveChunk {
  std::string Id;  // as written
  ChunkPlace Place;
};

struct WaveLayout {
  WaveFault Fault = WaveFault::None;
  bool BigEndian = false;         // a "RIFX" file
  bool DecodedForm = false;       // "RIFX" or "RF64": decoded whatever its samples are
  int64_t FileLength = 0;         // as the reader counts it, in 32 bits
  bool RiffBeyondFile = false;    // the RIFF size promises more than the file holds
  int64_t SearchLength = 0;       // how far the chunk walk goes
  std::vector<WaveChunk> Chunks;  // met by the walk, in order, until both chunks below
  ChunkPlace Format;
  ChunkPlace Data;
  uint16_t FormatTag = 0;
  bool WidePcm = false;  // 24 or 32-bit integer PCM with frames as wide as its channels
  int32_t Rate = 0;
  int32_t Channels = 0;
  int32_t Bits = 0;
  int64_t Frames = 0;         // as the data chunk's size says
  int64_t FramesPresent = 0;  // as the file's length allows

  // 8 or 16-bit PCM of a "RIFF" file, whose samples are read where they lie; anything else
  // is decoded first.
  bool ReadInPlace() const { return FormatTag == 1 && !DecodedForm && !WidePcm; }
};

// The header up to the format chunk, of the file opened (or, with `decoded`, of the file a
// decoding wrote): NoWaveData, NoRiff, NotWave, NoFormat, SmallFormat, or their decoded
// forms.
WaveLayout ReadWaveHead(const BinaryFile& file, bool decoded);

// After ReadWaveHead of the file whose samples are described, with FileLength as far as
// they may be read: the data chunk and the samples' format. NoData, RateUnsupported,
// BadChannels, BadBits, SmallData, checked in that order.
void ReadWaveBody(const BinaryFile& file, WaveLayout& layout);

// True when the four bytes at `offset` equal `id` without regard to case.
bool IdAt(const BinaryFile& file, int64_t offset, const char* id);

}  // namespace quorvane
