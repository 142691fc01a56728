#include "storage/BlockList.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>

#include "core/Environment.h"
#include "core/FileHelpers.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "platform/FileHandle.h"
#include "storage/OpenFileCache.h"
#include "storage/StorageChecks.h"

namespace quorvane {

static_assert(std::endian::native == std::endian::little,
              "block files hold little-endian samples, read and written as they lie in memory");

namespace {

std::set<int32_t> g_freeRecords;     // records of kind BlockFree, ready for reuse
std::set<int32_t> g_residentBlocks;  // records of kinds 1 and 2, in table order
uint32_t g_useClock = 0;
int32_t g_budgetChecks = 0;
OpenFileCache g_originalFiles;
OpenFileCache g_tempFiles;
std::set<std::string> g_reportedFiles;  // files whose read failure was already shown
bool g_writeOutFailing = false;         // a write failure was shown and none succeeded since

void ShowBlockError(const std::string& text) {
  UserInterface().MsgBox(
      MessageRequest{text, kAppTitle, MessageIcon::None, MessageButtons::OkOnly, 1});
}

// One message per file that cannot be read; the samples it should give read as silence.
void ReportUnreadableFile(const std::string& name, const std::string& reason) {
  if (!g_reportedFiles.insert(name).second) return;
  UserInterface().MsgBox(
      MessageRequest{std::string("Error - Could not read audio data from file") + kCrLf + name +
                         kCrLf + reason + kCrLf + "The samples that could not be read are silence.",
                     kAppTitle, MessageIcon::Critical, MessageButtons::OkOnly, 1});
}

// One message per spell of failing writes (a full disk fails every write until space is
// freed); the block concerned stays in memory.
void ReportWriteFailure(const std::string& name, const std::string& reason) {
  if (g_writeOutFailing) return;
  g_writeOutFailing = true;
  UserInterface().MsgBox(
      MessageRequest{std::string("Error - Could not write audio data to the temporary file") +
                         kCrLf + name + kCrLf + reason + kCrLf + "The audio stays in memory.",
                     kAppTitle, MessageIcon::Critical, MessageButtons::OkOnly, 1});
}

bool ValidBlock(int32_t block) {
  return block >= 1 && block < static_cast<int32_t>(BlockTable.size());
}

bool ValidOriginal(int32_t entry) {
  return entry >= 1 && entry < static_cast<int32_t>(OrgFileTable.size());
}

bool ValidSlot(int32_t slot) {
  return slot >= 1 && slot < static_cast<int32_t>(TempFileTable.size());
}

// Every kind change goes through here, so that the free and resident sets stay exact.
void SetKind(int32_t block, int32_t kind) {
  BlockRecord& record = BlockTable[block];
  if (record.Kind == BlockFree) g_freeRecords.erase(block);
  if (IsResidentKind(record.Kind)) g_residentBlocks.erase(block);
  record.Kind = kind;
  if (kind == BlockFree) g_freeRecords.insert(block);
  if (IsResidentKind(kind)) g_residentBlocks.insert(block);
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

void DropData(BlockRecord& record) { std::vector<int16_t>().swap(record.Data); }

// A resident memory block of `length` samples holding a copy of `source`; the budget is
// enforced by the caller once all its new blocks exist.
int32_t NewMemoryCopy(const int16_t* source, int32_t length) {
  const int32_t block = TakeRecord(true);
  BlockRecord& record = BlockTable[block];
  record.Length = length;
  record.Data.assign(source, source + length);
  record.UseStamp = NextUseStamp();
  MemoryInUse += 2 * static_cast<int64_t>(length);
  SetKind(block, BlockMemory);
  return block;
}

void AddTempUse(int32_t slot, int32_t count) {
  if (ValidSlot(slot)) TempFileTable[slot].UseCount += count;
}

void DropTempUse(int32_t slot) {
  if (ValidSlot(slot) && TempFileTable[slot].UseCount > 0) --TempFileTable[slot].UseCount;
}

void AddOriginalUse(int32_t entry, int32_t count) {
  if (ValidOriginal(entry)) OrgFileTable[entry].UseCount += count;
}

void DropOriginalUse(int32_t entry) {
  if (ValidOriginal(entry) && OrgFileTable[entry].UseCount > 0) --OrgFileTable[entry].UseCount;
}

bool InsideTempFolder(const std::string& name) {
  const std::string& folder = Env().SessionFolder;
  if (folder.empty() || name.size() <= folder.size() + 1) return false;
  return name.compare(0, folder.size(), folder) == 0 && name[folder.size()] == '/';
}

bool SameNameIgnoringCase(const std::string& a, const std::string& b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

int32_t SampleBytes(int32_t entry) { return OrgFileTable[entry].Bits == 8 ? 1 : 2; }

int32_t FileChannels(int32_t entry) { return std::max(1, OrgFileTable[entry].Channels); }

int16_t DecodeSample(const uint8_t* bytes, int32_t sampleBytes) {
  if (sampleBytes == 1) return static_cast<int16_t>(static_cast<int32_t>(bytes[0]) - 128);
  return static_cast<int16_t>(static_cast<uint16_t>(bytes[0] | (bytes[1] << 8)));
}

// Reads `count` samples of a temporary block file from byte `offset` (0-based). What
// cannot be read is silence. False when something could not be read.
bool ReadTempSamples(int32_t slot, int64_t offset, int32_t count, int16_t* out) {
  if (count <= 0) return true;
  static const std::string kUnknown;
  const std::string& name = ValidSlot(slot) ? TempFileTable[slot].FileName : kUnknown;
  std::string reason = "the file is not known";
  size_t got = 0;
  const size_t wanted = 2 * static_cast<size_t>(count);
  if (!name.empty()) got = g_tempFiles.Read(slot, name, offset, out, wanted, reason);
  if (got == wanted) return true;
  std::memset(reinterpret_cast<char*>(out) + (got & ~size_t{1}), 0, wanted - (got & ~size_t{1}));
  ReportUnreadableFile(name, reason);
  return false;
}

// Reads `count` samples of one channel of an original file, the first at byte `offset`
// (0-based); the samples are one frame apart. With `neighbour`, the sample that follows
// each one in its frame (the other channel of a stereo file) goes there. What cannot be
// read is silence. False when something could not be read.
bool ReadOriginalSamples(int32_t entry, int64_t offset, int32_t count, int16_t* out,
                         int16_t* neighbour) {
  if (count <= 0) return true;
  std::fill(out, out + count, int16_t{0});
  if (neighbour) std::fill(neighbour, neighbour + count, int16_t{0});
  static const std::string kUnknown;
  const std::string& name = ValidOriginal(entry) ? OrgFileTable[entry].FileName : kUnknown;
  if (name.empty()) {
    ReportUnreadableFile(name, "the file is not known");
    return false;
  }
  const int32_t sampleBytes = SampleBytes(entry);
  const int32_t frameBytes = sampleBytes * FileChannels(entry);
  const int32_t samplesUsed = neighbour ? 2 : 1;
  static std::vector<uint8_t> buffer(1 << 18);
  const int32_t chunkFrames = static_cast<int32_t>(buffer.size()) / frameBytes;
  int32_t done = 0;
  while (done < count) {
    const int32_t frames = std::min(chunkFrames, count - done);
    // The last frame of a chunk is read only as far as the samples taken from it.
    const size_t wanted = static_cast<size_t>(frames - 1) * frameBytes +
                          static_cast<size_t>(sampleBytes) * samplesUsed;
    std::string reason;
    const size_t got =
        g_originalFiles.Read(entry, name, offset + static_cast<int64_t>(done) * frameBytes,
                             buffer.data(), wanted, reason);
    for (int32_t i = 0; i < frames; ++i) {
      const size_t at = static_cast<size_t>(i) * frameBytes;
      if (at + sampleBytes <= got) out[done + i] = DecodeSample(buffer.data() + at, sampleBytes);
      if (neighbour && at + 2 * static_cast<size_t>(sampleBytes) <= got) {
        neighbour[done + i] = DecodeSample(buffer.data() + at + sampleBytes, sampleBytes);
      }
    }
    if (got < wanted) {
      ReportUnreadableFile(name, reason);
      return false;
    }
    done += frames;
  }
  return true;
}

// Writes samples into a new file of that name. False, with the file removed again and the
// reason given, when the samples could not all be written.
bool WriteNewSampleFile(const std::string& name, const int16_t* data, int32_t count,
                        std::string& reason) {
  FileHandle file(::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  if (!file.IsOpen()) {
    reason = std::strerror(errno);
    return false;
  }
  const auto* bytes = reinterpret_cast<const char*>(data);
  const size_t total = 2 * static_cast<size_t>(std::max(count, 0));
  size_t done = 0;
  bool written = true;
  while (done < total) {
    const ssize_t put = ::write(file.Descriptor(), bytes + done, total - done);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) {
      reason = put < 0 ? std::strerror(errno) : "nothing could be written";
      written = false;
      break;
    }
    done += static_cast<size_t>(put);
  }
  if (written && !file.Close()) {
    reason = std::strerror(errno);
    written = false;
  }
  if (!written) {
    file.Close();
    ::unlink(name.c_str());
    return false;
  }
  g_writeOutFailing = false;
  return true;
}

// Writes a resident block's samples to a fresh temporary slot and makes it a file copy of
// the block (use count 1, file position 1). The slot number, or 0 when the write failed.
int32_t WriteToNewSlot(int32_t block) {
  const int32_t slot = NewTempFileSlot();
  const std::string name = TempFileTable[slot].FileName;
  std::string reason;
  const BlockRecord& record = BlockTable[block];
  if (!WriteNewSampleFile(name, record.Data.data(), record.Length, reason)) {
    ReportWriteFailure(name, reason);
    TempFileTable[slot].FileName.clear();
    return 0;
  }
  TempFileTable[slot].UseCount = 1;
  return slot;
}

int32_t PairIndexOf(int32_t block) {
  for (int32_t i = 1; i < static_cast<int32_t>(ChannelPairTable.size()); ++i) {
    if (ChannelPairTable[i].BlockA == block || ChannelPairTable[i].BlockB == block) return i;
  }
  return 0;
}

void RemovePairsOf(int32_t block) {
  auto first = ChannelPairTable.begin() + 1;
  ChannelPairTable.erase(std::remove_if(first, ChannelPairTable.end(),
                                        [block](const ChannelPair& pair) {
                                          return pair.BlockA == block || pair.BlockB == block;
                                        }),
                         ChannelPairTable.end());
}

// A kind-4 block whose samples are now in `data` becomes a memory block of its own.
void AdoptLoadedOriginal(int32_t block, std::vector<int16_t>&& data) {
  BlockRecord& record = BlockTable[block];
  DropOriginalUse(record.FileRef);
  record.FileRef = 0;
  record.FilePosition = 0;
  record.Data = std::move(data);
  record.UseStamp = NextUseStamp();
  MemoryInUse += 2 * static_cast<int64_t>(record.Length);
  SetKind(block, BlockMemory);
}

// The other block of a stereo pair that one read can fill together with `block`: both on
// the same file, of the same length, the right one a sample after the left one.
int32_t PairPartner(int32_t block, int32_t pairIndex) {
  const ChannelPair pair = ChannelPairTable[pairIndex];
  const int32_t other = pair.BlockA == block ? pair.BlockB : pair.BlockA;
  if (!ValidBlock(other)) return 0;
  const BlockRecord& mine = BlockTable[block];
  const BlockRecord& theirs = BlockTable[other];
  if (theirs.Kind != BlockOrgFile || theirs.FileRef != mine.FileRef ||
      theirs.Length != mine.Length || FileChannels(mine.FileRef) != 2) {
    return 0;
  }
  const int32_t step = SampleBytes(mine.FileRef);
  if (std::abs(theirs.FilePosition - mine.FilePosition) != step) return 0;
  return other;
}

void LoadOriginalBlock(int32_t block) {
  const int32_t entry = BlockTable[block].FileRef;
  const int32_t length = BlockTable[block].Length;
  if (!ValidOriginal(entry)) {
    ReportUnreadableFile("", "the file is not known");
    AdoptLoadedOriginal(block, std::vector<int16_t>(static_cast<size_t>(length), 0));
    return;
  }
  const int32_t pairIndex = FileChannels(entry) == 2 ? PairIndexOf(block) : 0;
  const int32_t partner = pairIndex ? PairPartner(block, pairIndex) : 0;
  if (pairIndex) ChannelPairTable.erase(ChannelPairTable.begin() + pairIndex);
  if (partner) {
    // One read of the interleaved stretch fills both channels.
    const bool blockIsLeft = BlockTable[block].FilePosition < BlockTable[partner].FilePosition;
    const int32_t left = blockIsLeft ? block : partner;
    std::vector<int16_t> leftData(static_cast<size_t>(length));
    std::vector<int16_t> rightData(static_cast<size_t>(length));
    ReadOriginalSamples(entry, BlockTable[left].FilePosition - 1, length, leftData.data(),
                        rightData.data());
    // The partner first, so that the block asked for is the most recently used one.
    AdoptLoadedOriginal(partner, std::move(blockIsLeft ? rightData : leftData));
    AdoptLoadedOriginal(block, std::move(blockIsLeft ? leftData : rightData));
    return;
  }
  std::vector<int16_t> data(static_cast<size_t>(length));
  ReadOriginalSamples(entry, BlockTable[block].FilePosition - 1, length, data.data(), nullptr);
  AdoptLoadedOriginal(block, std::move(data));
}

// Registers a file named in a descriptor in the temporary-file table, or finds the slot
// that already holds it. `fresh` tells whether a new slot was taken.
int32_t AdoptTempFile(const std::string& name, bool& fresh) {
  for (int32_t slot = 1; slot < static_cast<int32_t>(TempFileTable.size()); ++slot) {
    if (TempFileTable[slot].UseCount > 0 &&
        SameNameIgnoringCase(TempFileTable[slot].FileName, name)) {
      fresh = false;
      return slot;
    }
  }
  fresh = true;
  int32_t reuse = 0;
  for (int32_t slot = 1; slot < static_cast<int32_t>(TempFileTable.size()); ++slot) {
    TempFileSlot& entry = TempFileTable[slot];
    if (entry.UseCount != 0) continue;
    g_tempFiles.CloseEntry(slot);
    if (!entry.FileName.empty() && !SameNameIgnoringCase(entry.FileName, name)) {
      DeleteFileIfExists(entry.FileName);
    }
    entry.FileName.clear();
    reuse = slot;
  }
  if (reuse == 0) {
    TempFileTable.emplace_back();
    reuse = static_cast<int32_t>(TempFileTable.size()) - 1;
  }
  TempFileTable[reuse] = TempFileSlot{name, 0};
  return reuse;
}

void PackText(const std::string& text, std::vector<int32_t>& out) {
  if (text.empty()) {
    out.push_back(1);
    out.push_back(0);
    return;
  }
  const int32_t last = RoundHalfEven(static_cast<double>(text.size()) / 4.0 + 2.0);
  const size_t first = out.size();
  out.resize(first + static_cast<size_t>(last) + 1, 0);
  out[first] = last;
  out[first + 1] = static_cast<int32_t>(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    auto& element = out[first + 2 + i / 4];
    const uint32_t byte = static_cast<unsigned char>(text[i]);
    element = static_cast<int32_t>(static_cast<uint32_t>(element) | (byte << (8 * (i % 4))));
  }
}

// Reads a packed text at `at`; moves `at` past it. False when the descriptor ends early.
bool UnpackText(const std::vector<int32_t>& in, size_t& at, std::string& text) {
  if (at + 1 >= in.size()) return false;
  const int32_t last = in[at];
  const int32_t length = in[at + 1];
  if (last < 1 || length < 0 || at + static_cast<size_t>(last) >= in.size() ||
      static_cast<size_t>(length) > 4 * static_cast<size_t>(last - 1)) {
    return false;
  }
  text.resize(static_cast<size_t>(length));
  for (size_t i = 0; i < text.size(); ++i) {
    const uint32_t element = static_cast<uint32_t>(in[at + 2 + i / 4]);
    text[i] = static_cast<char>((element >> (8 * (i % 4))) & 0xFF);
  }
  at += static_cast<size_t>(last) + 1;
  return true;
}

}  // namespace

uint32_t NextUseStamp() { return ++g_useClock; }

int32_t OriginalFrameBytes(int32_t entry) {
  if (!ValidOriginal(entry)) return 0;
  return SampleBytes(entry) * FileChannels(entry);
}

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
    MemoryInUse += 2 * static_cast<int64_t>(length);
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
      MemoryInUse -= 2 * static_cast<int64_t>(record.Length);
      DropTempUse(record.FileRef);
      break;
    case BlockMemory:
      MemoryInUse -= 2 * static_cast<int64_t>(record.Length);
      break;
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
  DropData(record);
  record.FileRef = 0;
  record.Length = 0;
  record.FilePosition = 0;
  record.UseStamp = 0;
  SetKind(block, BlockFree);
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
  switch (kind) {
    case BlockMemFile:
      MemoryInUse += 2 * static_cast<int64_t>(record.Length);
      AddTempUse(record.FileRef, 1);
      record.UseStamp = NextUseStamp();
      SetKind(copy, kind);
      EnforceMemoryBudget();
      break;
    case BlockMemory:
      MemoryInUse += 2 * static_cast<int64_t>(record.Length);
      record.UseStamp = NextUseStamp();
      SetKind(copy, kind);
      EnforceMemoryBudget();
      break;
    case BlockFile:
      AddTempUse(record.FileRef, 1);
      record.UseStamp = NextUseStamp();
      SetKind(copy, kind);
      break;
    case BlockOrgFile:
      AddOriginalUse(record.FileRef, 1);
      record.UseStamp = NextUseStamp();
      SetKind(copy, kind);
      break;
    default:
      SetKind(copy, kind);
      break;
  }
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
      MemoryInUse += 2 * static_cast<int64_t>(record.Length);
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
      MemoryInUse += 2 * static_cast<int64_t>(record.Length);
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
      MemoryInUse += 2 * static_cast<int64_t>(record.Length);
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
      const int32_t slot = WriteToNewSlot(block);
      if (slot == 0) return false;
      BlockTable[block].FileRef = slot;
      BlockTable[block].FilePosition = 1;
      break;
    }
    default:
      return false;
  }
  BlockRecord& record = BlockTable[block];
  DropData(record);
  MemoryInUse -= 2 * static_cast<int64_t>(record.Length);
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
    MemoryInUse += 2 * static_cast<int64_t>(record.Length);
  }
  const int32_t slot = WriteToNewSlot(block);
  BlockRecord& record = BlockTable[block];
  if (slot == 0) {
    if (kind == BlockSilence) {
      // Silence needs no memory to stay what it is.
      DropData(record);
      MemoryInUse -= 2 * static_cast<int64_t>(record.Length);
    }
    return;
  }
  record.FileRef = slot;
  record.FilePosition = 1;
  record.UseStamp = NextUseStamp();
  SetKind(block, BlockMemFile);
  if (kind == BlockSilence) EnforceMemoryBudget();
}

