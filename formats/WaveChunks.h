// The RIFF layout of WAV files as the program reads and writes them.
#pragma once

#include <cstdint>
#include <string>

#include "formats/BinaryFile.h"
#include "platform/CanonicalWaveHeader.h"

namespace quorvane {

struct ChunkPlace {
  int64_t DataOffset = 0;  // 0: not found (no chunk's data can start at offset 0)
  int64_t DataSize = 0;
  bool Found() const { return DataOffset != 0; }
};

// Walks the chunks from `searchStart` over `searchLength` bytes for the id (compared
// without regard to case). No pad byte is skipped after a chunk of odd size. A walk that
// would not move forward, or that reaches the end of the file, ends as not found.
ChunkPlace FindChunk(const std::string& chunkId, const BinaryFile& file, int64_t searchStart,
                     int64_t searchLength);

// True when the four bytes at `offset` equal `id` without regard to case.
bool IdAt(const BinaryFile& file, int64_t offset, const char* id);

}  // namespace quorvane
