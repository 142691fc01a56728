#include "editing/CarrierStreams.h"

#include <algorithm>

#include "core/ErrorReport.h"
#include "storage/BlockList.h"
#include "storage/BlockPeaks.h"

namespace quorvane {

namespace {

constexpr int32_t kReadRun = 65536;

}  // namespace

CarrierReader::CarrierReader(const BlockCarrBuffClass& carrier) {
  carrier.BuffBlocksGet(blocks_);
  buffer_.resize(kReadRun);
}

void CarrierReader::Refill() {
  while (slot_ < blocks_.size() && offset_ >= RecordOf(blocks_[slot_]).Length) {
    ++slot_;
    offset_ = 0;
  }
  if (slot_ >= blocks_.size()) ThrowError(9, "Subscript out of range");
  const int32_t block = blocks_[slot_];
  const int32_t last = std::min(RecordOf(block).Length - 1, offset_ + kReadRun - 1);
  ReadBlockRange(block, offset_, last, buffer_.data());
  at_ = buffer_.data();
  end_ = at_ + (last - offset_ + 1);
  offset_ = last + 1;
}

CarrierWriter::CarrierWriter(int32_t length, int32_t blockSize)
    : length_(length), blockSize_(blockSize) {}

CarrierWriter::~CarrierWriter() {
  for (const int32_t block : blocks_) FreeBlock(block);
}

void CarrierWriter::NextBlock() {
  if (!blocks_.empty()) {
    SummarizeBlock(blocks_.back());  // full now, its samples still at hand
    written_ += RecordOf(blocks_.back()).Length;
  }
  const int32_t size = std::min(blockSize_, length_ - written_);
  if (size < 1) ThrowError(9, "Subscript out of range");
  const int32_t block = NewBlock(size, BlockMemory);
  if (block == 0) ThrowError(kErrorOutOfMemory, "Out of memory");
  SetBlockStart(block, written_ + 1);
  blocks_.push_back(block);
  at_ = WritableSamples(block).data();
  end_ = at_ + size;
}

void CarrierWriter::HandTo(BlockCarrBuffClass& carrier) {
  const int32_t total = blocks_.empty() ? 0 : written_ + RecordOf(blocks_.back()).Length;
  if (at_ != end_ || total != length_) ThrowError(9, "Subscript out of range");
  if (!blocks_.empty()) SummarizeBlock(blocks_.back());
  carrier.BuffBlocksPutFresh(blocks_);
  blocks_.clear();
  at_ = end_ = nullptr;
}

}  // namespace quorvane
