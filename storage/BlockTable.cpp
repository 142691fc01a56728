#include "storage/BlockTable.h"

#include <algorithm>
#include <set>
#include <utility>

#include "core/Environment.h"
#include "core/Interaction.h"
#include "storage/BlockFileTables.h"
#include "storage/BlockListParts.h"
#include "storage/BlockPeaks.h"
#include "storage/OriginalFileBlocks.h"
#include "storage/PeakBuilder.h"
#include "storage/StorageChecks.h"

namespace quorvane {

namespace detail {
std::vector<BlockRecord> blockRecords(1);
}  // namespace detail

int64_t ResidentBytes = 0;

namespace block_list {

namespace {

std::set<int32_t> g_freeRecords;     // records of kind BlockFree, ready for reuse
std::set<int32_t> g_residentBlocks;  // records of kinds 1 and 2, in table order
uint32_t g_useClock = 0;
int32_t g_budgetChecks = 0;

}  // namespace

void ShowBlockError(const std::string& text) {
  UserInterface().MsgBox(
      MessageRequest{text, kAppTitle, MessageIcon::None, MessageButtons::OkOnly, 1});
}

bool ValidBlock(int32_t block) {
  return block >= 1 && block < static_cast<int32_t>(BlockTable.size());
}

void SetKind(int32_t block, int32_t kind) {
  BlockRecord& record = BlockTable[block];
  const int64_t bytes = 2 * static_cast<int64_t>(record.Length);
  if (record.Kind == BlockFree) g_freeRecords.erase(block);
  if (IsResidentKind(record.Kind)) {
    g_residentBlocks.erase(block);
    ResidentBytes -= bytes;
  }
  record.Kind = kind;
  record.EdgePeaksRead = false;
  if (kind == BlockFree) {
    g_freeRecords.insert(block);
    record.Peaks.reset();
  }
  if (IsResidentKind(kind)) {
    g_residentBlocks.insert(block);
    ResidentBytes += bytes;
  }
}

// A cleared record taken out of the free set (the first free one, or the last one), or a
// new one at the end of the table. Its kind stays BlockFree until the caller sets it.
int32_t TakeRecord(bool firstFree) {
  int32_t block = 0;
  if (g_freeRecords.empty()) {
    BlockTable.emplace_back();
    block = static_cast<int32_t>(BlockTable.size()) - 1;
  } else {
    block = firstFree ? *g_freeRecords.begin() : *g_freeRecords.rbegin();
    g_freeRecords.erase(block);
    BlockTable[block] = BlockRecord{};
  }
  return block;
}

}  // namespace block_list

using namespace block_list;

namespace {

void DropData(BlockRecord& record) { std::vector<int16_t>().swap(record.Data); }

// A resident memory block of `length` samples holding a copy of `source`; the budget is
// enforced by the caller once all its new blocks exist.
int32_t NewMemoryCopy(const int16_t* source, int32_t length) {
  const int32_t block = TakeRecord(true);
  BlockRecord& record = BlockTable[block];
  record.Length = length;
  record.Data.assign(source, source + length);
  record.UseStamp = NextUseStamp();
  SetKind(block, BlockMemory);
  return block;
}

}  // namespace

uint32_t NextUseStamp() { return ++g_useClock; }

int32_t NewBlock(int32_t length, int32_t kind) {
  QUORVANE_CHECK(length >= 0, "a block length is never negative");
  length = std::max(length, 0);
  if (kind == BlockFree) {
    ShowBlockError("Error - can not make free block");
    return 0;
  }
  if (kind != BlockMemory && kind != BlockSilence) {
    ShowBlockError("Error - Can not create buffer block in both (memory and file) or in Orgfile");
    return 0;
  }
  const int32_t block = TakeRecord(true);
  BlockRecord& record = BlockTable[block];
  record.Length = length;
  record.Start = 0;
  record.FileRef = 0;
  record.FilePosition = 0;
  if (kind == BlockMemory) {
    record.UseStamp = NextUseStamp();
    record.Data.assign(static_cast<size_t>(length), 0);
    SetKind(block, BlockMemory);
    EnforceMemoryBudget();
  } else {
    record.UseStamp = 0;
    SetKind(block, BlockSilence);
  }
  return block;
}

void FreeBlock(int32_t block) {
  QUORVANE_CHECK(ValidBlock(block), "freeing a block that does not exist");
  if (!ValidBlock(block)) return;
  BlockRecord& record = BlockTable[block];
  int32_t releasedOriginal = 0;
  switch (record.Kind) {
    case BlockMemFile:
    case BlockFile:
      DropTempUse(record.FileRef);
      break;
    case BlockOrgFile:
      DropOriginalUse(record.FileRef);
      RemovePairsOf(block);
      if (ValidOriginal(record.FileRef) && OrgFileTable[record.FileRef].UseCount == 0) {
        releasedOriginal = record.FileRef;
      }
      break;
    default:
      break;
  }
  SetKind(block, BlockFree);
  DropData(record);
  record.FileRef = 0;
  record.Length = 0;
  record.FilePosition = 0;
  record.UseStamp = 0;
  // Only once the record is free: releasing the file loads every block still on it.
  if (releasedOriginal != 0) ReleaseOriginalFile(releasedOriginal);
}

int32_t CopyBlock(int32_t block) {
  QUORVANE_CHECK(ValidBlock(block), "copying a block that does not exist");
  if (!ValidBlock(block) || BlockTable[block].Kind == BlockFree) {
    ShowBlockError("Error - free block can not be copied");
    return 0;
  }
  const int32_t copy = TakeRecord(false);
  const int32_t kind = BlockTable[block].Kind;
  BlockTable[copy] = BlockTable[block];
  BlockRecord& record = BlockTable[copy];
  record.Kind = BlockFree;  // set through SetKind below
  if (kind == BlockMemFile || kind == BlockFile) AddTempUse(record.FileRef, 1);
  if (kind == BlockOrgFile) AddOriginalUse(record.FileRef, 1);
  if (kind != BlockSilence) record.UseStamp = NextUseStamp();
  SetKind(copy, kind);
  if (IsResidentKind(kind)) EnforceMemoryBudget();
  return copy;
}

int32_t CopyBlockRange(int32_t block, int32_t first, int32_t last) {
  QUORVANE_CHECK(ValidBlock(block), "copying a block that does not exist");
  if (!ValidBlock(block) || BlockTable[block].Kind == BlockFree) {
    ShowBlockError("Error - free block can not be copied");
    return 0;
  }
  const BlockRecord source = [&] {
    // Everything but the samples; those are copied straight from the table below.
    const BlockRecord& record = BlockTable[block];
    BlockRecord fields;
    fields.FileRef = record.FileRef;
    fields.FilePosition = record.FilePosition;
    fields.Start = record.Start;
    fields.Kind = record.Kind;
    fields.Length = record.Length;
    return fields;
  }();
  const int32_t from = std::max(first, source.Start);
  const int32_t to = std::min(last, source.Start + source.Length - 1);
  QUORVANE_CHECK(from <= to, "a range copy must overlap the block");
  if (from > to) return 0;
  const int32_t offset = from - source.Start;
  const int32_t length = to - from + 1;
  int32_t copy = 0;
  switch (source.Kind) {
    case BlockMemFile:
    case BlockMemory: {
      copy = NewMemoryCopy(BlockTable[block].Data.data() + offset, length);
      if (source.Kind == BlockMemFile) {
        BlockRecord& record = BlockTable[copy];
        record.FileRef = source.FileRef;
        record.FilePosition = source.FilePosition + 2 * offset;
        AddTempUse(source.FileRef, 1);
        SetKind(copy, BlockMemFile);
      }
      break;
    }
    case BlockFile:
    case BlockOrgFile: {
      copy = TakeRecord(true);
      BlockRecord& record = BlockTable[copy];
      record.Length = length;
      record.FileRef = source.FileRef;
      if (source.Kind == BlockFile) {
        record.FilePosition = source.FilePosition + 2 * offset;
        AddTempUse(source.FileRef, 1);
      } else {
        record.FilePosition = source.FilePosition + offset * OriginalFrameBytes(source.FileRef);
        AddOriginalUse(source.FileRef, 1);
        record.UseStamp = NextUseStamp();
      }
      SetKind(copy, source.Kind);
      break;
    }
    default:
      copy = TakeRecord(true);
      BlockTable[copy].Length = length;
      SetKind(copy, BlockSilence);
      break;
  }
  BlockTable[copy].Start = from - first + 1;
  EnforceMemoryBudget();
  return copy;
}

void SplitBlock(int32_t block, int32_t p, int32_t& head, int32_t& tail) {
  head = 0;
  tail = 0;
  QUORVANE_CHECK(ValidBlock(block), "splitting a block that does not exist");
  if (!ValidBlock(block)) return;
  const int32_t kind = BlockTable[block].Kind;
  const int32_t start = BlockTable[block].Start;
  const int32_t headLength = p - start;
  const int32_t tailLength = BlockTable[block].Length - headLength;
  if (headLength < 1 || tailLength < 1 || kind == BlockFree) {
    ShowBlockError("Error - Could not brake a block");
    return;
  }
  switch (kind) {
    case BlockMemFile:
    case BlockMemory: {
      if (kind == BlockMemFile) {
        BlockTable[block].UseStamp = NextUseStamp();
      } else {
        LoadBlock(block);
      }
      head = NewMemoryCopy(BlockTable[block].Data.data(), headLength);
      tail = NewMemoryCopy(BlockTable[block].Data.data() + headLength, tailLength);
      if (kind == BlockMemFile) {
        const int32_t slot = BlockTable[block].FileRef;
        const int32_t position = BlockTable[block].FilePosition;
        BlockTable[head].FileRef = slot;
        BlockTable[head].FilePosition = position;
        BlockTable[tail].FileRef = slot;
        BlockTable[tail].FilePosition = position + 2 * headLength;
        SetKind(head, BlockMemFile);
        SetKind(tail, BlockMemFile);
        AddTempUse(slot, 2);
      }
      break;
    }
    case BlockFile:
    case BlockOrgFile: {
      // File blocks split by reference: an edit in hours of audio never reads the audio.
      const int32_t fileRef = BlockTable[block].FileRef;
      const int32_t position = BlockTable[block].FilePosition;
      const int32_t step = kind == BlockFile ? 2 : OriginalFrameBytes(fileRef);
      head = TakeRecord(true);
      tail = TakeRecord(true);
      for (const int32_t part : {head, tail}) {
        BlockRecord& record = BlockTable[part];
        record.FileRef = fileRef;
        record.Length = part == head ? headLength : tailLength;
        record.FilePosition = part == head ? position : position + step * headLength;
        record.UseStamp = kind == BlockFile ? 0 : NextUseStamp();
        SetKind(part, kind);
      }
      if (kind == BlockFile) {
        AddTempUse(fileRef, 2);
      } else {
        AddOriginalUse(fileRef, 2);
      }
      break;
    }
    default:
      // Silence splits into silence; nothing is made resident.
      head = TakeRecord(true);
      BlockTable[head].Length = headLength;
      SetKind(head, BlockSilence);
      tail = TakeRecord(true);
      BlockTable[tail].Length = tailLength;
      SetKind(tail, BlockSilence);
      break;
  }
  BlockTable[head].Start = start;
  BlockTable[tail].Start = start + headLength;
  EnforceMemoryBudget();
}

void LoadBlock(int32_t block) {
  QUORVANE_CHECK(ValidBlock(block), "loading a block that does not exist");
  if (!ValidBlock(block)) return;
  switch (BlockTable[block].Kind) {
    case BlockFree:
      ShowBlockError("Error - Free block can not be copied to buffer");
      return;
    case BlockMemFile:
    case BlockMemory:
      BlockTable[block].UseStamp = NextUseStamp();
      return;
    case BlockFile: {
      BlockRecord& record = BlockTable[block];
      record.Data.resize(static_cast<size_t>(record.Length));
      if (ReadTempSamples(record.FileRef, record.FilePosition - 1, record.Length,
                          record.Data.data())) {
        SetKind(block, BlockMemFile);
      } else {
        // What could not be read is silence now; the block no longer leans on the file.
        DropTempUse(record.FileRef);
        record.FileRef = 0;
        record.FilePosition = 0;
        SetKind(block, BlockMemory);
      }
      break;
    }
    case BlockOrgFile:
      LoadOriginalBlock(block);
      break;
    case BlockSilence: {
      BlockRecord& record = BlockTable[block];
      record.Data.assign(static_cast<size_t>(record.Length), 0);
      SetKind(block, BlockMemory);
      break;
    }
    default:
      return;
  }
  BlockTable[block].UseStamp = NextUseStamp();
  EnforceMemoryBudget();
}

void MakeBlockWritable(int32_t block) {
  QUORVANE_CHECK(ValidBlock(block), "writing a block that does not exist");
  if (!ValidBlock(block)) return;
  LoadBlock(block);
  BlockRecord& record = BlockTable[block];
  switch (record.Kind) {
    case BlockMemFile:
      DropTempUse(record.FileRef);
      record.FileRef = 0;
      record.FilePosition = 0;
      SetKind(block, BlockMemory);
      break;
    case BlockMemory:
      break;
    case BlockSilence:
      record.Data.assign(static_cast<size_t>(record.Length), 0);
      record.UseStamp = NextUseStamp();
      SetKind(block, BlockMemory);
      break;
    default:
      ShowBlockError("Error - Block type has a problem in moving to buff");
      break;
  }
}

bool SwapOutBlock(int32_t block) {
  QUORVANE_CHECK(ValidBlock(block), "writing out a block that does not exist");
  if (!ValidBlock(block)) return false;
  switch (BlockTable[block].Kind) {
    case BlockFree:
      ShowBlockError("Error - Free block can not be written to file");
      return false;
    case BlockMemFile:
      break;
    case BlockMemory: {
      int32_t slot = 0;
      // While writes fail (a full disk), each is tried at once, so that the first failure
      // stops the budget's round instead of handing over one doomed write after another.
      SummarizeBlock(block);
      if (WritingBehind() && !WritesFailing()) {
        slot = NewTempFileSlot();
        TempFileTable[slot].UseCount = 1;
        WriteBehind(slot, std::move(BlockTable[block].Data));
      } else {
        slot = WriteToNewSlot(block);
        if (slot == 0) return false;
      }
      BlockTable[block].FileRef = slot;
      BlockTable[block].FilePosition = 1;
      KeepPeaksInFile(block, slot);
      break;
    }
    default:
      return false;
  }
  BlockRecord& record = BlockTable[block];
  DropData(record);
  record.UseStamp = 0;
  SetKind(block, BlockFile);
  return true;
}

void SaveBlockCopy(int32_t block) {
  QUORVANE_CHECK(ValidBlock(block), "saving a block that does not exist");
  if (!ValidBlock(block)) return;
  const int32_t kind = BlockTable[block].Kind;
  if (kind == BlockFree) {
    ShowBlockError("Error - Free block can not be written to file");
    return;
  }
  if (kind != BlockMemory && kind != BlockSilence) return;
  if (kind == BlockSilence) {
    BlockRecord& record = BlockTable[block];
    record.Data.assign(static_cast<size_t>(record.Length), 0);
  }
  SummarizeBlock(block);
  const int32_t slot = WriteToNewSlot(block);
  BlockRecord& record = BlockTable[block];
  if (slot == 0) {
    if (kind == BlockSilence) DropData(record);  // silence needs no memory to stay silence
    return;
  }
  record.FileRef = slot;
  record.FilePosition = 1;
  KeepPeaksInFile(block, slot);
  record.UseStamp = NextUseStamp();
  SetKind(block, BlockMemFile);
  if (kind == BlockSilence) EnforceMemoryBudget();
}

void EnforceMemoryBudget() {
  const int64_t budget = Env().MemoryBudget;
  if (ResidentBytes <= budget) return;
  std::vector<int32_t> listed(g_residentBlocks.begin(), g_residentBlocks.end());
  if (++g_budgetChecks >= 100) {
    g_budgetChecks = 0;
    int64_t total = 0;
    for (const int32_t block : listed) total += BlockTable[block].Length;
    ResidentBytes = 2 * total;
  }
  if (listed.size() < 5) return;
  std::stable_sort(listed.begin(), listed.end(), [](int32_t a, int32_t b) {
    return BlockTable[a].UseStamp > BlockTable[b].UseStamp;
  });
  while (listed.size() >= 5 && ResidentBytes >= budget) {
    const int32_t oldest = listed.back();
    listed.pop_back();
    // A write that fails (full disk) keeps the block in memory; trying the others now
    // would only fail again.
    if (!SwapOutBlock(oldest)) break;
  }
}

int32_t BlockRecordCount() { return static_cast<int32_t>(BlockTable.size()); }

std::span<int16_t> WritableSamples(int32_t block) {
  if (!ValidBlock(block) || BlockTable[block].Kind != BlockMemory) return {};
  BlockTable[block].Peaks.reset();
  return BlockTable[block].Data;
}

void SetBlockStart(int32_t block, int32_t start) {
  if (ValidBlock(block)) BlockTable[block].Start = start;
}

int64_t MemoryInUse() { return ResidentBytes; }

int32_t BlocksInUse() {
  return static_cast<int32_t>(BlockTable.size()) - 1 - static_cast<int32_t>(g_freeRecords.size());
}

void ResetBlockList() {
  StopPeakBuilder();
  SettleWrites();
  TempFiles().Close();
  OriginalFiles().Close();
  BlockTable.assign(1, BlockRecord{});
  OrgFileTable.assign(1, OrgFileEntry{});
  TempFileTable.assign(1, TempFileSlot{});
  ChannelPairTable.assign(1, ChannelPair{});
  ResidentBytes = 0;
  g_freeRecords.clear();
  g_residentBlocks.clear();
  g_useClock = 0;
  g_budgetChecks = 0;
  ResetSampleReports();
}

}  // namespace quorvane
