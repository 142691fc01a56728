// The one walk over the chunks of a RIFF file, for the WAV reader and for the decoder.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace quorvane {

// A chunk met on the walk: its id as written, its 32-bit size field, and the offset of its
// 8-byte header.
struct RiffChunkHeader {
  std::array<char, 4> Id{};
  uint32_t Size = 0;
  int64_t Offset = 0;
  int64_t DataOffset() const { return Offset + 8; }
};

// How the walk gets from one chunk to the next. The WAV reader takes the size as signed
// and skips no pad byte, as the files of the program's history were read; the decoder
// follows the RIFF rule of a pad byte after a chunk of odd size.
enum class RiffChunkStep { SignedNoPad, UnsignedPadded };

// The order of the bytes of the size fields: little-endian in "RIFF" and "RF64" files,
// big-endian in "RIFX" files.
enum class RiffByteOrder { Little, Big };

// Reads at most `count` bytes at `offset`; the number read.
using RiffRead = std::function<size_t(int64_t offset, void* buffer, size_t count)>;

// Walks from `offset` while a header there ends before `end` (offset + 8 < end) and its id
// can be read; a size cut short by the end of the file reads as if the missing bytes were
// zeros. Each chunk goes to `visit`, which returns false to end the walk. A step that
// would not move forward ends it too.
void WalkRiffChunks(const RiffRead& read, int64_t offset, int64_t end, RiffChunkStep step,
                    const std::function<bool(const RiffChunkHeader&)>& visit,
                    RiffByteOrder order = RiffByteOrder::Little);

}  // namespace quorvane
