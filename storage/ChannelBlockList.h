// One channel of the wave document: its blocks in position order, contiguous from
// position 1, and its length. Edits split at most the two blocks at the ends of a stretch
// and otherwise only move block indexes, so their cost does not depend on the audio's
// length.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quorvane {

class ChannelBlockList {
 public:
  int32_t Length() const { return length_; }
  const std::vector<int32_t>& Blocks() const { return blocks_; }

  // The block covering `position` (0 when none).
  int32_t BlockAt(int32_t position) const;

  // Makes a block start at `position` by splitting the block it falls inside.
  void SplitAt(int32_t position);

  // Puts the blocks (owned from now on) in front of `position` (1..Length() + 1).
  void InsertBlocks(int32_t position, const std::vector<int32_t>& blocks);

  // Takes the blocks of positions position..position + count - 1 out of the list; they
  // come back with starts counted from 1, ready for a carrier.
  std::vector<int32_t> TakeOut(int32_t position, int32_t count);

  // Appends silence blocks of at most `blockSize` samples each.
  void AppendSilence(int32_t count, int32_t blockSize);

  // Frees every block and empties the list.
  void FreeAll();

  // The blocks overlapping [first, last], in order, as slots into Blocks().
  void Overlapping(int32_t first, int32_t last, size_t& from, size_t& to) const;

 private:
  // Slot of the first block whose start is `position` or later (Blocks().size() if none).
  size_t SlotFrom(int32_t position) const;
  void Renumber(size_t fromSlot);

  std::vector<int32_t> blocks_;
  int32_t length_ = 0;
};

}  // namespace quorvane
