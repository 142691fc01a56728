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
  runs.fine_ = std::move(fine_);
  runs.coarse_.assign((runs.fine_.size() + kPeakRunsPerCoarse - 1) / kPeakRunsPerCoarse, kNoPeak);
  for (size_t k = 0; k < runs.fine_.size(); ++k) {
    Widen(runs.coarse_[k / kPeakRunsPerCoarse], runs.fine_[k]);
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
  int64_t run = first / kPeakRun;
  const int64_t lastRun = last / kPeakRun;
  while (run <= lastRun) {
    if (run % kPeakRunsPerCoarse == 0 && run + kPeakRunsPerCoarse - 1 <= lastRun) {
      Widen(into, coarse_[static_cast<size_t>(run / kPeakRunsPerCoarse)]);
      run += kPeakRunsPerCoarse;
    } else {
      Widen(into, fine_[static_cast<size_t>(run)]);
      ++run;
    }
  }
}

}  // namespace quorvane
