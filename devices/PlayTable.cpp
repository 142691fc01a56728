#include "devices/PlayTable.h"

#include "core/PackedText.h"

namespace quorvane {

std::vector<PlaySegment> ReadPlayTable(const std::vector<int32_t>& table) {
  std::vector<PlaySegment> segments;
  if (table.size() < 2) return segments;
  size_t at = 2;
  for (int32_t n = 0; n < table[1]; ++n) {
    PlaySegment segment;
    if (!UnpackText(table, at, segment.FileName) || at + 6 > table.size()) break;
    segment.Length = table[at];
    segment.Kind = table[at + 1];
    segment.Start = table[at + 2];
    segment.FilePosition = table[at + 3];
    segment.Channels = table[at + 4];
    segment.Bits = table[at + 5];
    at += 6;
    if (segment.Length < 1) break;
    if (segment.Kind == 5) segment.FileName.clear();
    segments.push_back(std::move(segment));
  }
  return segments;
}

}  // namespace quorvane