int16_t PeekSample(int32_t block, int32_t p) {
  QUORVANE_CHECK(ValidBlock(block), "reading a block that does not exist");
  if (!ValidBlock(block)) return 0;
  const BlockRecord& record = BlockTable[block];
  const int32_t offset = p - record.Start;
  QUORVANE_CHECK(offset >= 0 && offset < record.Length, "reading outside a block");
  if (offset < 0 || offset >= record.Length) return 0;
  int16_t value = 0;
  switch (record.Kind) {
    case BlockMemFile:
    case BlockMemory:
      return record.Data[static_cast<size_t>(offset)];
    case BlockFile:
      ReadTempSamples(record.FileRef, record.FilePosition - 1 + 2 * static_cast<int64_t>(offset), 1,
                      &value);
      return value;
    case BlockOrgFile:
      ReadOriginalSamples(record.FileRef,
                          record.FilePosition - 1 +
                              static_cast<int64_t>(offset) * OriginalFrameBytes(record.FileRef),
                          1, &value, nullptr);
      return value;
    default:
      return 0;
  }
}

void ReadBlockRange(int32_t block, int32_t first, int32_t last, int16_t* out) {
  QUORVANE_CHECK(ValidBlock(block), "reading a block that does not exist");
  const int32_t count = last - first + 1;
  if (count <= 0) return;
  if (!ValidBlock(block)) {
    std::fill(out, out + count, int16_t{0});
    return;
  }
  const BlockRecord& record = BlockTable[block];
  if (record.Kind == BlockFree) {
    std::fill(out, out + count, int16_t{0});
    ShowBlockError("Error - A block can not be read for quick buffer");
    return;
  }
  QUORVANE_CHECK(first >= 0 && last < record.Length, "reading outside a block");
  if (first < 0 || last >= record.Length) {
    std::fill(out, out + count, int16_t{0});
    return;
  }
  switch (record.Kind) {
    case BlockMemFile:
    case BlockMemory:
      std::copy_n(record.Data.data() + first, count, out);
      return;
    case BlockFile:
      ReadTempSamples(record.FileRef, record.FilePosition - 1 + 2 * static_cast<int64_t>(first),
                      count, out);
      return;
    case BlockOrgFile:
      ReadOriginalSamples(record.FileRef,
                          record.FilePosition - 1 +
                              static_cast<int64_t>(first) * OriginalFrameBytes(record.FileRef),
                          count, out, nullptr);
      return;
    default:
      std::fill(out, out + count, int16_t{0});
      return;
  }
}

