// The peaks of a block's samples, from its summary wherever the samples lie: a memory
// block's own (made from its samples when first asked for), the summary of the temporary
// or original file it reads from, or none needed for silence. Reading them loads nothing.
#pragma once

#include <cstdint>

#include "storage/PeakRuns.h"

namespace quorvane {

// The peaks of one block, prepared once for all the columns it spans.
class BlockPeakReader {
 public:
  // False when the summary of the file the block reads from is not made yet: it is then
  // asked for, `inView` first, and the reader covers nothing.
  bool Prepare(int32_t block, bool inView);
  // Widens `into` by the samples at offsets first..last (0-based, inclusive) of the block,
  // and by at most a run of the block's own samples either side.
  void Cover(int32_t first, int32_t last, PeakPair& into) const;

 private:
  // Reads from a file's summary whose stream index `base` is the block's first sample.
  void ReadFromFile(int32_t block, const PeakRuns& runs, int64_t base);

  const PeakRuns* runs_ = nullptr;  // nullptr: silence, or nothing to read
  bool silence_ = false;
  int64_t base_ = 0;  // stream index of the block's first sample in `runs_`
  int32_t length_ = 0;
  // Offsets below headLength_ and from tailFrom_ on share runs with samples outside the
  // block: their peaks come from the samples.
  int32_t headLength_ = 0;
  int32_t tailFrom_ = 0;
  PeakPair head_;
  PeakPair tail_;
};

// Asks for the summary of every original file in use that has none, after those asked
// for in view.
void RequestAllPeaks();

// Bytes of the summaries of blocks and files, each counted once: those held in memory, or
// those read from summary files.
int64_t PeakSummaryBytes(bool inFiles);

// The summary of a memory block's samples as they now are, made by whoever wrote them.
void GiveBlockPeaks(int32_t block, PeakRuns runs);

// A memory block's summary, made now when it has none: its samples are about to be
// written to a temporary file whose summary it becomes.
void SummarizeBlock(int32_t block);

}  // namespace quorvane
