// A 64-bit FNV-1a digest of a sequence of numbers: what tells, without keeping a copy,
// whether something is still as it was.
#pragma once

#include <cstdint>

namespace quorvane {

class Digest {
 public:
  void Mix(int64_t value) {
    for (int byte = 0; byte < 8; ++byte) {
      value_ = (value_ ^ ((static_cast<uint64_t>(value) >> (8 * byte)) & 0xFF)) * kPrime;
    }
  }
  uint64_t Value() const { return value_; }

 private:
  static constexpr uint64_t kPrime = 1099511628211ULL;
  uint64_t value_ = 14695981039346656037ULL;
};

}  // namespace quorvane
