// The block table: one process-wide table of blocks, each a run of one channel's 16-bit
// samples wherever they currently live (memory, a temporary file, both, an original WAV
// file, or nowhere for silence), and the lifecycle of its blocks. Carriers, documents and
// undo items are lists of indexes into this table. Whenever the memory held by blocks
// exceeds the memory budget, the least recently used memory blocks are written out to
// temporary files. All kind changes go through these routines, which also keep the count
// of memory held by blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace quorvane {

class PeakRuns;

// Block kinds.
inline constexpr int32_t BlockFree = 0;     // unused record, reusable
inline constexpr int32_t BlockMemFile = 1;  // in memory and, identical, in a temporary file
inline constexpr int32_t BlockMemory = 2;   // in memory only; the only kind written in place
inline constexpr int32_t BlockFile = 3;     // in a temporary file only
inline constexpr int32_t BlockOrgFile = 4;  // in an original (source) WAV file
inline constexpr int32_t BlockSilence = 5;  // nowhere; every sample reads 0

struct BlockRecord {
  int32_t FileRef = 0;       // kinds 1 and 3: TempFileTable slot; kind 4: OrgFileTable entry
  int32_t FilePosition = 0;  // 1-based byte position of the block's first sample in that file
  int32_t Start = 0;         // position of the first sample in the owning sequence
  int32_t Kind = BlockFree;
  std::vector<int16_t> Data;  // the samples while resident (kinds 1 and 2), else empty
  int32_t Length = 0;         // number of samples
  uint32_t UseStamp = 0;      // use clock at the last access
  // The summary of exactly these samples, from offset 0; empty until made, and emptied by
  // every write to the samples.
  std::shared_ptr<const PeakRuns> Peaks;
  // Where a file's summary serves the block: the peaks of the block's samples in the runs
  // it shares with samples outside it, at its head and its tail (read once).
  bool EdgePeaksRead = false;
  int16_t EdgePeaks[4] = {};  // head min, head max, tail min, tail max
};

namespace detail {
// The records, 1-based (element 0 is a placeholder that is never used). Only the block
// list's own files change them; everyone else reads through RecordOf.
extern std::vector<BlockRecord> blockRecords;
}  // namespace detail

// One record, read-only. Inline: per-sample access goes through here.
inline const BlockRecord& RecordOf(int32_t block) {
  return detail::blockRecords[static_cast<size_t>(block)];
}
// Number of records, the placeholder included: valid indexes are 1 .. BlockRecordCount() - 1.
int32_t BlockRecordCount();
// The samples of a BlockMemory block, for a writer that fills a block it has just made;
// empty for any other kind.
std::span<int16_t> WritableSamples(int32_t block);
// Places the block at `start` in the sequence that owns it.
void SetBlockStart(int32_t block, int32_t start);

// Bytes of sample data held by blocks of kinds 1 and 2.
int64_t MemoryInUse();

// True for the kinds whose samples are in memory (BlockMemFile, BlockMemory).
inline bool IsResidentKind(int32_t kind) { return kind == BlockMemFile || kind == BlockMemory; }

// Creates a block of kind BlockMemory (zeros) or BlockSilence; returns its index (0 when
// the kind cannot be created).
int32_t NewBlock(int32_t length, int32_t kind);
void FreeBlock(int32_t block);
// An independent copy of the same samples (0 for a free block).
int32_t CopyBlock(int32_t block);
// A copy of the part of `block` inside [first, last] (positions in the block's owner),
// its start counted from 1 at `first`.
int32_t CopyBlockRange(int32_t block, int32_t first, int32_t last);
// Two new blocks, split at position `p`; the block itself is left for the caller to free.
// Both are 0 when the split point does not lie strictly inside the block.
void SplitBlock(int32_t block, int32_t p, int32_t& head, int32_t& tail);
void LoadBlock(int32_t block);
void MakeBlockWritable(int32_t block);
// Writes a memory block to a temporary file and drops its memory. False when nothing was
// written out (wrong kind, or the write failed and the block stays in memory).
bool SwapOutBlock(int32_t block);
// Gives a memory or silence block a copy in a temporary file and keeps it in memory.
void SaveBlockCopy(int32_t block);
void EnforceMemoryBudget();
uint32_t NextUseStamp();

// Number of records that are not free (for leak checks).
int32_t BlocksInUse();

// Empty tables, closed files and a fresh use clock, as at process start (tests start each
// case from here). Files are not deleted.
void ResetBlockList();

}  // namespace quorvane
