#include "storage/BlockPeaks.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "storage/BlockListParts.h"
#include "storage/BlockSampleIO.h"
#include "storage/PeakBuilder.h"

namespace quorvane {

namespace {

void AskForOriginal(int32_t entry, bool inView) {
  const OrgFileEntry& file = OrgFileTable[static_cast<size_t>(entry)];
  if (file.FirstByte < 1 || file.LastByte < file.FirstByte) return;
  const int32_t channels = block_list::FileChannels(entry);
  std::vector<std::string> summaries;
  for (int32_t channel = 0; channel < channels; ++channel) {
    summaries.push_back(block_list::OriginalPeaksFile(file.Serial, channel));
  }
  RequestPeaks(PeakJob{true, entry, file.Serial, file.FileName, file.FirstByte - 1,
                       int64_t{file.LastByte} - file.FirstByte + 1, channels,
                       block_list::SampleBytes(entry), std::move(summaries)},
               inView);
}

// Reads the block's head and tail runs, which a file's summary shares with samples
// outside the block, from the samples themselves, once.
void ReadEdgePeaks(int32_t block, int32_t headLength, int32_t tailFrom) {
  BlockRecord& record = BlockTable[block];
  if (record.EdgePeaksRead) return;
  std::vector<int16_t> samples;
  const auto peakOf = [&](int32_t from, int32_t count, int16_t* pair) {
    if (count <= 0) return;
    samples.resize(static_cast<size_t>(count));
    ReadBlockRange(block, from, from + count - 1, samples.data());
    const auto [low, high] = std::minmax_element(samples.begin(), samples.end());
    pair[0] = *low;
    pair[1] = *high;
  };
  peakOf(0, headLength, record.EdgePeaks);
  peakOf(tailFrom, record.Length - tailFrom, record.EdgePeaks + 2);
  record.EdgePeaksRead = true;
}

}  // namespace

void RequestAllPeaks() {
  for (int32_t entry = 1; entry < static_cast<int32_t>(OrgFileTable.size()); ++entry) {
    const OrgFileEntry& file = OrgFileTable[static_cast<size_t>(entry)];
    if (file.UseCount > 0 && !file.Peaks) AskForOriginal(entry, false);
  }
}

namespace block_list {

void KeepPeaksInFile(int32_t block, int32_t slot) {
  BlockRecord& record = BlockTable[block];
  TempFileSlot& file = TempFileTable[slot];
  file.Peaks = record.Peaks;
  if (!record.Peaks || record.Peaks->InFile()) return;
  const std::string path = TempPeaksFile(file.FileName);
  if (path.empty() || !record.Peaks->Save(path)) return;
  if (std::optional<PeakRuns> kept = PeakRuns::Load(path)) {
    record.Peaks = std::make_shared<const PeakRuns>(std::move(*kept));
    file.Peaks = record.Peaks;
  }
}

}  // namespace block_list

int64_t PeakSummaryBytes(bool inFiles) {
  std::set<const void*> counted;
  int64_t bytes = 0;
  const auto count = [&](const PeakRuns* runs) {
    if (runs != nullptr && runs->InFile() == inFiles && counted.insert(runs).second) {
      bytes += static_cast<int64_t>(runs->Bytes());
    }
  };
  for (const BlockRecord& record : BlockTable) count(record.Peaks.get());
  for (const TempFileSlot& slot : TempFileTable) count(slot.Peaks.get());
  for (const OrgFileEntry& file : OrgFileTable) {
    if (file.Peaks) {
      for (const PeakRuns& runs : *file.Peaks) count(&runs);
    }
  }
  return bytes;
}

void GiveBlockPeaks(int32_t block, PeakRuns runs) {
  if (!block_list::ValidBlock(block) || runs.Samples() != BlockTable[block].Length) return;
  BlockTable[block].Peaks = std::make_shared<const PeakRuns>(std::move(runs));
}

void SummarizeBlock(int32_t block) {
  if (!block_list::ValidBlock(block)) return;
  BlockRecord& record = BlockTable[block];
  if (record.Peaks || record.Length < 1 ||
      record.Data.size() != static_cast<size_t>(record.Length)) {
    return;
  }
  record.Peaks = std::make_shared<const PeakRuns>(
      PeakRuns::Of(record.Data.data(), static_cast<size_t>(record.Length)));
}

void BlockPeakReader::Cover(int32_t first, int32_t last, PeakPair& into) const {
  if (runs_ == nullptr) {
    if (silence_) Widen(into, PeakPair{0, 0});
    return;
  }
  if (first < headLength_) Widen(into, head_);
  if (last >= tailFrom_ && tailFrom_ < length_) Widen(into, tail_);
  const int32_t a = std::max(first, headLength_);
  const int32_t b = std::min(last, tailFrom_ - 1);
  if (a <= b) runs_->Cover(base_ + a, base_ + b, into);
}

void BlockPeakReader::ReadFromFile(int32_t block, const PeakRuns& runs, int64_t base) {
  const int32_t length = BlockTable[block].Length;
  runs_ = &runs;
  base_ = base;
  headLength_ =
      static_cast<int32_t>(std::min<int64_t>(length, (kPeakRun - base % kPeakRun) % kPeakRun));
  tailFrom_ = length - static_cast<int32_t>(
                           std::min<int64_t>(length - headLength_, (base + length) % kPeakRun));
  ReadEdgePeaks(block, headLength_, tailFrom_);
  const BlockRecord& record = BlockTable[block];
  head_ = PeakPair{record.EdgePeaks[0], record.EdgePeaks[1]};
  tail_ = PeakPair{record.EdgePeaks[2], record.EdgePeaks[3]};
}

bool BlockPeakReader::Prepare(int32_t block, bool inView) {
  *this = BlockPeakReader();
  if (!block_list::ValidBlock(block)) return true;
  const BlockRecord& record = BlockTable[block];
  length_ = record.Length;
  tailFrom_ = length_;
  if (record.Kind == BlockSilence) {
    silence_ = true;
    return true;
  }
  if (!record.Peaks && IsResidentKind(record.Kind)) SummarizeBlock(block);
  if (record.Peaks) {
    runs_ = record.Peaks.get();  // the block's very own samples from offset 0
    return true;
  }
  if (record.Kind == BlockFile && block_list::ValidSlot(record.FileRef)) {
    const TempFileSlot& slot = TempFileTable[static_cast<size_t>(record.FileRef)];
    if (slot.Peaks) {
      ReadFromFile(block, *slot.Peaks, (record.FilePosition - 1) / 2);
      return true;
    }
    RequestPeaks(PeakJob{false,
                         record.FileRef,
                         slot.Serial,
                         slot.FileName,
                         0,
                         0,
                         1,
                         2,
                         {block_list::TempPeaksFile(slot.FileName)}},
                 inView);
    return false;
  }
  if (record.Kind == BlockOrgFile && block_list::ValidOriginal(record.FileRef)) {
    const OrgFileEntry& file = OrgFileTable[static_cast<size_t>(record.FileRef)];
    if (!file.Peaks) {
      AskForOriginal(record.FileRef, inView);
      return false;
    }
    const int32_t sampleBytes = block_list::SampleBytes(record.FileRef);
    const int32_t frameBytes = sampleBytes * block_list::FileChannels(record.FileRef);
    const int32_t offset = record.FilePosition - file.FirstByte;
    const size_t channel = static_cast<size_t>(offset % frameBytes / sampleBytes);
    if (offset < 0 || channel >= file.Peaks->size()) return false;
    ReadFromFile(block, (*file.Peaks)[channel], offset / frameBytes);
    return true;
  }
  return false;
}

}  // namespace quorvane
