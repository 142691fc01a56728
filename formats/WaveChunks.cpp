#include "formats/WaveChunks.h"

namespace quorvane {

namespace {

char Lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

void Put32(unsigned char* at, uint32_t value) {
  at[0] = static_cast<unsigned char>(value);
  at[1] = static_cast<unsigned char>(value >> 8);
  at[2] = static_cast<unsigned char>(value >> 16);
  at[3] = static_cast<unsigned char>(value >> 24);
}

}  // namespace

bool IdAt(const BinaryFile& file, int64_t offset, const char* id) {
  char bytes[4] = {0, 0, 0, 0};
  if (file.ReadAt(offset, bytes, 4) != 4) return false;
  for (int i = 0; i < 4; ++i) {
    if (Lower(bytes[i]) != Lower(id[i])) return false;
  }
  return true;
}

ChunkPlace FindChunk(const std::string& chunkId, const BinaryFile& file, int64_t searchStart,
                     int64_t searchLength) {
  const int64_t last = searchStart + searchLength - 1;
  // No id lies past the end of the file: the walk ends there, however far the sizes say
  // the chunks go (skipping a stretch of zeros eight bytes at a time would take minutes).
  const int64_t fileLength = file.Length();
  int64_t position = searchStart;
  while (position + 8 < last && position + 4 <= fileLength) {
    const int32_t size = file.ReadInt32(position + 4);
    if (IdAt(file, position, chunkId.c_str())) {
      ChunkPlace place;
      place.DataOffset = position + 8;
      place.DataSize = size >= 1 && size <= searchLength ? size : last - place.DataOffset + 1;
      return place;
    }
    const int64_t next = position + 8 + size;
    if (next <= position) return {};
    position = next;
  }
  return {};
}

std::array<unsigned char, kCanonicalHeaderBytes> CanonicalWaveHeader(int32_t channels,
                                                                     int32_t sampleRate,
                                                                     int32_t bits, int64_t frames) {
  std::array<unsigned char, kCanonicalHeaderBytes> header{};
  const uint32_t frameSize = static_cast<uint32_t>(channels * bits / 8);
  const uint32_t dataSize = static_cast<uint32_t>(frames) * frameSize;
  unsigned char* h = header.data();
  const char* riff = "RIFF";
  const char* waveFmt = "WAVEfmt ";
  const char* data = "data";
  for (int i = 0; i < 4; ++i) h[i] = static_cast<unsigned char>(riff[i]);
  Put32(h + 4, dataSize + 36);
  for (int i = 0; i < 8; ++i) h[8 + i] = static_cast<unsigned char>(waveFmt[i]);
  Put32(h + 16, 16);
  h[20] = 1;
  h[21] = 0;
  h[22] = static_cast<unsigned char>(channels);
  h[23] = 0;
  Put32(h + 24, static_cast<uint32_t>(sampleRate));
  Put32(h + 28, static_cast<uint32_t>(sampleRate) * frameSize);
  h[32] = static_cast<unsigned char>(frameSize);
  h[33] = 0;
  h[34] = static_cast<unsigned char>(bits);
  h[35] = 0;
  for (int i = 0; i < 4; ++i) h[36 + i] = static_cast<unsigned char>(data[i]);
  Put32(h + 40, dataSize);
  return header;
}

}  // namespace quorvane