void ReadBlockRange(int32_t block, int32_t first, int32_t last, std::vector<int16_t>& out) {
  out.assign(static_cast<size_t>(std::max(last - first + 1, 0)), 0);
  ReadBlockRange(block, first, last, out.data());
}

void EnforceMemoryBudget() {
  const int64_t budget = Env().MemoryBudget;
  if (MemoryInUse <= budget) return;
  std::vector<int32_t> listed(g_residentBlocks.begin(), g_residentBlocks.end());
  if (++g_budgetChecks >= 100) {
    g_budgetChecks = 0;
    int64_t total = 0;
    for (const int32_t block : listed) total += BlockTable[block].Length;
    MemoryInUse = 2 * total;
  }
  if (listed.size() < 5) return;
  std::stable_sort(listed.begin(), listed.end(), [](int32_t a, int32_t b) {
    return BlockTable[a].UseStamp > BlockTable[b].UseStamp;
  });
  while (listed.size() >= 5 && MemoryInUse >= budget) {
    const int32_t oldest = listed.back();
    listed.pop_back();
    // A write that fails (full disk) keeps the block in memory; trying the others now
    // would only fail again.
    if (!SwapOutBlock(oldest)) break;
  }
}

int32_t RegisterOriginalFile(const std::string& name, int32_t channels, int32_t bits) {
  int32_t reuse = 0;
  for (int32_t entry = 1; entry < static_cast<int32_t>(OrgFileTable.size()); ++entry) {
    OrgFileEntry& file = OrgFileTable[entry];
    if (file.UseCount != 0) continue;
    g_originalFiles.CloseEntry(entry);
    if (InsideTempFolder(file.FileName) && !SameNameIgnoringCase(file.FileName, name)) {
      DeleteFileIfExists(file.FileName);
    }
    reuse = entry;
  }
  if (reuse == 0) {
    OrgFileTable.emplace_back();
    reuse = static_cast<int32_t>(OrgFileTable.size()) - 1;
  }
  OrgFileTable[reuse] = OrgFileEntry{name, channels, bits, 0};
  return reuse;
}

