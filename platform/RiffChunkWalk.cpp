#include "platform/RiffChunkWalk.h"

namespace quorvane {

void WalkRiffChunks(const RiffRead& read, int64_t offset, int64_t end, RiffChunkStep step,
                    const std::function<bool(const RiffChunkHeader&)>& visit, RiffByteOrder order) {
  while (offset + 8 < end) {
    unsigned char bytes[8] = {0, 0, 0, 0, 0, 0, 0, 0};
    if (read(offset, bytes, sizeof bytes) < 4) return;
    RiffChunkHeader chunk;
    for (size_t i = 0; i < 4; ++i) chunk.Id[i] = static_cast<char>(bytes[i]);
    chunk.Size =
        order == RiffByteOrder::Little
            ? static_cast<uint32_t>(bytes[4]) | (static_cast<uint32_t>(bytes[5]) << 8) |
                  (static_cast<uint32_t>(bytes[6]) << 16) | (static_cast<uint32_t>(bytes[7]) << 24)
            : static_cast<uint32_t>(bytes[7]) | (static_cast<uint32_t>(bytes[6]) << 8) |
                  (static_cast<uint32_t>(bytes[5]) << 16) | (static_cast<uint32_t>(bytes[4]) << 24);
    chunk.Offset = offset;
    if (!visit(chunk)) return;
    const int64_t next = step == RiffChunkStep::SignedNoPad
                             ? offset + 8 + static_cast<int32_t>(chunk.Size)
                             : offset + 8 + static_cast<int64_t>(chunk.Size) + (chunk.Size & 1U);
    if (next <= offset) return;
    offset = next;
  }
}

}  // namespace quorvane
