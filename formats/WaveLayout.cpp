#include "formats/WaveLayout.h"

#include "core/Numbers.h"
#include "platform/RiffChunkWalk.h"
#include "platform/RiffIds.h"

namespace quorvane {

namespace {

constexpr int64_t kOpenEndedSearch = 2'147'483'635;  // search length when RIFF says nothing
constexpr int64_t kSmallestFile = 45;

char Lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool SameId(const char* a, const char* b) {
  for (size_t i = 0; i < 4; ++i) {
    if (Lower(a[i]) != Lower(b[i])) return false;
  }
  return true;
}

// Walks the chunks from byte 12 over the search length, listing each, until both the
// format and the data chunk are found or the walk ends. Ids are compared without regard to
// case; no pad byte is skipped after a chunk of odd size, as the files of the program's
// history were read. A walk that would not move forward, or that reaches the end of the
// file, ends; so does one that meets no id (skipping a stretch of zeros eight bytes at a
// time would take minutes). A size of 0 or beyond the range gives the rest of the range.
void ListChunks(const BinaryFile& file, WaveLayout& layout) {
  layout.Chunks.clear();
  layout.Format = ChunkPlace{};
  layout.Data = ChunkPlace{};
  const int64_t last = 12 + layout.SearchLength - 1;
  WalkRiffChunks([&file](int64_t offset, void* buffer,
                         size_t count) { return file.ReadAt(offset, buffer, count); },
                 12, last, RiffChunkStep::SignedNoPad,
                 [&](const RiffChunkHeader& chunk) {
                   WaveChunk entry{std::string(chunk.Id.begin(), chunk.Id.end()), {}};
                   const auto size = static_cast<int32_t>(chunk.Size);
                   entry.Place.DataOffset = chunk.DataOffset();
                   entry.Place.DataSize = size >= 1 && size <= layout.SearchLength
                                              ? size
                                              : last - entry.Place.DataOffset + 1;
                   if (SameId(entry.Id.c_str(), kFormatId) && !layout.Format.Found()) {
                     layout.Format = entry.Place;
                   }
                   if (SameId(entry.Id.c_str(), kDataId) && !layout.Data.Found())
                     layout.Data = entry.Place;
                   layout.Chunks.push_back(std::move(entry));
                   return !layout.Format.Found() || !layout.Data.Found();
                 });
}

}  // namespace

bool IdAt(const BinaryFile& file, int64_t offset, const char* id) {
  char bytes[4] = {0, 0, 0, 0};
  return file.ReadAt(offset, bytes, 4) == 4 && SameId(bytes, id);
}

WaveLayout ReadWaveHead(const BinaryFile& file, bool decoded) {
  WaveLayout layout;
  layout.FileLength = file.Length() & 0xFFFFFFFF;
  if (layout.FileLength < kSmallestFile) {
    layout.Fault = decoded ? WaveFault::DecodedNoWaveData : WaveFault::NoWaveData;
    return layout;
  }
  if (!decoded) {
    // Big-endian "RIFX" files and "RF64" files, whose sizes may pass 4 GB, are decoded to
    // 16-bit PCM as compressed ones are.
    layout.BigEndian = IdAt(file, 0, kRifxId);
    layout.DecodedForm = layout.BigEndian || IdAt(file, 0, kRf64Id);
    if (!IdAt(file, 0, kRiffId) && !layout.DecodedForm) {
      layout.Fault = WaveFault::NoRiff;
      return layout;
    }
  }
  const int32_t riffSize = file.ReadInt32(4);
  // Counted in 64 bits: a size near -2^31 must not overflow.
  const int64_t stated = static_cast<int64_t>(riffSize) - 12;
  layout.SearchLength = stated <= 0 || layout.DecodedForm ? kOpenEndedSearch : stated;
  layout.RiffBeyondFile =
      !decoded && !layout.DecodedForm && stated > 0 && riffSize > layout.FileLength;
  if (!decoded && !IdAt(file, 8, kWaveId)) {
    layout.Fault = WaveFault::NotWave;
    return layout;
  }
  ListChunks(file, layout);
  if (!layout.Format.Found() || layout.Format.DataSize < 16) {
    layout.Fault = layout.Format.Found()
                       ? (decoded ? WaveFault::DecodedSmallFormat : WaveFault::SmallFormat)
                       : (decoded ? WaveFault::DecodedNoFormat : WaveFault::NoFormat);
    return layout;
  }
  const int64_t at = layout.Format.DataOffset;
  const auto field16 = [&](int64_t offset) -> uint16_t {
    return layout.BigEndian
               ? static_cast<uint16_t>(file.ReadByte(offset) << 8 | file.ReadByte(offset + 1))
               : file.ReadUint16(offset);
  };
  layout.FormatTag = field16(at);
  const uint16_t bits = field16(at + 14);
  layout.WidePcm = layout.FormatTag == 1 && (bits == 24 || bits == 32) &&
                   field16(at + 12) == field16(at + 2) * bits / 8;
  return layout;
}

void ReadWaveBody(const BinaryFile& file, WaveLayout& layout) {
  const int64_t at = layout.Format.DataOffset;
  if (!layout.Data.Found()) {
    layout.Fault = WaveFault::NoData;
    return;
  }
  layout.Rate = file.ReadInt32(at + 4);
  if (layout.Rate < 1000 || layout.Rate > 200000) {
    layout.Fault = WaveFault::RateUnsupported;
    return;
  }
  layout.Channels = file.ReadByte(at + 2);
  if (layout.Channels != 1 && layout.Channels != 2) {
    layout.Fault = WaveFault::BadChannels;
    return;
  }
  layout.Bits = file.ReadUint16(at + 14);
  if (layout.Bits != 8 && layout.Bits != 16) {
    layout.Fault = WaveFault::BadBits;
    return;
  }
  const int32_t frameBytes = layout.Bits / 8 * layout.Channels;
  if (layout.Data.DataSize < frameBytes) {
    layout.Fault = WaveFault::SmallData;
    return;
  }
  layout.Frames = RoundHalfEven64(static_cast<double>(layout.Data.DataSize) / frameBytes);
  layout.FramesPresent = (layout.FileLength - layout.Data.DataOffset) / frameBytes;
}

}  // namespace quorvane
