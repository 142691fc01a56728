#include "storage/BlockPeaks.h"

#include <algorithm>
#include <memory>
#include <set>
#include <vector>

#include "storage/BlockListParts.h"
#include "storage/BlockSampleIO.h"
#include "storage/PeakBuilder.h"

namespace quorvane {

namespace {

void AskForOriginal(int32_t entry, bool inView) {
  const OrgFileEntry& file = OrgFileTable[static_cast<size_t>(entry)];
  if (file.FirstByte < 1 || file.LastByte < file.FirstByte) return;
  RequestPeaks(PeakJob{true, entry, file.Serial, file.FileName, file.FirstByte - 1,
                       int64_t{file.LastByte} - file.FirstByte + 1, block_list::FileChannels(entry),
                       block_list::SampleBytes(entry)},
               inView);
}

// The block's samples at stream indexes base.. of a file summary: whole runs from the
// summary, the runs it shares with other samples at its head and tail from the samples
// themselves, read once, so that a column never shows audio that is not in the document.
void CoverFromFile(int32_t block, const PeakRuns& runs, int64_t base, int32_t first, int32_t last,
                   PeakPair& into) {
  BlockRecord& record = BlockTable[block];
  const int32_t length = record.Length;
  const auto headLength =
      static_cast<int32_t>(std::min<int64_t>(length, (kPeakRun - base % kPeakRun) % kPeakRun));
  const auto tailLength =
      static_cast<int32_t>(std::min<int64_t>(length - headLength, (base + length) % kPeakRun));
  const int32_t tailFrom = length - tailLength;
  if (!record.EdgePeaksRead) {
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
    peakOf(tailFrom, tailLength, record.EdgePeaks + 2);
    record.EdgePeaksRead = true;
  }
  if (first < headLength) Widen(into, PeakPair{record.EdgePeaks[0], record.EdgePeaks[1]});
  if (last >= tailFrom && tailLength > 0) {
    Widen(into, PeakPair{record.EdgePeaks[2], record.EdgePeaks[3]});
  }
  const int32_t a = std::max(first, headLength);
  const int32_t b = std::min(last, tailFrom - 1);
  if (a <= b) runs.Cover(base + a, base + b, into);
}

}  // namespace

void RequestAllPeaks() {
  for (int32_t entry = 1; entry < static_cast<int32_t>(OrgFileTable.size()); ++entry) {
    const OrgFileEntry& file = OrgFileTable[static_cast<size_t>(entry)];
    if (file.UseCount > 0 && !file.Peaks) AskForOriginal(entry, false);
  }
}

int64_t PeakSummaryBytes() {
  std::set<const void*> counted;
  int64_t bytes = 0;
  const auto count = [&](const PeakRuns* runs) {
    if (runs != nullptr && counted.insert(runs).second)
      bytes += static_cast<int64_t>(runs->Bytes());
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

bool CoverBlock(int32_t block, int32_t first, int32_t last, PeakPair& into, bool inView) {
  if (!block_list::ValidBlock(block)) return true;
  const BlockRecord& record = BlockTable[block];
  if (record.Kind == BlockSilence) {
    Widen(into, PeakPair{0, 0});
    return true;
  }
  if (!record.Peaks && IsResidentKind(record.Kind)) SummarizeBlock(block);
  if (record.Peaks) {
    record.Peaks->Cover(first, last, into);
    return true;
  }
  if (record.Kind == BlockFile && block_list::ValidSlot(record.FileRef)) {
    const TempFileSlot& slot = TempFileTable[static_cast<size_t>(record.FileRef)];
    if (slot.Peaks) {
      CoverFromFile(block, *slot.Peaks, (record.FilePosition - 1) / 2, first, last, into);
      return true;
    }
    RequestPeaks(PeakJob{false, record.FileRef, slot.Serial, slot.FileName, 0, 0, 1, 2}, inView);
    return false;
  }
  if (record.Kind == BlockOrgFile && block_list::ValidOriginal(record.FileRef)) {
    const OrgFileEntry& file = OrgFileTable[static_cast<size_t>(record.FileRef)];
    if (file.Peaks) {
      const int32_t sampleBytes = block_list::SampleBytes(record.FileRef);
      const int32_t frameBytes = sampleBytes * block_list::FileChannels(record.FileRef);
      const int32_t offset = record.FilePosition - file.FirstByte;
      const size_t channel = static_cast<size_t>(offset % frameBytes / sampleBytes);
      if (offset >= 0 && channel < file.Peaks->size()) {
        CoverFromFile(block, (*file.Peaks)[channel], offset / frameBytes, first, last, into);
        return true;
      }
      return false;
    }
    AskForOriginal(record.FileRef, inView);
    return false;
  }
  return false;
}

}  // namespace quorvane