void RegisterChannelPair(int32_t blockA, int32_t blockB) {
  ChannelPairTable.push_back(ChannelPair{blockA, blockB});
}

void ReleaseOriginalFile(int32_t entry) {
  if (!ValidOriginal(entry)) return;
  for (int32_t block = 1; block < static_cast<int32_t>(BlockTable.size()); ++block) {
    if (BlockTable[block].Kind == BlockOrgFile && BlockTable[block].FileRef == entry) {
      LoadBlock(block);
    }
  }
  g_originalFiles.CloseEntry(entry);
  OrgFileEntry& file = OrgFileTable[entry];
  if (file.UseCount == 0 && !file.FileName.empty()) {
    if (InsideTempFolder(file.FileName)) DeleteFileIfExists(file.FileName);
    file.FileName.clear();
  }
}

void ReleaseOriginalFileByName(const std::string& name) {
  for (int32_t entry = 1; entry < static_cast<int32_t>(OrgFileTable.size()); ++entry) {
    if (!OrgFileTable[entry].FileName.empty() &&
        SameNameIgnoringCase(OrgFileTable[entry].FileName, name)) {
      ReleaseOriginalFile(entry);
    }
  }
}

namespace {

// Moves the file to `target`: a rename, or a copy and a delete where the two names lie on
// different file systems. False, with the file where it was, when neither works.
bool MoveFile(const std::string& from, const std::string& target) {
  std::error_code error;
  std::filesystem::rename(from, target, error);
  if (!error) return true;
  if (error != std::errc::cross_device_link) return false;
  if (!std::filesystem::copy_file(from, target, error) || error) {
    std::filesystem::remove(target, error);
    return false;
  }
  std::filesystem::remove(from, error);
  return true;
}

}  // namespace

