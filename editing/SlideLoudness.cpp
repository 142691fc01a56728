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

// Frames read and handed to the meter at a time: large enough that the costs of each read
// and each hand-over to the meter's thread vanish.
constexpr int32_t kFramesPerRead = 1 << 17;

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

// One slide being measured: its meters, how far its reading has got, and the blocks it
// hands to its loudness meter, which works on one block in a thread of its own while the
// next is read. Each hand-over waits for the block before.
struct SlideMeasure {
  SlideMeasure(FileMemoClass& document, int32_t slide)
      : first(SlideFirstPosition(slide)),
        next(first),
        last(SlideLastPosition(slide, document.WavWaveINos)),
        peaks(static_cast<size_t>(document.WavFmtChannel)) {
    result.slide = slide;
    result.integrated = -std::numeric_limits<double>::infinity();
    result.truePeak = -std::numeric_limits<double>::infinity();
    if (last < first) return;
    meter = NewMeter(document.WavFmtChannel, document.WavFmtFreq);
    for (std::vector<float>& block : frames) {
      block.resize(static_cast<size_t>(kFramesPerRead) * peaks.size());
    }
  }

  bool Reading() const { return next <= last; }

  // Reads the next block, measures its true peak and hands it to the loudness meter, in
  // full-scale units: 8-bit values count against 128. Returns the frames read.
  int32_t FeedNext(FileMemoClass& document, std::vector<int16_t>& left, std::vector<int16_t>& right,
                   std::vector<float>& values) {
    const auto channels = peaks.size();
    const float scale = document.WavFmtBits == 8 ? 1.0F / 128 : 1.0F / 32768;
    const int32_t count = std::min(kFramesPerRead, last - next + 1);
    const auto frameCount = static_cast<size_t>(count);
    std::vector<float>& block = frames[current];
    document.QuickBuffGet(next, count, channels == 2 ? 0 : 1, left, right);
    for (size_t channel = 0; channel < channels; ++channel) {
      const std::vector<int16_t>& samples = channel == 0 ? left : right;
      for (size_t k = 0; k < frameCount; ++k) {
        values[k] = samples[k + 1] * scale;
        block[k * channels + channel] = values[k];
      }
      peaks[channel].Add(values.data(), frameCount);
    }
    WaitForMeter();
    added = std::async(std::launch::async, AddFrames, meter.get(), std::cref(block), frameCount);
    current = 1 - current;
    next += count;
    return count;
  }

  void WaitForMeter() {
    if (added.valid() && !added.get()) {
      throw std::runtime_error("the loudness meter refused the samples");
    }
  }

  SlideLoudness Finish() {
    if (!meter) return result;
    WaitForMeter();
    double loudness = 0.0;
    if (ebur128_loudness_global(meter.get(), &loudness) == EBUR128_SUCCESS) {
      result.integrated = loudness;
    }
    float peak = 0.0F;
    for (const TruePeakMeter& channel : peaks) peak = std::max(peak, channel.Peak());
    result.truePeak = Decibels(peak);
    return result;
  }

  SlideLoudness result;
  int32_t first;
  int32_t next;
  int32_t last;
  Meter meter;
  std::vector<TruePeakMeter> peaks;
  std::array<std::vector<float>, 2> frames;
  size_t current = 0;
  std::future<bool> added;
};

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
  // The loudness meter filters sample by sample and takes most of the time: two slides are
  // measured side by side, so that two meters work at once.
  constexpr size_t kSideBySide = 2;
  int64_t total = 0;
  for (const int32_t slide : slides) {
    total +=
        std::max(SlideLastPosition(slide, document.WavWaveINos) - SlideFirstPosition(slide) + 1, 0);
  }
  std::vector<int16_t> left;
  std::vector<int16_t> right;
  std::vector<float> values(static_cast<size_t>(kFramesPerRead));
  std::vector<SlideLoudness> results;
  results.reserve(slides.size());
  int64_t done = 0;
  for (size_t at = 0; at < slides.size(); at += kSideBySide) {
    std::vector<std::unique_ptr<SlideMeasure>> measures;
    for (size_t k = at; k < std::min(at + kSideBySide, slides.size()); ++k) {
      measures.push_back(std::make_unique<SlideMeasure>(document, slides[k]));
    }
    for (bool reading = true; reading;) {
      reading = false;
      for (const auto& measure : measures) {
        if (!measure->Reading()) continue;
        done += measure->FeedNext(document, left, right, values);
        reading = true;
        UserInterface().Progress().SetCurrentProgress(static_cast<float>(done) /
                                                      static_cast<float>(total));
      }
    }
    for (const auto& measure : measures) results.push_back(measure->Finish());
  }
  return results;
}

}  // namespace quorvane
