// The peaks of the pixel columns the waveform draws, from the blocks' summaries where a
// column covers many samples and from the samples themselves where it covers few.
#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "storage/BlockList.h"
#include "storage/BlockPeaks.h"
#include "storage/FileMemoClass.h"
#include "storage/PeakBuilder.h"

namespace quorvane {

namespace {

// Below this many samples a column, the samples are read: a summary's runs would widen a
// column by up to a run on either side.
constexpr double kSummaryFromSamples = 2.0 * kPeakRun;

}  // namespace

bool FileMemoClass::ColumnPeaks(int32_t WorkChn, int32_t first, double perColumn, int32_t columns,
                                int32_t last, std::vector<PeakPair>& left,
                                std::vector<PeakPair>& right) {
  for (std::vector<PeakPair>* out : {&left, &right}) {
    out->assign(static_cast<size_t>(std::max(columns, 0)), kNoPeak);
  }
  if (columns < 1 || !(perColumn > 0.0)) return true;
  // Positions first + ceil(c * perColumn) .. first + ceil((c + 1) * perColumn) - 1 are
  // column c's.
  const auto columnStart = [&](int64_t c) {
    return first + static_cast<int64_t>(std::ceil(static_cast<double>(c) * perColumn));
  };
  last = static_cast<int32_t>(std::min<int64_t>(last, columnStart(columns) - 1));
  AdoptFinishedPeaks();
  if (perColumn < kSummaryFromSamples) {
    // Both channels in one read where they lie side by side in a source file.
    std::vector<int16_t> samples[2];
    QuickBuffGet(first, last - first + 1, WorkChn, samples[0], samples[1]);
    for (int32_t channel = 1; channel <= 2; ++channel) {
      if (!(channel == 1 ? SelectsLeft(WorkChn) : SelectsRight(WorkChn))) continue;
      const ChannelBlockList& list = channel == 1 ? left_ : right_;
      const std::vector<int16_t>& read = samples[channel - 1];  // from element 1
      std::vector<PeakPair>& out = channel == 1 ? left : right;
      const int64_t end = std::min(last, list.Length());
      for (int64_t c = 0; c < columns; ++c) {
        const int64_t a = std::max<int64_t>(columnStart(c), first);
        const int64_t b = std::min<int64_t>(columnStart(c + 1) - 1, end);
        if (a > b) continue;
        const int16_t* at = read.data() + (a - first + 1);
        const auto [low, high] = std::minmax_element(at, at + (b - a + 1));
        out[static_cast<size_t>(c)] = PeakPair{*low, *high};
      }
    }
    return true;
  }
  bool ready = true;
  for (int32_t channel = 1; channel <= 2; ++channel) {
    if (!(channel == 1 ? SelectsLeft(WorkChn) : SelectsRight(WorkChn))) continue;
    const ChannelBlockList& list = channel == 1 ? left_ : right_;
    std::vector<PeakPair>& out = channel == 1 ? left : right;
    const int32_t end = std::min(last, list.Length());
    if (first > end) continue;
    size_t from = 0;
    size_t to = 0;
    list.Overlapping(first, end, from, to);
    int64_t column = 0;
    BlockPeakReader reader;
    for (size_t slot = from; slot < to && column < columns; ++slot) {
      const int32_t block = list.Blocks()[slot];
      const int32_t start = RecordOf(block).Start;
      const int32_t blockEnd = start + RecordOf(block).Length - 1;
      ready &= reader.Prepare(block, true);
      while (column < columns) {
        const int64_t a = std::max<int64_t>(columnStart(column), start);
        const int64_t b = std::min<int64_t>(columnStart(column + 1) - 1, blockEnd);
        if (a <= b) {
          reader.Cover(static_cast<int32_t>(a - start), static_cast<int32_t>(b - start),
                       out[static_cast<size_t>(column)]);
        }
        if (columnStart(column + 1) - 1 > blockEnd) break;  // the column goes on in the next block
        ++column;
      }
    }
  }
  if (!ready) RequestAllPeaks();
  return ready;
}

}  // namespace quorvane
