// Sequential reading and writing of a carrier's samples for the effects: the reader reads
// the blocks where they lie (a source in a file stays there and costs no memory), the
// writer fills fresh memory blocks that the block list swaps out under its budget as the
// pass goes on. Both are inline in the sample loops: one pointer comparison per sample.
#pragma once

#include <cstdint>
#include <vector>

#include "storage/BlockCarrBuffClass.h"

namespace quorvane {

class CarrierReader {
 public:
  explicit CarrierReader(const BlockCarrBuffClass& carrier);

  // The next sample; reading past the carrier's end is a run-time error.
  int16_t Next() {
    if (at_ == end_) Refill();
    return *at_++;
  }

 private:
  void Refill();

  std::vector<int32_t> blocks_;
  size_t slot_ = 0;     // the block read next
  int32_t offset_ = 0;  // 0-based offset in it
  std::vector<int16_t> buffer_;
  const int16_t* at_ = nullptr;
  const int16_t* end_ = nullptr;
};

class CarrierWriter {
 public:
  // Room for `length` samples in blocks of at most `blockSize`.
  CarrierWriter(int32_t length, int32_t blockSize);
  ~CarrierWriter();
  CarrierWriter(const CarrierWriter&) = delete;
  CarrierWriter& operator=(const CarrierWriter&) = delete;

  void Put(int16_t value) {
    if (at_ == end_) NextBlock();
    *at_++ = value;
  }

  // The carrier adopts the samples, once all `length` of them are written.
  void HandTo(BlockCarrBuffClass& carrier);

 private:
  void NextBlock();

  int32_t length_;
  int32_t blockSize_;
  int32_t written_ = 0;  // samples in the blocks before the current one
  std::vector<int32_t> blocks_;
  int16_t* at_ = nullptr;
  int16_t* end_ = nullptr;
};

}  // namespace quorvane
