#include "editing/SlideLoudness.h"

#include <ebur128.h>

#include <algorithm>
#include <cmath>
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

// Feeds positions first..last of the document to the loudness meter (interleaved) and to
// one true-peak meter per channel, in full-scale units: 8-bit values count against 128.
void FeedStretch(FileMemoClass& document, int32_t first, int32_t last, ebur128_state* meter,
                 std::vector<TruePeakMeter>& peaks, float progressBase, float progressShare) {
  const int32_t channels = document.WavFmtChannel;
  const float scale = document.WavFmtBits == 8 ? 1.0F / 128 : 1.0F / 32768;
  std::vector<int16_t> left;
  std::vector<int16_t> right;
  std::vector<float> frames(static_cast<size_t>(kFramesPerRead) * 2);
  std::vector<float> leftValues(static_cast<size_t>(kFramesPerRead));
  std::vector<float> rightValues(static_cast<size_t>(kFramesPerRead));
  for (int32_t from = first; from <= last; from += kFramesPerRead) {
    const int32_t count = std::min(kFramesPerRead, last - from + 1);
    const auto frameCount = static_cast<size_t>(count);
    document.QuickBuffGet(from, count, channels == 2 ? 0 : 1, left, right);
    for (size_t k = 0; k < frameCount; ++k) leftValues[k] = left[k + 1] * scale;
    if (channels == 2) {
      for (size_t k = 0; k < frameCount; ++k) {
        rightValues[k] = right[k + 1] * scale;
        frames[2 * k] = leftValues[k];
        frames[2 * k + 1] = rightValues[k];
      }
      peaks[1].Add(rightValues.data(), frameCount);
    }
    peaks[0].Add(leftValues.data(), frameCount);
    const float* interleaved = channels == 2 ? frames.data() : leftValues.data();
    if (ebur128_add_frames_float(meter, interleaved, frameCount) != EBUR128_SUCCESS) {
      throw std::runtime_error("the loudness meter refused the samples");
    }
    UserInterface().Progress().SetCurrentProgress(
        progressBase + progressShare * static_cast<float>(from + count - first) /
                           static_cast<float>(last - first + 1));
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
