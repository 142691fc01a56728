#include "editing/SlideLoudness.h"

#include <ebur128.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <future>
#include <limits>
#include <memory>
#include <stdexcept>

#include "core/Interaction.h"
#include "core/ProjectTables.h"
#include "editing/TruePeakMeter.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

namespace {

// Frames read and handed to the meter at a time: large enough that the per-call costs of
// the document and the meter vanish, small enough to stay in the cache.
constexpr int32_t kFramesPerRead = 1 << 15;

struct MeterDeleter {
  void operator()(ebur128_state* state) const { ebur128_destroy(&state); }
};
using Meter = std::unique_ptr<ebur128_state, MeterDeleter>;

Meter NewMeter(int32_t channels, int32_t rate) {
  Meter meter(ebur128_init(static_cast<unsigned>(channels), static_cast<unsigned long>(rate),
                           EBUR128_MODE_I));
  if (!meter) throw std::runtime_error("the loudness meter could not be set up");
  return meter;
}

double Decibels(double amplitude) {
  return amplitude > 0.0 ? 20.0 * std::log10(amplitude) : -std::numeric_limits<double>::infinity();
}

// Hands the interleaved frames to the loudness meter; false when it refuses them.
bool AddFrames(ebur128_state* meter, const std::vector<float>& frames, size_t count) {
  return ebur128_add_frames_float(meter, frames.data(), count) == EBUR128_SUCCESS;
}

// Feeds positions first..last of the document to the loudness meter (interleaved) and to
// one true-peak meter per channel, in full-scale units: 8-bit values count against 128.
// The loudness meter takes most of the time, so it works on one block in a second thread
// while this one reads and measures the true peak of the next; it is handed one block at a
// time, and each hand-over waits for the block before.
void FeedStretch(FileMemoClass& document, int32_t first, int32_t last, ebur128_state* meter,
                 std::vector<TruePeakMeter>& peaks, float progressBase, float progressShare) {
  const int32_t channels = document.WavFmtChannel;
  const float scale = document.WavFmtBits == 8 ? 1.0F / 128 : 1.0F / 32768;
  std::vector<int16_t> left;
  std::vector<int16_t> right;
  std::array<std::vector<float>, 2> frames;
  for (std::vector<float>& block : frames) {
    block.resize(static_cast<size_t>(kFramesPerRead) * static_cast<size_t>(channels));
  }
  std::vector<float> values(static_cast<size_t>(kFramesPerRead));
  std::future<bool> added;
  size_t current = 0;
  for (int32_t from = first; from <= last; from += kFramesPerRead) {
    const int32_t count = std::min(kFramesPerRead, last - from + 1);
    const auto frameCount = static_cast<size_t>(count);
    std::vector<float>& block = frames[current];
    document.QuickBuffGet(from, count, channels == 2 ? 0 : 1, left, right);
    for (int32_t channel = 0; channel < channels; ++channel) {
      const std::vector<int16_t>& samples = channel == 0 ? left : right;
      for (size_t k = 0; k < frameCount; ++k) {
        values[k] = samples[k + 1] * scale;
        block[k * static_cast<size_t>(channels) + static_cast<size_t>(channel)] = values[k];
      }
      peaks[static_cast<size_t>(channel)].Add(values.data(), frameCount);
    }
    if (added.valid() && !added.get()) {
      throw std::runtime_error("the loudness meter refused the samples");
    }
    added = std::async(std::launch::async, AddFrames, meter, std::cref(block), frameCount);
    current = 1 - current;
    UserInterface().Progress().SetCurrentProgress(
        progressBase + progressShare * static_cast<float>(from + count - first) /
                           static_cast<float>(last - first + 1));
  }
  if (added.valid() && !added.get()) {
    throw std::runtime_error("the loudness meter refused the samples");
  }
}

SlideLoudness Measure(FileMemoClass& document, int32_t slide, float progressBase,
                      float progressShare) {
  SlideLoudness result;
  result.slide = slide;
  result.integrated = -std::numeric_limits<double>::infinity();
  result.truePeak = -std::numeric_limits<double>::infinity();
  const int32_t first = SlideFirstPosition(slide);
  const int32_t last = SlideLastPosition(slide, document.WavWaveINos);
  if (last < first) return result;
  const Meter meter = NewMeter(document.WavFmtChannel, document.WavFmtFreq);
  std::vector<TruePeakMeter> peaks(static_cast<size_t>(document.WavFmtChannel));
  FeedStretch(document, first, last, meter.get(), peaks, progressBase, progressShare);
  double loudness = 0.0;
  if (ebur128_loudness_global(meter.get(), &loudness) == EBUR128_SUCCESS) {
    result.integrated = loudness;
  }
  float peak = 0.0F;
  for (const TruePeakMeter& channel : peaks) peak = std::max(peak, channel.Peak());
  result.truePeak = Decibels(peak);
  return result;
}

}  // namespace

int32_t SlideFirstPosition(int32_t slide) {
  return Project().Slides[static_cast<size_t>(slide)].Start;
}

int32_t SlideLastPosition(int32_t slide, int32_t documentLength) {
  return SlideEndPosition(slide, documentLength) - 1;
}

std::vector<int32_t> AllSlides() {
  std::vector<int32_t> slides;
  for (int32_t n = 1; n <= Project().SlideCount; ++n) slides.push_back(n);
  return slides;
}

std::vector<SlideLoudness> MeasureSlideLoudness(FileMemoClass& document,
                                                const std::vector<int32_t>& slides) {
  std::vector<SlideLoudness> results;
  results.reserve(slides.size());
  const float share = 1.0F / static_cast<float>(std::max<size_t>(slides.size(), 1));
  float base = 0.0F;
  for (const int32_t slide : slides) {
    results.push_back(Measure(document, slide, base, share));
    base += share;
  }
  return results;
}

}  // namespace quorvane
