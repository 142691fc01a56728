// The play table as the player receives it: for one channel, the segments to play in
// order, each a stretch of a temporary block file (kind 3), of a source WAV file (kind 4)
// or silence (kind 5).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quorvane {

struct PlaySegment {
  std::string FileName;      // empty for silence
  int32_t Length = 0;        // samples
  int32_t Kind = 5;          // 3 temporary file, 4 source file, 5 silence
  int32_t Start = 0;         // position of the first sample in the played stretch
  int32_t FilePosition = 0;  // 1-based byte position of the first sample in the file
  int32_t Channels = 0;      // kind 4: channels of the source file
  int32_t Bits = 0;          // kind 4: bits per sample of the source file
};

// Unpacks a table: [0] last used entry, [1] segment count, then per segment a packed
// name and six integers. What is damaged or cut short is left out.
std::vector<PlaySegment> ReadPlayTable(const std::vector<int32_t>& table);

}  // namespace quorvane
