// Reads one channel of a play table in order, straight from the files its segments name:
// the player's only way to the samples. It keeps each file open from its first use for
// as long as it lives, and holds no samples beyond the caller's buffer.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "devices/PlayTable.h"
#include "platform/FileHandle.h"

namespace quorvane {

class PlayChannelReader {
 public:
  PlayChannelReader() = default;
  explicit PlayChannelReader(std::vector<PlaySegment> segments);

  int64_t Length() const { return length_; }
  // Back to the first sample of the first segment.
  void Rewind();
  // The next `count` samples (document values: 8-bit ones lie in -128..127) into out[0],
  // out[stride], ...; past the end, zeros. False with the reason when a file could not be
  // read; its samples are then zeros.
  bool Read(int16_t* out, int32_t count, int32_t stride, std::string& failure);

 private:
  bool ReadSegment(const PlaySegment& segment, int32_t offset, int16_t* out, int32_t count,
                   int32_t stride, std::string& failure);
  int OpenFile(const std::string& name, std::string& failure);

  std::vector<PlaySegment> segments_;
  int64_t length_ = 0;
  size_t segment_ = 0;  // segment of the next sample
  int32_t offset_ = 0;  // its offset in that segment
  std::map<std::string, FileHandle> files_;
  std::vector<uint8_t> bytes_;
};

}  // namespace quorvane
