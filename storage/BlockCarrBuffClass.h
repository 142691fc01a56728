// The block carrier: one channel of samples handed between the parts of the program (the
// WAV reader, the wave document, the clipboard, undo and the effects). Its samples live in
// blocks of the block list, so a carrier of any length costs only what the block list
// keeps resident. Positions are 1-based sample indexes, 1 to WaveINos.
#pragma once

#include <cstdint>
#include <vector>

#include "storage/BlockList.h"

namespace quorvane {

class BlockCarrBuffClass {
 public:
  BlockCarrBuffClass();
  ~BlockCarrBuffClass();
  BlockCarrBuffClass(BlockCarrBuffClass&& other) noexcept;
  BlockCarrBuffClass& operator=(BlockCarrBuffClass&& other) noexcept;
  BlockCarrBuffClass(const BlockCarrBuffClass&) = delete;
  BlockCarrBuffClass& operator=(const BlockCarrBuffClass&) = delete;

  int32_t WaveINos = 0;           // length in samples
  int32_t QuickBufferLength = 0;  // kept for quick-buffer users; not used here

  // A copy of the block index list; the blocks stay owned by the carrier.
  void BuffBlocksGet(std::vector<int32_t>& BlkSet) const;
  // Independent copies of the carrier's blocks, in order; the caller owns them.
  void BuffBlocksGetCopy(std::vector<int32_t>& BlkSet) const;
  // QBuff[i] = sample at FromPos + i - 1 for i = 1..QBuff.size() - 1 (element 0 unused),
  // read where the samples lie: no block is loaded or changes state. Elements that no
  // block covers keep their contents.
  void QuickBuffGet(int32_t FromPos, std::vector<int16_t>& QBuff) const;
  void ReDimSize(int32_t NewSz);
  int16_t WaveLR(int32_t WavPos);
  void WaveLR(int32_t WavPos, int16_t NewVal);
  // Frees the carrier's blocks and adopts the given ones, which must carry consecutive
  // starts beginning at 1.
  void BuffBlocksPutFresh(const std::vector<int32_t>& NewBlkSet);

  int32_t BlockCount() const { return static_cast<int32_t>(blocks_.size()); }
  int32_t BlockSize() const { return blockSize_; }

  // Samples per silence block for a memory budget in bytes: budget / 20, rounded half to
  // even, rounded down to a multiple of 4, at least 524,288.
  static int32_t BlockSizeForBudget(int32_t budget);

 private:
  // Slot in the list of the block covering WavPos (-1 when none); it becomes the current
  // block and gets a fresh use stamp.
  int32_t Lookup(int32_t WavPos);
  int16_t ReadSlow(int32_t WavPos);
  void WriteSlow(int32_t WavPos, int16_t NewVal);
  void FreeBlocks();

  std::vector<int32_t> blocks_;
  int32_t currentBlock_ = -1;  // slot in blocks_ of the block found last, -1 for none
  int32_t blockSize_ = 0;
  bool movedFrom_ = false;
};

// Per-sample access stays inline: a read or write inside the current resident block is
// one range check and one array access.
inline int16_t BlockCarrBuffClass::WaveLR(int32_t WavPos) {
  if (currentBlock_ >= 0) {
    const BlockRecord& record = RecordOf(blocks_[currentBlock_]);
    const uint32_t offset = static_cast<uint32_t>(WavPos - record.Start);
    if (offset < static_cast<uint32_t>(record.Length) && IsResidentKind(record.Kind)) {
      return record.Data[offset];
    }
  }
  return ReadSlow(WavPos);
}

inline void BlockCarrBuffClass::WaveLR(int32_t WavPos, int16_t NewVal) {
  if (currentBlock_ >= 0) {
    BlockRecord& record = detail::blockRecords[static_cast<size_t>(blocks_[currentBlock_])];
    const uint32_t offset = static_cast<uint32_t>(WavPos - record.Start);
    if (offset < static_cast<uint32_t>(record.Length) && record.Kind == BlockMemory) {
      record.Data[offset] = NewVal;
      if (record.Peaks) record.Peaks.reset();
      return;
    }
  }
  WriteSlow(WavPos, NewVal);
}

}  // namespace quorvane
