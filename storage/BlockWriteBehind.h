// Writing blocks out behind a long pass. While a BlockWriteBehind lives (an effect over
// hours of audio), a memory block pushed out under the budget becomes a file block at once
// and its samples go to its temporary file on a thread of their own, so that the pass goes
// on reading and computing while the disk takes the blocks it has finished. At most two
// writes are under way at a time; until a write has ended, reads of its file are served
// from the samples being written. A write that fails brings its blocks back into memory,
// as a failed write does at once outside such a pass. When the object goes, every write
// has ended and been settled.
#pragma once

namespace quorvane {

class BlockWriteBehind {
 public:
  BlockWriteBehind();
  ~BlockWriteBehind();
  BlockWriteBehind(const BlockWriteBehind&) = delete;
  BlockWriteBehind& operator=(const BlockWriteBehind&) = delete;
};

}  // namespace quorvane
