#include "storage/BlockSampleIO.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>

#include "core/Interaction.h"
#include "platform/FileHandle.h"
#include "platform/WaveSamples.h"
#include "storage/BlockFileTables.h"
#include "storage/BlockListParts.h"
#include "storage/BlockTable.h"
#include "storage/StorageChecks.h"

namespace quorvane {

static_assert(std::endian::native == std::endian::little,
              "block files hold little-endian samples, read and written as they lie in memory");

namespace block_list {

namespace {

std::set<std::string> g_reportedFiles;  // files whose read failure was already shown
bool g_writeOutFailing = false;         // a write failure was shown and none succeeded since

// One message per file that cannot be read; the samples it should give read as silence.
void ReportUnreadableFile(const std::string& name, const std::string& reason) {
  if (!g_reportedFiles.insert(name).second) return;
  UserInterface().MsgBox(
      MessageRequest{std::string("Error - Could not read audio data from file") + kCrLf + name +
                         kCrLf + reason + kCrLf + "The samples that could not be read are silence.",
                     kAppTitle, MessageIcon::Critical, MessageButtons::OkOnly, 1});
}

// Reads `count` samples of one channel of an original file, the first at byte `offset`
// (0-based); the samples are one frame apart. With `neighbour`, the sample that follows
// each one in its frame (the other channel of a stereo file) goes there. What cannot be
// read is silence. False when something could not be read.
bool ReadOriginalSamples(int32_t entry, int64_t offset, int32_t count, int16_t* out,
                         int16_t* neighbour) {
  if (count <= 0) return true;
  // What could not be read, from `from` on, is silence.
  const auto silenceFrom = [&](int32_t from) {
    std::fill(out + from, out + count, int16_t{0});
    if (neighbour) std::fill(neighbour + from, neighbour + count, int16_t{0});
  };
  static const std::string kUnknown;
  const std::string& name = ValidOriginal(entry) ? OrgFileTable[entry].FileName : kUnknown;
  if (name.empty()) {
    silenceFrom(0);
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
        OriginalFiles().Read(entry, name, offset + static_cast<int64_t>(done) * frameBytes,
                             buffer.data(), wanted, reason);
    if (got == wanted && sampleBytes == 2) {
      // Whole 16-bit frames, the common case: samples are taken as they lie.
      const uint8_t* bytes = buffer.data();
      int16_t* left = out + done;
      if (neighbour) {
        int16_t* right = neighbour + done;
        for (int32_t i = 0; i < frames; ++i, bytes += frameBytes) {
          std::memcpy(left + i, bytes, 2);
          std::memcpy(right + i, bytes + 2, 2);
        }
      } else {
        for (int32_t i = 0; i < frames; ++i, bytes += frameBytes) std::memcpy(left + i, bytes, 2);
      }
      done += frames;
      continue;
    }
    for (int32_t i = 0; i < frames; ++i) {
      const size_t at = static_cast<size_t>(i) * frameBytes;
      out[done + i] =
          at + sampleBytes <= got ? DecodeWaveSample(buffer.data() + at, sampleBytes) : 0;
      if (neighbour) {
        neighbour[done + i] = at + 2 * static_cast<size_t>(sampleBytes) <= got
                                  ? DecodeWaveSample(buffer.data() + at + sampleBytes, sampleBytes)
                                  : 0;
      }
    }
    if (got < wanted) {
      silenceFrom(done + frames);
      ReportUnreadableFile(name, reason);
      return false;
    }
    done += frames;
  }
  return true;
}

// Writes all `total` bytes; false, with the reason, when the file took less.
bool WriteAll(int descriptor, const char* bytes, size_t total, std::string& reason) {
  size_t done = 0;
  while (done < total) {
    const ssize_t put = ::write(descriptor, bytes + done, total - done);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) {
      reason = put < 0 ? std::strerror(errno) : "nothing could be written";
      return false;
    }
    done += static_cast<size_t>(put);
  }
  return true;
}

// Direct writes take whole pages from page-aligned memory at page-aligned offsets: the
// samples go through an aligned buffer a megabyte at a time, and the last part of a page
// as an ordinary write once direct writing is switched off again.
constexpr size_t kDirectAlignment = 4096;
constexpr size_t kDirectChunk = size_t{1} << 20;

bool WriteBypassingCache(int descriptor, const char* bytes, size_t total, std::string& reason) {
  struct FreeAligned {
    void operator()(char* buffer) const { std::free(buffer); }
  };
  const std::unique_ptr<char, FreeAligned> stage(
      static_cast<char*>(std::aligned_alloc(kDirectAlignment, kDirectChunk)));
  const size_t whole = stage ? total / kDirectAlignment * kDirectAlignment : 0;
  size_t done = 0;
  while (done < whole) {
    const size_t part = std::min(kDirectChunk, whole - done);
    std::memcpy(stage.get(), bytes + done, part);
    if (!WriteAll(descriptor, stage.get(), part, reason)) {
      // A file system that opens for direct writes but refuses them (larger blocks than
      // these pages) takes the rest through the cache; nothing was written by the refusal.
      if (errno != EINVAL || ::lseek(descriptor, static_cast<off_t>(done), SEEK_SET) < 0) {
        return false;
      }
      break;
    }
    done += part;
  }
  const int flags = ::fcntl(descriptor, F_GETFL);
  if (flags < 0 || ::fcntl(descriptor, F_SETFL, flags & ~O_DIRECT) < 0) {
    reason = std::strerror(errno);
    return false;
  }
  return WriteAll(descriptor, bytes + done, total - done, reason);
}

// A kind-4 block whose samples are now in `data` becomes a memory block of its own.
void AdoptLoadedOriginal(int32_t block, std::vector<int16_t>&& data) {
  BlockRecord& record = BlockTable[block];
  DropOriginalUse(record.FileRef);
  record.FileRef = 0;
  record.FilePosition = 0;
  record.Data = std::move(data);
  record.UseStamp = NextUseStamp();
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

}  // namespace

void ReportWriteFailure(const std::string& name, const std::string& reason) {
  if (g_writeOutFailing) return;
  g_writeOutFailing = true;
  UserInterface().MsgBox(
      MessageRequest{std::string("Error - Could not write audio data to the temporary file") +
                         kCrLf + name + kCrLf + reason + kCrLf + "The audio stays in memory.",
                     kAppTitle, MessageIcon::Critical, MessageButtons::OkOnly, 1});
}

void NoteWriteSucceeded() { g_writeOutFailing = false; }

bool WritesFailing() { return g_writeOutFailing; }

bool WriteSampleFile(const std::string& name, const int16_t* data, int32_t count, bool bypassCache,
                     std::string& reason) {
  const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
  FileHandle file(::open(name.c_str(), flags | (bypassCache ? O_DIRECT : 0), 0600));
  if (!file.IsOpen() && bypassCache && errno == EINVAL) {
    // A file system without direct writes (tmpfs): through the cache after all.
    bypassCache = false;
    file = FileHandle(::open(name.c_str(), flags, 0600));
  }
  if (!file.IsOpen()) {
    reason = std::strerror(errno);
    return false;
  }
  const auto* bytes = reinterpret_cast<const char*>(data);
  const size_t total = 2 * static_cast<size_t>(std::max(count, 0));
  bool written = bypassCache ? WriteBypassingCache(file.Descriptor(), bytes, total, reason)
                             : WriteAll(file.Descriptor(), bytes, total, reason);
  if (written && !file.Close()) {
    reason = std::strerror(errno);
    written = false;
  }
  if (!written) {
    file.Close();
    ::unlink(name.c_str());
    return false;
  }
  return true;
}

void ResetSampleReports() {
  g_reportedFiles.clear();
  g_writeOutFailing = false;
}

bool ReadTempSamples(int32_t slot, int64_t offset, int32_t count, int16_t* out) {
  if (count <= 0) return true;
  if (const std::vector<int16_t>* writing = SamplesBeingWritten(slot)) {
    // The file is still being written: the same samples are at hand in memory.
    const auto first = static_cast<size_t>(std::max<int64_t>(offset, 0) / 2);
    const size_t wanted = static_cast<size_t>(count);
    const size_t kept = first < writing->size() ? std::min(wanted, writing->size() - first) : 0;
    std::copy_n(writing->data() + first, kept, out);
    std::fill(out + kept, out + wanted, int16_t{0});
    return kept == wanted;
  }
  static const std::string kUnknown;
  const std::string& name = ValidSlot(slot) ? TempFileTable[slot].FileName : kUnknown;
  std::string reason = "the file is not known";
  size_t got = 0;
  const size_t wanted = 2 * static_cast<size_t>(count);
  if (!name.empty()) got = TempFiles().Read(slot, name, offset, out, wanted, reason);
  if (got == wanted) return true;
  std::memset(reinterpret_cast<char*>(out) + (got & ~size_t{1}), 0, wanted - (got & ~size_t{1}));
  ReportUnreadableFile(name, reason);
  return false;
}

int32_t WriteToNewSlot(int32_t block) {
  const int32_t slot = NewTempFileSlot();
  const std::string name = TempFileTable[slot].FileName;
  std::string reason;
  const BlockRecord& record = BlockTable[block];
  if (!WriteSampleFile(name, record.Data.data(), record.Length, false, reason)) {
    ReportWriteFailure(name, reason);
    TempFileTable[slot].FileName.clear();
    return 0;
  }
  NoteWriteSucceeded();
  TempFileTable[slot].UseCount = 1;
  return slot;
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

}  // namespace block_list

using namespace block_list;

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

namespace {

// Whether offsets first..last of the left and the right block lie side by side in one
// stereo source file, so that one read of its frames gives both.
bool PairInOneSource(int32_t leftBlock, int32_t rightBlock, int32_t first, int32_t last) {
  if (!ValidBlock(leftBlock) || !ValidBlock(rightBlock)) return false;
  const BlockRecord& a = BlockTable[leftBlock];
  const BlockRecord& b = BlockTable[rightBlock];
  return a.Kind == BlockOrgFile && b.Kind == BlockOrgFile && a.FileRef == b.FileRef &&
         a.Length == b.Length && ValidOriginal(a.FileRef) && FileChannels(a.FileRef) == 2 &&
         b.FilePosition == a.FilePosition + SampleBytes(a.FileRef) && first >= 0 && first <= last &&
         last < a.Length;
}

}  // namespace

void ReadBlockPairRange(int32_t leftBlock, int32_t rightBlock, int32_t first, int32_t last,
                        int16_t* left, int16_t* right) {
  if (!PairInOneSource(leftBlock, rightBlock, first, last)) {
    ReadBlockRange(leftBlock, first, last, left);
    ReadBlockRange(rightBlock, first, last, right);
    return;
  }
  const BlockRecord& record = BlockTable[leftBlock];
  ReadOriginalSamples(
      record.FileRef,
      record.FilePosition - 1 + static_cast<int64_t>(first) * OriginalFrameBytes(record.FileRef),
      last - first + 1, left, right);
}

void ReadBlockPairFrames(int32_t leftBlock, int32_t rightBlock, int32_t first, int32_t last,
                         int16_t* frames) {
  const int32_t count = last - first + 1;
  if (count <= 0) return;
  if (PairInOneSource(leftBlock, rightBlock, first, last) &&
      SampleBytes(BlockTable[leftBlock].FileRef) == 2) {
    // A 16-bit stereo file holds the frames as they are wanted: read straight into place.
    const BlockRecord& record = BlockTable[leftBlock];
    const size_t wanted = 4 * static_cast<size_t>(count);
    std::string reason;
    if (OriginalFiles().Read(record.FileRef, OrgFileTable[record.FileRef].FileName,
                             record.FilePosition - 1 + 4 * static_cast<int64_t>(first), frames,
                             wanted, reason) == wanted) {
      return;
    }
    // Cut short: the sample-wise read below silences and reports what is missing.
  }
  std::vector<int16_t> left(static_cast<size_t>(count));
  std::vector<int16_t> right(static_cast<size_t>(count));
  ReadBlockPairRange(leftBlock, rightBlock, first, last, left.data(), right.data());
  for (size_t k = 0; k < left.size(); ++k) {
    frames[2 * k] = left[k];
    frames[2 * k + 1] = right[k];
  }
}

void ReadBlockRange(int32_t block, int32_t first, int32_t last, std::vector<int16_t>& out) {
  out.assign(static_cast<size_t>(std::max(last - first + 1, 0)), 0);
  ReadBlockRange(block, first, last, out.data());
}

}  // namespace quorvane
