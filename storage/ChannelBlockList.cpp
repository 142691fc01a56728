#include "storage/ChannelBlockList.h"

#include <algorithm>

#include "storage/BlockList.h"
#include "storage/BlockListParts.h"
#include "storage/StorageChecks.h"

namespace quorvane {

namespace {

bool StartsAfter(int32_t position, int32_t block) { return position < BlockTable[block].Start; }

}  // namespace

int32_t ChannelBlockList::BlockAt(int32_t position) const {
  if (position < 1 || position > length_) return 0;
  auto slot = std::upper_bound(blocks_.begin(), blocks_.end(), position, StartsAfter);
  if (slot == blocks_.begin()) return 0;
  return *(slot - 1);
}

size_t ChannelBlockList::SlotFrom(int32_t position) const {
  return static_cast<size_t>(std::lower_bound(blocks_.begin(), blocks_.end(), position,
                                              [](int32_t block, int32_t value) {
                                                return BlockTable[block].Start < value;
                                              }) -
                             blocks_.begin());
}

void ChannelBlockList::SplitAt(int32_t position) {
  const int32_t block = BlockAt(position);
  if (block == 0 || BlockTable[block].Start == position) return;
  int32_t head = 0;
  int32_t tail = 0;
  SplitBlock(block, position, head, tail);
  if (head == 0 || tail == 0) return;
  const size_t slot = SlotFrom(BlockTable[block].Start);
  blocks_[slot] = head;
  blocks_.insert(blocks_.begin() + static_cast<std::ptrdiff_t>(slot) + 1, tail);
  FreeBlock(block);
}

void ChannelBlockList::InsertBlocks(int32_t position, const std::vector<int32_t>& blocks) {
  QUORVANE_CHECK(position >= 1 && position <= length_ + 1, "inserting outside a channel");
  position = std::clamp(position, 1, length_ + 1);
  SplitAt(position);
  const size_t slot = SlotFrom(position);
  blocks_.insert(blocks_.begin() + static_cast<std::ptrdiff_t>(slot), blocks.begin(), blocks.end());
  for (const int32_t block : blocks) length_ += BlockTable[block].Length;
  Renumber(slot);
}

std::vector<int32_t> ChannelBlockList::TakeOut(int32_t position, int32_t count) {
  QUORVANE_CHECK(position >= 1 && count >= 0 && position + count - 1 <= length_,
                 "deleting outside a channel");
  position = std::clamp(position, 1, length_ + 1);
  count = std::clamp(count, 0, length_ - position + 1);
  std::vector<int32_t> removed;
  if (count == 0) return removed;
  SplitAt(position);
  SplitAt(position + count);
  const size_t first = SlotFrom(position);
  const size_t last = SlotFrom(position + count);
  removed.assign(blocks_.begin() + static_cast<std::ptrdiff_t>(first),
                 blocks_.begin() + static_cast<std::ptrdiff_t>(last));
  blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(first),
                blocks_.begin() + static_cast<std::ptrdiff_t>(last));
  length_ -= count;
  Renumber(first);
  int32_t start = 1;
  for (const int32_t block : removed) {
    BlockTable[block].Start = start;
    start += BlockTable[block].Length;
  }
  return removed;
}

void ChannelBlockList::AppendSilence(int32_t count, int32_t blockSize) {
  while (count > 0) {
    const int32_t block = NewBlock(std::min(count, blockSize), BlockSilence);
    BlockTable[block].Start = length_ + 1;
    length_ += BlockTable[block].Length;
    count -= BlockTable[block].Length;
    blocks_.push_back(block);
  }
}

void ChannelBlockList::FreeAll() {
  for (const int32_t block : blocks_) FreeBlock(block);
  blocks_.clear();
  length_ = 0;
}

void ChannelBlockList::Overlapping(int32_t first, int32_t last, size_t& from, size_t& to) const {
  auto begin = std::upper_bound(blocks_.begin(), blocks_.end(), first, StartsAfter);
  if (begin != blocks_.begin()) --begin;
  auto end = std::upper_bound(blocks_.begin(), blocks_.end(), last, StartsAfter);
  from = static_cast<size_t>(begin - blocks_.begin());
  to = static_cast<size_t>(end - blocks_.begin());
  // The block found before `first` may end before it.
  if (from < to) {
    const int32_t block = blocks_[from];
    if (BlockTable[block].Start + BlockTable[block].Length <= first) ++from;
  }
}

void ChannelBlockList::Renumber(size_t fromSlot) {
  int32_t start = 1;
  if (fromSlot > 0) {
    const int32_t previous = blocks_[fromSlot - 1];
    start = BlockTable[previous].Start + BlockTable[previous].Length;
  }
  for (size_t slot = fromSlot; slot < blocks_.size(); ++slot) {
    BlockTable[blocks_[slot]].Start = start;
    start += BlockTable[blocks_[slot]].Length;
  }
}

}  // namespace quorvane
