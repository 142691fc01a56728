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
#include <utility>
#include <vector>

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

// One slide being measured: its meters, how far its reading has got, and the blocks read
// for it. Each block is measured in a thread of its own (its true peak, then the loudness
// meter's filter, which takes most of the time) while the next is read; each hand-over
// waits for the block before, so that the meters see the blocks in order.
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
    for (std::vector<int16_t>& block : frames) {
      block.resize(static_cast<size_t>(kFramesPerRead) * peaks.size());
    }
  }

  bool Reading() const { return next <= last; }

  // Reads the next block, interleaved in 16-bit full scale (8-bit values count against
  // 128, so they are scaled by 256), and hands it over. Returns the frames read.
  int32_t FeedNext(FileMemoClass& document, std::vector<int16_t>& left,
                   std::vector<int16_t>& right) {
    const size_t channels = peaks.size();
    const int16_t scale = document.WavFmtBits == 8 ? 256 : 1;
    const int32_t count = std::min(kFramesPerRead, last - next + 1);
    const auto frameCount = static_cast<size_t>(count);
    std::vector<int16_t>& block = frames[current];
    document.QuickBuffGet(next, count, channels == 2 ? 0 : 1, left, right);
    for (size_t channel = 0; channel < channels; ++channel) {
      const int16_t* samples = (channel == 0 ? left : right).data() + 1;
      for (size_t k = 0; k < frameCount; ++k) {
        block[k * channels + channel] = static_cast<int16_t>(samples[k] * scale);
      }
    }
    WaitForMeter();
    measured =
        std::async(std::launch::async, &SlideMeasure::Measure, this, std::cref(block), frameCount);
    current = 1 - current;
    next += count;
    return count;
  }

  // The true peak and the loudness meter over one block; false when the meter refuses it.
  bool Measure(const std::vector<int16_t>& block, size_t frameCount) {
    const size_t channels = peaks.size();
    for (size_t channel = 0; channel < channels; ++channel) {
      peaks[channel].Add(block.data() + channel, channels, frameCount);
    }
    return ebur128_add_frames_short(meter.get(), block.data(), frameCount) == EBUR128_SUCCESS;
  }

  void WaitForMeter() {
    if (measured.valid() && !measured.get()) {
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
  std::array<std::vector<int16_t>, 2> frames;
  size_t current = 0;
  std::future<bool> measured;
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
  // measured side by side, so that two meters work at once while this thread only reads.
  constexpr size_t kSideBySide = 2;
  int64_t total = 0;
  for (const int32_t slide : slides) {
    total +=
        std::max(SlideLastPosition(slide, document.WavWaveINos) - SlideFirstPosition(slide) + 1, 0);
  }
  std::vector<int16_t> left;
  std::vector<int16_t> right;
  // A slide read to its end makes room for the next one, so that both meters stay busy
  // however the slides differ in length; results keep the order of `slides`.
  std::vector<SlideLoudness> results(slides.size());
  std::vector<std::pair<size_t, std::unique_ptr<SlideMeasure>>> measuring;
  size_t begun = 0;
  int64_t done = 0;
  while (begun < slides.size() || !measuring.empty()) {
    for (; measuring.size() < kSideBySide && begun < slides.size(); ++begun) {
      measuring.emplace_back(begun, std::make_unique<SlideMeasure>(document, slides[begun]));
    }
    for (const auto& [index, measure] : measuring) {
      if (!measure->Reading()) continue;
      done += measure->FeedNext(document, left, right);
      UserInterface().Progress().SetCurrentProgress(static_cast<float>(done) /
                                                    static_cast<float>(total));
    }
    std::erase_if(measuring, [&results](const auto& entry) {
      if (entry.second->Reading()) return false;
      results[entry.first] = entry.second->Finish();
      return true;
    });
  }
  return results;
}

}  // namespace quorvane
