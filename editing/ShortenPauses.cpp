#include "editing/ShortenPauses.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "core/Interaction.h"
#include "core/Numbers.h"
#include "core/ProjectTables.h"
#include "storage/FileMemoClass.h"
#include "storage/JournalOperation.h"

namespace quorvane {

namespace {

constexpr const char* kUndoName = "Shorten Pauses";
constexpr double kWindowSeconds = 0.02;
// The edges of a pause are found to this step, inside the window that holds them.
constexpr double kEdgeStepSeconds = 0.002;
constexpr int32_t kReadFrames = 1 << 16;

struct Stretch {
  int32_t first = 0;
  int32_t last = 0;
  int32_t Length() const { return last - first + 1; }
};

// Reads the document's frames and tells, per piece of `step` frames, whether its mean
// square (over every channel) is at most `quietSquare`.
class QuietMeter {
 public:
  QuietMeter(FileMemoClass& document, double quietSquare)
      : document_(document), channels_(document.WavFmtChannel == 2 ? 2 : 1), limit_(quietSquare) {}

  bool Quiet(int32_t first, int32_t count) {
    frames_.resize(static_cast<size_t>(count) * static_cast<size_t>(channels_));
    document_.QuickFramesGet(first, count, frames_.data());
    return QuietIn(frames_.data(), count);
  }

  bool QuietIn(const int16_t* frames, int32_t count) const {
    int64_t sum = 0;
    const size_t values = static_cast<size_t>(count) * static_cast<size_t>(channels_);
    for (size_t i = 0; i < values; ++i) sum += int64_t{frames[i]} * frames[i];
    return static_cast<double>(sum) <= limit_ * static_cast<double>(values);
  }

  int32_t Channels() const { return channels_; }

