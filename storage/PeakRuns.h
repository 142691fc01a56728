// The minimum and maximum of each run of samples of one stream: what the waveform draws
// when a pixel column covers many samples. Runs of kPeakRun samples, and for wider views
// runs of kPeakLevelStep of those, and so on for kPeakLevels levels, so that a column of
// any width takes a few dozen runs at most. A summary is made once, from the
// samples as they are written or read, and never changes; blocks that share samples share
// their summary.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorvane {

struct PeakPair {
  int16_t Min = 0;
  int16_t Max = 0;
};

inline constexpr int32_t kPeakRun = 256;
inline constexpr int32_t kPeakLevelStep = 8;
inline constexpr int32_t kPeakLevels = 4;

// The empty pair that any Widen replaces.
inline constexpr PeakPair kNoPeak{INT16_MAX, INT16_MIN};

// Widens `into` by `other`.
inline void Widen(PeakPair& into, PeakPair other) {
  if (other.Min < into.Min) into.Min = other.Min;
  if (other.Max > into.Max) into.Max = other.Max;
}

class PeakRuns {
 public:
  // Collects a stream given in pieces of any size.
  class Builder {
   public:
    void Add(const int16_t* samples, size_t count);
    PeakRuns Finish();

   private:
    void Take(int16_t sample);

    std::vector<PeakPair> fine_;
    PeakPair open_ = kNoPeak;
    int32_t inOpen_ = 0;
    int64_t samples_ = 0;
  };

  static PeakRuns Of(const int16_t* samples, size_t count);

  // Widens `into` by the runs that hold stream indexes first..last (0-based, inclusive):
  // every sample in the range, and at most a run's worth on either side.
  void Cover(int64_t first, int64_t last, PeakPair& into) const;

  int64_t Samples() const { return samples_; }
  size_t Bytes() const { return runs_ * sizeof(PeakPair); }
  // Whether the runs are read from a summary file rather than held in memory.
  bool InFile() const { return inFile_; }

  // Writes the summary to a file; false when it could not be written whole.
  bool Save(const std::string& path) const;
  // The summary a file holds, read from it as it is used; nothing when the file is not a
  // summary or is cut short.
  static std::optional<PeakRuns> Load(const std::string& path);

 private:
  std::shared_ptr<const void> owner_;     // what keeps the runs: a vector or a mapped file
  const PeakPair* level_[kPeakLevels]{};  // level k: runs of kPeakRun * 8^k samples
  size_t count_[kPeakLevels]{};
  size_t runs_ = 0;
  int64_t samples_ = 0;
  bool inFile_ = false;
};

}  // namespace quorvane
