#include "devices/PlayTable.h"

namespace quorvane {

namespace {

// A packed name: [W, byte count, bytes four to an integer, least significant first].
bool UnpackName(const std::vector<int32_t>& table, size_t& at, std::string& name) {
  if (at + 1 >= table.size()) return false;
  const int32_t last = table[at];
  const int32_t length = table[at + 1];
  if (last < 1 || length < 0 || at + static_cast<size_t>(last) >= table.size() ||
      static_cast<size_t>(length) > 4 * static_cast<size_t>(last - 1)) {
    return false;
  }
  name.resize(static_cast<size_t>(length));
  for (size_t i = 0; i < name.size(); ++i) {
    const auto element = static_cast<uint32_t>(table[at + 2 + i / 4]);
    name[i] = static_cast<char>((element >> (8 * (i % 4))) & 0xFF);
  }
  at += static_cast<size_t>(last) + 1;
  return true;
}

}  // namespace

std::vector<PlaySegment> ReadPlayTable(const std::vector<int32_t>& table) {
  std::vector<PlaySegment> segments;
  if (table.size() < 2) return segments;
  size_t at = 2;
  for (int32_t n = 0; n < table[1]; ++n) {
    PlaySegment segment;
    if (!UnpackName(table, at, segment.FileName) || at + 6 > table.size()) break;
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