 private:
  FileMemoClass& document_;
  int32_t channels_;
  double limit_;
  std::vector<int16_t> frames_;
};

// The quiet stretches of from..to that are longer than `longest`, their edges found to the
// step; none, with `cancelled` set, when the person cancels.
std::vector<Stretch> FindPauses(FileMemoClass& document, int32_t from, int32_t to,
                                double quietSquare, int32_t longest, bool& cancelled) {
  const int32_t rate = std::max(document.WavFmtFreq, 1);
  const int32_t window = std::max(1, RoundHalfEven(kWindowSeconds * rate));
  const int32_t step = std::max(1, RoundHalfEven(kEdgeStepSeconds * rate));
  QuietMeter meter(document, quietSquare);
  ProgressDisplay& progress = UserInterface().Progress();
  std::vector<Stretch> pauses;
  std::vector<int16_t> frames;
  int32_t quietFrom = 0;  // first position of the quiet windows so far; 0: none
  const auto close = [&](int32_t end) {
    if (quietFrom == 0) return;
    Stretch pause{quietFrom, end};
    quietFrom = 0;
    // The windows on either side were loud as a whole; the quiet reaches into them.
    while (pause.first - step >= from && meter.Quiet(pause.first - step, step)) pause.first -= step;
    while (pause.last + step <= to && meter.Quiet(pause.last + 1, step)) pause.last += step;
    if (pause.Length() > longest) pauses.push_back(pause);
  };
  const int32_t chunk = std::max(window, kReadFrames / window * window);
  for (int32_t at = from; at <= to; at += chunk) {
    const int32_t count = std::min(chunk, to - at + 1);
    frames.resize(static_cast<size_t>(count) * static_cast<size_t>(meter.Channels()));
    document.QuickFramesGet(at, count, frames.data());
    for (int32_t offset = 0; offset < count; offset += window) {
      const int32_t length = std::min(window, count - offset);
      const bool quiet = meter.QuietIn(
          frames.data() + static_cast<size_t>(offset) * static_cast<size_t>(meter.Channels()),
          length);
      if (quiet && quietFrom == 0) quietFrom = at + offset;
      if (!quiet) close(at + offset - 1);
    }
    progress.SetCurrentProgress(static_cast<float>(at + count - from) /
                                static_cast<float>(to - from + 1));
    if (progress.CancelRequested()) {
      cancelled = true;
      return {};
    }
  }
  close(to);
  return pauses;
}

// The pause split where slides begin inside it: each side is shortened on its own.
std::vector<Stretch> SplitAtSlides(const Stretch& pause) {
  const ProjectData& project = Project();
  std::vector<Stretch> parts;
  Stretch part = pause;
  for (int32_t n = 2; n <= project.SlideCount; ++n) {
    const int32_t start = project.Slides[static_cast<size_t>(n)].Start;
    if (start > part.first && start <= part.last) {
      parts.push_back({part.first, start - 1});
      part.first = start;
    }
  }
  parts.push_back(part);
  return parts;
}

}  // namespace

std::optional<std::string> RefusePauseValues(const PauseShortening& values) {
  const auto text = [](double value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%g", value);
    return std::string(buffer);
  };
  if (!(values.longestSeconds >= 0.1 && values.longestSeconds <= 10)) {
    return "Invalid longest pause" + std::string(kCrLf) + "Entered longest pause is " +
           text(values.longestSeconds) + kCrLf + "(0.1 to 10.0 seconds is allowed)";
  }
  if (!(values.quietBelowDb >= -90 && values.quietBelowDb <= -10)) {
    return "Invalid quiet level" + std::string(kCrLf) + "Entered quiet level is " +
           text(values.quietBelowDb) + " dBFS" + kCrLf + "(-90 to -10 dBFS is allowed)";
  }
  return std::nullopt;
}

ShortenedPauses ShortenPauses(FileMemoClass& document, int32_t from, int32_t to,
                              const PauseShortening& values) {
  JournalOperation operation("shorten-pauses");
  ShortenedPauses result;
  if (from < 1 || to > document.WavWaveINos || from > to || RefusePauseValues(values)) {
    return result;
  }
  const BusyPointer busy;
  ProgressDisplay& progress = UserInterface().Progress();
  progress.SetCurrentProgress(0.0F);
  progress.SetIsVisible(true);
  const double fullScale = document.WavFmtBits == 8 ? 127.0 : 32767.0;
  const double quiet = fullScale * std::pow(10.0, values.quietBelowDb / 20.0);
  const int32_t longest = std::max(1, RoundHalfEven(values.longestSeconds * document.WavFmtFreq));
  std::vector<Stretch> removals;
  for (const Stretch& pause :
       FindPauses(document, from, to, quiet * quiet, longest, result.cancelled)) {
    for (const Stretch& part : SplitAtSlides(pause)) {
      if (part.Length() <= longest) continue;
      // The middle goes: half the longest pause stays on either side.
      const int32_t head = longest / 2;
      removals.push_back({part.first + head, part.last - (longest - head)});
    }
  }
  if (!removals.empty()) {
    document.SlidesAndMarkersBeingChanged();
    const int32_t channels = document.WavFmtChannel == 2 ? 0 : 1;
    ProjectData& project = Project();
    // From the last, so that the earlier ones keep their positions.
    for (auto removal = removals.rbegin(); removal != removals.rend(); ++removal) {
      for (int32_t m = 1; m <= project.MarkerCount; ++m) {
        int32_t& position = project.Markers[static_cast<size_t>(m)].Position;
        if (position >= removal->first && position <= removal->last) position = removal->last + 1;
      }
      document.WaveDataDelete(removal->first, channels, removal->Length(), kUndoName,
                              removal == std::prev(removals.rend()));
      result.removedSeconds += static_cast<double>(removal->Length()) / document.WavFmtFreq;
    }
    SortMarkers();
    result.pauses = static_cast<int32_t>(removals.size());
    operation.Done({std::to_string(from), std::to_string(to), JournalNumber(values.longestSeconds),
                    JournalNumber(values.quietBelowDb)});
  }
  progress.SetIsVisible(false);
  return result;
}

std::string ShortenedPausesJson(const ShortenedPauses& result) {
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.3f", result.removedSeconds);
  return "{\"pauses\":" + std::to_string(result.pauses) + ",\"removed_seconds\":" + seconds + "}";
}

}  // namespace quorvane