void SetOriginalFileAside(const std::string& name) {
  for (int32_t entry = 1; entry < static_cast<int32_t>(OrgFileTable.size()); ++entry) {
    OrgFileEntry& file = OrgFileTable[entry];
    if (file.FileName.empty() || !SameNameIgnoringCase(file.FileName, name)) continue;
    if (file.UseCount > 0 && !Env().SessionFolder.empty() && !InsideTempFolder(file.FileName)) {
      const std::string target = NewTempFileName("wav");
      g_originalFiles.CloseEntry(entry);
      if (MoveFile(file.FileName, target)) {
        file.FileName = target;
        continue;
      }
    }
    ReleaseOriginalFile(entry);
  }
}

int32_t NewTempFileSlot() {
  int32_t reuse = 0;
  for (int32_t slot = 1; slot < static_cast<int32_t>(TempFileTable.size()); ++slot) {
    TempFileSlot& entry = TempFileTable[slot];
    if (entry.UseCount != 0) continue;
    g_tempFiles.CloseEntry(slot);
    if (!entry.FileName.empty()) {
      DeleteFileIfExists(entry.FileName);
      entry.FileName.clear();
    }
    reuse = slot;
  }
  if (reuse == 0) {
    TempFileTable.emplace_back();
    reuse = static_cast<int32_t>(TempFileTable.size()) - 1;
  }
  TempFileTable[reuse] = TempFileSlot{NewTempFileName("tmp"), 0};
  return reuse;
}

