#include "editing/SampleMapping.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "core/ErrorReport.h"
#include "core/Numbers.h"
#include "storage/BlockCarrBuffClass.h"
#include "storage/BlockList.h"
#include "storage/BlockPeaks.h"

namespace quorvane {

namespace {

constexpr int32_t kTableZero = 32768;

// A new block of the carrier's block `block`, its samples mapped through the table.
int32_t MappedBlock(int32_t block, const SampleTable& table, const EffectProgress& progress) {
  const BlockRecord& source = RecordOf(block);
  const int32_t start = source.Start;
  const int32_t length = source.Length;
  if (source.Kind == BlockSilence && table[kTableZero] == 0) {
    const int32_t firstStep = (start + kProgressStep - 1) / kProgressStep * kProgressStep;
    for (int32_t i = firstStep; i < start + length; i += kProgressStep) progress.Set(i);
    return CopyBlock(block);
  }
  const int32_t mapped = NewBlock(length, BlockMemory);
  if (mapped == 0) ThrowError(kErrorOutOfMemory, "Out of memory");
  SetBlockStart(mapped, start);
  int16_t* samples = WritableSamples(mapped).data();
  ReadBlockRange(block, 0, length - 1, samples);
  // The summary is made run by run while the mapped samples are still in the cache.
  PeakRuns::Builder peaks;
  for (int32_t first = start; first < start + length;) {
    const int32_t last = EffectProgress::RunEnd(first, start + length - 1);
    for (int16_t* at = samples + (first - start); at <= samples + (last - start); ++at) {
      *at = table[static_cast<size_t>(*at + kTableZero)];
    }
    peaks.Add(samples + (first - start), static_cast<size_t>(last - first + 1));
    progress.Reached(last);
    first = last + 1;
  }
  GiveBlockPeaks(mapped, peaks.Finish());
  return mapped;
}

}  // namespace

int32_t FullScale(int32_t bits) { return bits == 8 ? 127 : 32767; }

int32_t LowerLimit(int32_t bits) { return bits == 8 ? -128 : -32768; }

SampleTable GainTable(double gain, int32_t bits) {
  SampleTable table{};
  const int32_t upper = FullScale(bits);
  const int32_t lower = LowerLimit(bits);
  for (int32_t s = -32768; s <= 32767; ++s) {
    const int32_t value = std::clamp(RoundHalfEven(gain * s), lower, upper);
    table[static_cast<size_t>(s + kTableZero)] = static_cast<int16_t>(value);
  }
  return table;
}

void MapCarrierSamples(BlockCarrBuffClass& carrier, const SampleTable& table,
                       const EffectProgress& progress) {
  std::vector<int32_t> blocks;
  carrier.BuffBlocksGet(blocks);
  std::vector<int32_t> mapped;
  mapped.reserve(blocks.size());
  try {
    for (const int32_t block : blocks) mapped.push_back(MappedBlock(block, table, progress));
  } catch (...) {
    for (const int32_t block : mapped) FreeBlock(block);
    throw;
  }
  carrier.BuffBlocksPutFresh(mapped);
}

int32_t CarrierPeak(const BlockCarrBuffClass& carrier, const EffectProgress& progress) {
  std::vector<int32_t> blocks;
  carrier.BuffBlocksGet(blocks);
  std::vector<int16_t> run(kProgressStep);
  int32_t peak = 0;
  for (const int32_t block : blocks) {
    const int32_t start = RecordOf(block).Start;
    const int32_t end = start + RecordOf(block).Length - 1;
    for (int32_t first = start; first <= end;) {
      const int32_t last = EffectProgress::RunEnd(first, end);
      if (RecordOf(block).Kind != BlockSilence) {
        ReadBlockRange(block, first - start, last - start, run.data());
        for (int32_t k = 0; k <= last - first; ++k) {
          peak = std::max(peak, std::abs(int32_t{run[static_cast<size_t>(k)]}));
        }
      }
      progress.Reached(last);
      first = last + 1;
    }
  }
  return peak;
}

}  // namespace quorvane
