#include "editing/SlideLoudness.h"

#include <ebur128.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>

#include "core/Interaction.h"
#include "core/ProjectTables.h"
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
                           EBUR128_MODE_I | EBUR128_MODE_TRUE_PEAK));
  if (!meter) throw std::runtime_error("the loudness meter could not be set up");
  return meter;
}

double Decibels(double amplitude) {
  return amplitude > 0.0 ? 20.0 * std::log10(amplitude) : -std::numeric_limits<double>::infinity();
}

// Feeds positions first..last of the document to the meter, interleaved; 8-bit values are
// moved up to the 16-bit scale so that full scale means the same to the meter.
void FeedStretch(FileMemoClass& document, int32_t first, int32_t last, ebur128_state* meter,
                 float progressBase, float progressShare) {
  const int32_t channels = document.WavFmtChannel;
  const int16_t scale = document.WavFmtBits == 8 ? 256 : 1;
  std::vector<int16_t> left;
  std::vector<int16_t> right;
  std::vector<int16_t> frames(static_cast<size_t>(kFramesPerRead) * 2);
  for (int32_t from = first; from <= last; from += kFramesPerRead) {
    const int32_t count = std::min(kFramesPerRead, last - from + 1);
    document.QuickBuffGet(from, count, channels == 2 ? 0 : 1, left, right);
    if (channels == 2) {
      for (int32_t k = 0; k < count; ++k) {
        frames[2 * static_cast<size_t>(k)] = static_cast<int16_t>(left[k + 1] * scale);
        frames[2 * static_cast<size_t>(k) + 1] = static_cast<int16_t>(right[k + 1] * scale);
      }
    } else {
      for (int32_t k = 0; k < count; ++k) frames[k] = static_cast<int16_t>(left[k + 1] * scale);
    }
    if (ebur128_add_frames_short(meter, frames.data(), static_cast<size_t>(count)) !=
        EBUR128_SUCCESS) {
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
  FeedStretch(document, first, last, meter.get(), progressBase, progressShare);
  double loudness = 0.0;
  if (ebur128_loudness_global(meter.get(), &loudness) == EBUR128_SUCCESS) {
    result.integrated = loudness;
  }
  double peak = 0.0;
  for (int32_t channel = 0; channel < document.WavFmtChannel; ++channel) {
    double channelPeak = 0.0;
    if (ebur128_true_peak(meter.get(), static_cast<unsigned>(channel), &channelPeak) ==
        EBUR128_SUCCESS) {
      peak = std::max(peak, channelPeak);
    }
  }
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
