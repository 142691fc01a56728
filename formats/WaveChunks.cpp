#include "formats/WaveChunks.h"

namespace quorvane {

namespace {

char Lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

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

}  // namespace quorvane