void ReleaseUnusedFiles() {
  for (int32_t slot = 1; slot < static_cast<int32_t>(TempFileTable.size()); ++slot) {
    TempFileSlot& entry = TempFileTable[slot];
    if (entry.UseCount != 0 || entry.FileName.empty()) continue;
    g_tempFiles.CloseEntry(slot);
    DeleteFileIfExists(entry.FileName);
    entry.FileName.clear();
  }
  for (int32_t entry = 1; entry < static_cast<int32_t>(OrgFileTable.size()); ++entry) {
    OrgFileEntry& file = OrgFileTable[entry];
    if (file.UseCount != 0 || file.FileName.empty()) continue;
    g_originalFiles.CloseEntry(entry);
    if (InsideTempFolder(file.FileName)) DeleteFileIfExists(file.FileName);
    file.FileName.clear();
  }
}

void ReleaseAllFiles() {
  g_tempFiles.Close();
  g_originalFiles.Close();
  for (int32_t slot = 1; slot < static_cast<int32_t>(TempFileTable.size()); ++slot) {
    TempFileSlot& entry = TempFileTable[slot];
    if (entry.FileName.empty()) continue;
    DeleteFileIfExists(entry.FileName);
    entry.FileName.clear();
  }
}

std::vector<int32_t> BlocksToDescriptor(const std::vector<int32_t>& blocks) {
  std::vector<int32_t> descriptor{0, static_cast<int32_t>(blocks.size())};
  for (const int32_t block : blocks) {
    QUORVANE_CHECK(ValidBlock(block), "describing a block that does not exist");
    const BlockRecord& record = ValidBlock(block) ? BlockTable[block] : BlockTable[0];
    std::string name = " ";
    int32_t kind = BlockSilence;
    int32_t channels = 0;
    int32_t bits = 0;
    switch (record.Kind) {
      case BlockMemFile:
      case BlockFile:
        name = ValidSlot(record.FileRef) ? TempFileTable[record.FileRef].FileName : "";
        kind = BlockFile;
        break;
      case BlockOrgFile:
        if (ValidOriginal(record.FileRef)) {
          const OrgFileEntry& file = OrgFileTable[record.FileRef];
          name = file.FileName;
          channels = file.Channels;
          bits = file.Bits;
        }
        kind = BlockOrgFile;
        break;
      case BlockSilence:
        break;
      default:
        // Described as silence of the same length, so that what follows keeps its place.
        ShowBlockError("Error - Block should be written to file before converting");
        break;
    }
    PackText(name, descriptor);
    const int32_t filePosition = kind == BlockSilence ? 0 : record.FilePosition;
    descriptor.insert(descriptor.end(),
                      {record.Length, kind, record.Start, filePosition, channels, bits});
  }
  descriptor[0] = static_cast<int32_t>(descriptor.size()) - 1;
  return descriptor;
}

