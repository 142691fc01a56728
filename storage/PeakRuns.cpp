#include "storage/PeakRuns.h"

#include <algorithm>
#include <utility>

namespace quorvane {

void PeakRuns::Builder::Take(int16_t sample) {
  if (sample < open_.Min) open_.Min = sample;
  if (sample > open_.Max) open_.Max = sample;
  if (++inOpen_ == kPeakRun) {
    fine_.push_back(open_);
    open_ = kNoPeak;
    inOpen_ = 0;
  }
}

void PeakRuns::Builder::Add(const int16_t* samples, size_t count) {
  size_t i = 0;
  while (i < count) {
    if (inOpen_ == 0 && count - i >= static_cast<size_t>(kPeakRun)) {
      // A whole run in one pass, which the compiler makes vector code of.
      PeakPair run = kNoPeak;
      for (const int16_t* at = samples + i; at < samples + i + kPeakRun; ++at) {
        run.Min = std::min(run.Min, *at);
        run.Max = std::max(run.Max, *at);
      }
      fine_.push_back(run);
      i += kPeakRun;
    } else {
      Take(samples[i++]);
    }
  }
  samples_ += static_cast<int64_t>(count);
}

void PeakRuns::Builder::AddStrided(const int16_t* samples, size_t count, size_t stride) {
  for (size_t i = 0; i < count; ++i) Take(samples[i * stride]);
  samples_ += static_cast<int64_t>(count);
}

PeakRuns PeakRuns::Builder::Finish() {
  if (inOpen_ > 0) fine_.push_back(open_);
  PeakRuns runs;
  runs.samples_ = samples_;
  runs.levels_[0] = std::move(fine_);
  for (int level = 1; level < kPeakLevels; ++level) {
    const std::vector<PeakPair>& below = runs.levels_[level - 1];
    std::vector<PeakPair>& above = runs.levels_[level];
    above.assign((below.size() + kPeakLevelStep - 1) / kPeakLevelStep, kNoPeak);
    for (size_t k = 0; k < below.size(); ++k) Widen(above[k / kPeakLevelStep], below[k]);
  }
  *this = Builder();
  return runs;
}

PeakRuns PeakRuns::Of(const int16_t* samples, size_t count) {
  Builder builder;
  builder.Add(samples, count);
  return builder.Finish();
}

void PeakRuns::Cover(int64_t first, int64_t last, PeakPair& into) const {
  first = std::max<int64_t>(first, 0);
  last = std::min(last, samples_ - 1);
  if (first > last) return;
  // In runs of the lowest level: each step takes the widest run that starts here and ends
  // inside the range.
  int64_t run = first / kPeakRun;
  const int64_t lastRun = last / kPeakRun;
  while (run <= lastRun) {
    int level = 0;
    int64_t width = 1;
    while (level + 1 < kPeakLevels && run % (width * kPeakLevelStep) == 0 &&
           run + width * kPeakLevelStep - 1 <= lastRun) {
      ++level;
      width *= kPeakLevelStep;
    }
    Widen(into, levels_[level][static_cast<size_t>(run / width)]);
    run += width;
  }
}

size_t PeakRuns::Bytes() const {
  size_t runs = 0;
  for (const std::vector<PeakPair>& level : levels_) runs += level.size();
  return runs * sizeof(PeakPair);
}

}  // namespace quorvane
