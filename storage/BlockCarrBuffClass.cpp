#include "storage/BlockCarrBuffClass.h"

#include <algorithm>
#include <string>
#include <utility>

#include "core/Environment.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "storage/BlockListParts.h"
#include "storage/StorageChecks.h"

namespace quorvane {

int32_t BlockCarrBuffClass::BlockSizeForBudget(int32_t budget) {
  int32_t size = RoundHalfEven(static_cast<double>(budget) / 20.0);
  size -= size % 4;
  return std::max(size, int32_t{0x80000});
}

BlockCarrBuffClass::BlockCarrBuffClass() : blockSize_(BlockSizeForBudget(Env().MemoryBudget)) {}

BlockCarrBuffClass::~BlockCarrBuffClass() {
  // A carrier whose blocks were moved to another one has nothing left to release.
  const bool heldBlocks = !blocks_.empty();
  FreeBlocks();
  if (heldBlocks || !movedFrom_) ReleaseUnusedFiles();
}

BlockCarrBuffClass::BlockCarrBuffClass(BlockCarrBuffClass&& other) noexcept
    : WaveINos(std::exchange(other.WaveINos, 0)),
      QuickBufferLength(other.QuickBufferLength),
      blocks_(std::move(other.blocks_)),
      currentBlock_(std::exchange(other.currentBlock_, -1)),
      blockSize_(other.blockSize_) {
  other.blocks_.clear();
  other.movedFrom_ = true;
}

BlockCarrBuffClass& BlockCarrBuffClass::operator=(BlockCarrBuffClass&& other) noexcept {
  if (this == &other) return *this;
  FreeBlocks();
  WaveINos = std::exchange(other.WaveINos, 0);
  QuickBufferLength = other.QuickBufferLength;
  blocks_ = std::move(other.blocks_);
  other.blocks_.clear();
  currentBlock_ = std::exchange(other.currentBlock_, -1);
  blockSize_ = other.blockSize_;
  other.movedFrom_ = true;
  return *this;
}

void BlockCarrBuffClass::FreeBlocks() {
  for (const int32_t block : blocks_) FreeBlock(block);
  blocks_.clear();
  currentBlock_ = -1;
  WaveINos = 0;
}

void BlockCarrBuffClass::BuffBlocksGet(std::vector<int32_t>& BlkSet) const { BlkSet = blocks_; }

void BlockCarrBuffClass::BuffBlocksGetCopy(std::vector<int32_t>& BlkSet) const {
  BlkSet.clear();
  BlkSet.reserve(blocks_.size());
  for (const int32_t block : blocks_) {
    const int32_t copy = CopyBlock(block);
    if (copy != 0) BlkSet.push_back(copy);  // a free block was reported and has no copy
  }
}

void BlockCarrBuffClass::QuickBuffGet(int32_t FromPos, std::vector<int16_t>& QBuff) const {
  if (QBuff.size() < 2 || blocks_.empty()) return;
  const int32_t count = static_cast<int32_t>(QBuff.size()) - 1;
  const int32_t last = FromPos + count - 1;
  // The first block that ends at or after FromPos: starts grow along the list.
  auto slot = std::upper_bound(
      blocks_.begin(), blocks_.end(), FromPos,
      [](int32_t position, int32_t block) { return position < BlockTable[block].Start; });
  if (slot != blocks_.begin()) --slot;
  for (; slot != blocks_.end(); ++slot) {
    const BlockRecord& record = BlockTable[*slot];
    if (record.Start > last) break;
    const int32_t from = std::max(FromPos, record.Start);
    const int32_t to = std::min(last, record.Start + record.Length - 1);
    if (from > to) continue;
    ReadBlockRange(*slot, from - record.Start, to - record.Start,
                   QBuff.data() + (from - FromPos + 1));
  }
}

void BlockCarrBuffClass::ReDimSize(int32_t NewSz) {
  QUORVANE_CHECK(NewSz >= 0, "a carrier length is never negative");
  if (NewSz == 0) {
    UserInterface().MsgBox(
        MessageRequest{std::string("Error:") + kCrLf + "Can not create buffer with zero size",
                       kAppTitle, MessageIcon::None, MessageButtons::OkOnly, 1});
    return;
  }
  if (NewSz < 0) return;
  if (NewSz > WaveINos) {
    while (WaveINos < NewSz) {
      const int32_t block = NewBlock(std::min(blockSize_, NewSz - WaveINos), BlockSilence);
      BlockTable[block].Start = WaveINos + 1;
      WaveINos += BlockTable[block].Length;
      blocks_.push_back(block);
    }
    currentBlock_ = 0;
    return;
  }
  if (NewSz == WaveINos) return;
  std::vector<int32_t> kept;
  for (const int32_t block : blocks_) {
    const int32_t start = BlockTable[block].Start;
    const int32_t end = start + BlockTable[block].Length;
    if (start > NewSz) {
      FreeBlock(block);
    } else if (NewSz + 1 < end) {
      int32_t head = 0;
      int32_t tail = 0;
      SplitBlock(block, NewSz + 1, head, tail);
      FreeBlock(tail);
      FreeBlock(block);
      kept.push_back(head);
    } else {
      kept.push_back(block);
    }
  }
  blocks_ = std::move(kept);
  WaveINos = NewSz;
  currentBlock_ = blocks_.empty() ? -1 : 0;
}

int32_t BlockCarrBuffClass::Lookup(int32_t WavPos) {
  if (currentBlock_ >= 0) {
    const BlockRecord& record = BlockTable[blocks_[currentBlock_]];
    if (WavPos >= record.Start && WavPos < record.Start + record.Length) return currentBlock_;
  }
  auto slot = std::upper_bound(
      blocks_.begin(), blocks_.end(), WavPos,
      [](int32_t position, int32_t block) { return position < BlockTable[block].Start; });
  if (slot == blocks_.begin()) return -1;
  --slot;
  const BlockRecord& record = BlockTable[*slot];
  if (WavPos >= record.Start + record.Length) return -1;
  currentBlock_ = static_cast<int32_t>(slot - blocks_.begin());
  BlockTable[*slot].UseStamp = NextUseStamp();
  return currentBlock_;
}

int16_t BlockCarrBuffClass::ReadSlow(int32_t WavPos) {
  QUORVANE_CHECK(WavPos >= 1 && WavPos <= WaveINos, "reading outside a carrier");
  const int32_t slot = Lookup(WavPos);
  if (slot < 0) return 0;
  const int32_t block = blocks_[slot];
  switch (BlockTable[block].Kind) {
    case BlockFile:
    case BlockOrgFile:
      LoadBlock(block);
      break;
    case BlockSilence:
      return 0;
    default:
      break;
  }
  const BlockRecord& record = BlockTable[block];
  if (!IsResidentKind(record.Kind)) return 0;
  return record.Data[static_cast<size_t>(WavPos - record.Start)];
}

void BlockCarrBuffClass::WriteSlow(int32_t WavPos, int16_t NewVal) {
  QUORVANE_CHECK(WavPos >= 1 && WavPos <= WaveINos, "writing outside a carrier");
  const int32_t slot = Lookup(WavPos);
  if (slot < 0) return;
  const int32_t block = blocks_[slot];
  if (BlockTable[block].Kind != BlockMemory) MakeBlockWritable(block);
  BlockRecord& record = BlockTable[block];
  if (record.Kind != BlockMemory) return;
  record.Data[static_cast<size_t>(WavPos - record.Start)] = NewVal;
  record.Peaks.reset();
}

void BlockCarrBuffClass::BuffBlocksPutFresh(const std::vector<int32_t>& NewBlkSet) {
  FreeBlocks();
  blocks_ = NewBlkSet;
  int32_t expectedStart = 1;
  for (const int32_t block : blocks_) {
    QUORVANE_CHECK(BlockTable[block].Start == expectedStart,
                   "adopted blocks carry consecutive starts from 1");
    expectedStart += BlockTable[block].Length;
  }
  WaveINos = expectedStart - 1;
  currentBlock_ = blocks_.empty() ? -1 : 0;
}

}  // namespace quorvane