std::vector<int32_t> DescriptorToBlocks(const std::vector<int32_t>& descriptor, bool takeOver) {
  std::vector<int32_t> blocks;
  if (descriptor.size() < 2) return blocks;
  const int32_t count = descriptor[1];
  size_t at = 2;
  for (int32_t n = 0; n < count; ++n) {
    std::string name;
    // A descriptor read from a file may be cut short or damaged: what is whole is used.
    if (!UnpackText(descriptor, at, name) || at + 6 > descriptor.size()) break;
    const int32_t length = descriptor[at];
    const int32_t kind = descriptor[at + 1];
    const int32_t start = descriptor[at + 2];
    const int32_t filePosition = descriptor[at + 3];
    const int32_t channels = descriptor[at + 4];
    const int32_t bits = descriptor[at + 5];
    at += 6;
    if (length < 1) break;
    const int32_t block = NewBlock(length, BlockSilence);
    BlockTable[block].Start = start;
    BlockTable[block].FilePosition = filePosition;
    blocks.push_back(block);
    if (kind == BlockOrgFile) {
      int32_t entry = 0;
      for (int32_t e = 1; e < static_cast<int32_t>(OrgFileTable.size()); ++e) {
        if (OrgFileTable[e].UseCount > 0 && SameNameIgnoringCase(OrgFileTable[e].FileName, name)) {
          entry = e;
          break;
        }
      }
      const bool fresh = entry == 0;
      if (fresh) entry = RegisterOriginalFile(name, channels, bits);
      AddOriginalUse(entry, 1);
      BlockTable[block].FileRef = entry;
      BlockTable[block].UseStamp = NextUseStamp();
      SetKind(block, BlockOrgFile);
      if (takeOver && fresh) {
        MakeBlockWritable(block);
        g_originalFiles.CloseEntry(entry);
        OrgFileTable[entry].UseCount = 0;
        OrgFileTable[entry].FileName.clear();
      }
    } else if (kind == BlockFile) {
      bool fresh = false;
      const int32_t slot = AdoptTempFile(name, fresh);
      AddTempUse(slot, 1);
      BlockTable[block].FileRef = slot;
      SetKind(block, BlockFile);
      if (takeOver && fresh) {
        MakeBlockWritable(block);
        g_tempFiles.CloseEntry(slot);
        TempFileTable[slot].UseCount = 0;
        TempFileTable[slot].FileName.clear();
      }
    } else if (kind != BlockSilence) {
      ShowBlockError("Error - Block type can not be converted to Block");
    }
  }
  return blocks;
}

int32_t BlocksInUse() {
  return static_cast<int32_t>(BlockTable.size()) - 1 - static_cast<int32_t>(g_freeRecords.size());
}

void ResetBlockList() {
  g_tempFiles.Close();
  g_originalFiles.Close();
  BlockTable.assign(1, BlockRecord{});
  OrgFileTable.assign(1, OrgFileEntry{});
  TempFileTable.assign(1, TempFileSlot{});
  ChannelPairTable.assign(1, ChannelPair{});
  MemoryInUse = 0;
  g_freeRecords.clear();
  g_residentBlocks.clear();
  g_useClock = 0;
  g_budgetChecks = 0;
  g_reportedFiles.clear();
  g_writeOutFailing = false;
}

}  // namespace quorvane
