// The peaks of a block's samples, from its summary wherever the samples lie: a memory
// block's own (made from its samples when first asked for), the summary of the temporary
// or original file it reads from, or none needed for silence. Reading them loads nothing.
#pragma once

#include <cstdint>

#include "storage/PeakRuns.h"

namespace quorvane {

// Widens `into` by the samples at offsets first..last (0-based, inclusive) of the block,
// and by at most a run's worth either side. False when the summary of the file the block
// reads from is not made yet: it is then asked for, `inView` first.
bool CoverBlock(int32_t block, int32_t first, int32_t last, PeakPair& into, bool inView);

// Asks for the summary of every original file in use that has none, after those asked
// for in view.
void RequestAllPeaks();

// Bytes held by the summaries of blocks and files, each counted once.
int64_t PeakSummaryBytes();

// A memory block's summary, made now when it has none: its samples are about to be
// written to a temporary file whose summary it becomes.
void SummarizeBlock(int32_t block);

}  // namespace quorvane
