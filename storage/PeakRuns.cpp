#include "storage/PeakRuns.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/FileHandle.h"
#include "platform/MappedFile.h"

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
      // A whole run in one pass over locals, which the compiler makes vector code of.
      const int16_t* at = samples + i;
      int16_t low = INT16_MAX;
      int16_t high = INT16_MIN;
      for (int32_t k = 0; k < kPeakRun; ++k) {
        low = at[k] < low ? at[k] : low;
        high = at[k] > high ? at[k] : high;
      }
      const PeakPair run{low, high};
      fine_.push_back(run);
      i += kPeakRun;
    } else {
      Take(samples[i++]);
    }
  }
  samples_ += static_cast<int64_t>(count);
}

PeakRuns PeakRuns::Builder::Finish() {
  if (inOpen_ > 0) fine_.push_back(open_);
  // Every level one after the other in one vector.
  size_t counts[kPeakLevels] = {fine_.size()};
  size_t total = counts[0];
  for (int level = 1; level < kPeakLevels; ++level) {
    counts[level] = (counts[level - 1] + kPeakLevelStep - 1) / kPeakLevelStep;
    total += counts[level];
  }
  auto all = std::make_shared<std::vector<PeakPair>>(std::move(fine_));
  all->resize(total, kNoPeak);
  size_t below = 0;
  for (int level = 1; level < kPeakLevels; ++level) {
    const size_t above = below + counts[level - 1];
    for (size_t k = 0; k < counts[level - 1]; ++k) {
      Widen((*all)[above + k / kPeakLevelStep], (*all)[below + k]);
    }
    below = above;
  }
  PeakRuns runs;
  runs.samples_ = samples_;
  runs.runs_ = total;
  size_t at = 0;
  for (int level = 0; level < kPeakLevels; ++level) {
    runs.level_[level] = all->data() + at;
    runs.count_[level] = counts[level];
    at += counts[level];
  }
  runs.owner_ = std::move(all);
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
    Widen(into, level_[level][static_cast<size_t>(run / width)]);
    run += width;
  }
}

namespace {

// A summary file: this header, then the runs of every level one after the other.
struct FileHeader {
  char magic[4] = {'Q', 'P', 'K', '1'};
  uint32_t levels = kPeakLevels;
  int64_t samples = 0;
  uint64_t counts[kPeakLevels] = {};
};

}  // namespace

bool PeakRuns::Save(const std::string& path) const {
  FileHeader header;
  header.samples = samples_;
  for (int level = 0; level < kPeakLevels; ++level) header.counts[level] = count_[level];
  // Summaries tell what the user's audio sounds like: readable by the user alone, as every
  // file of the session folder is.
  const FileHandle file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  if (!file.IsOpen()) return false;
  const auto writeAll = [&](const void* data, size_t bytes) {
    const auto* at = static_cast<const char*>(data);
    while (bytes > 0) {
      const ssize_t written = ::write(file.Descriptor(), at, bytes);
      if (written <= 0) return false;
      at += written;
      bytes -= static_cast<size_t>(written);
    }
    return true;
  };
  bool whole = writeAll(&header, sizeof header);
  for (int level = 0; level < kPeakLevels && whole; ++level) {
    whole = writeAll(level_[level], count_[level] * sizeof(PeakPair));
  }
  return whole;
}

std::optional<PeakRuns> PeakRuns::Load(const std::string& path) {
  const std::shared_ptr<const MappedFile> mapped = MappedFile::Map(path);
  if (!mapped || mapped->Size() < sizeof(FileHeader)) return std::nullopt;
  FileHeader header;
  std::memcpy(&header, mapped->Data(), sizeof header);
  if (std::memcmp(header.magic, FileHeader{}.magic, 4) != 0 || header.levels != kPeakLevels) {
    return std::nullopt;
  }
  PeakRuns runs;
  runs.samples_ = header.samples;
  size_t at = sizeof header;
  for (int level = 0; level < kPeakLevels; ++level) {
    const uint64_t count = header.counts[level];
    if (count > (mapped->Size() - at) / sizeof(PeakPair)) return std::nullopt;
    runs.level_[level] = reinterpret_cast<const PeakPair*>(mapped->Data() + at);
    runs.count_[level] = static_cast<size_t>(count);
    runs.runs_ += static_cast<size_t>(count);
    at += static_cast<size_t>(count) * sizeof(PeakPair);
  }
  size_t expected =
      static_cast<size_t>((std::max<int64_t>(header.samples, 0) + kPeakRun - 1) / kPeakRun);
  for (int level = 0; level < kPeakLevels; ++level) {
    if (runs.count_[level] != expected) return std::nullopt;
    expected = (expected + kPeakLevelStep - 1) / kPeakLevelStep;
  }
  runs.owner_ = mapped;
  runs.inFile_ = true;
  return runs;
}

}  // namespace quorvane
