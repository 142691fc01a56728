#include "formats/WaveChunks.h"

#include "platform/RiffChunkWalk.h"

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
  ChunkPlace place;
  WalkRiffChunks([&file](int64_t offset, void* buffer,
                         size_t count) { return file.ReadAt(offset, buffer, count); },
                 searchStart, last, RiffChunkStep::SignedNoPad,
                 [&](const RiffChunkHeader& chunk) {
                   for (size_t i = 0; i < 4; ++i) {
                     if (Lower(chunk.Id[i]) != Lower(chunkId[i])) return true;
                   }
                   const auto size = static_cast<int32_t>(chunk.Size);
                   place.DataOffset = chunk.DataOffset();
                   place.DataSize =
                       size >= 1 && size <= searchLength ? size : last - place.DataOffset + 1;
                   return false;
                 });
  return place;
}

}  // namespace quorvane
