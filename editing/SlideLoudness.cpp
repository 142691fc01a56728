#include "editing/SlideLoudness.h"

#include <ebur128.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <condition_variable>
#include <deque>
#include <limits>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
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

// What the reading thread and the slides' meter threads share: a block handed over, a
// block measured and a slide done are each told through `changed`.
struct Feed {
  std::mutex mutex;
  std::condition_variable changed;
};

// One slide being measured: how far its reading has got, and its meters on a thread of
// their own, which takes the blocks read for it in order from a short queue. The reading
// thread fills whichever slide has a free block, so that it never waits for one meter
// while another one could go on.
class SlideMeasure {
 public:
  SlideMeasure(FileMemoClass& document, int32_t slide, Feed& feed)
      : first_(SlideFirstPosition(slide)),
        next_(first_),
        last_(SlideLastPosition(slide, document.WavWaveINos)),
        feed_(feed),
        peaks_(static_cast<size_t>(document.WavFmtChannel)) {
    result_.slide = slide;
    result_.integrated = -std::numeric_limits<double>::infinity();
    result_.truePeak = -std::numeric_limits<double>::infinity();
    if (last_ < first_) return;
    meter_ = NewMeter(document.WavFmtChannel, document.WavFmtFreq);
    for (Block& block : blocks_) {
      block.frames.resize(static_cast<size_t>(kFramesPerRead) * peaks_.size());
      free_.push_back(&block);
    }
    thread_ = std::jthread([this](std::stop_token stop) { MeterLoop(stop); });
  }

  ~SlideMeasure() { StopMeter(); }
  SlideMeasure(const SlideMeasure&) = delete;
  SlideMeasure& operator=(const SlideMeasure&) = delete;

  bool Reading() const { return next_ <= last_; }

  // Under the feed's lock: a free block to read into.
  bool HasRoom() const { return !free_.empty(); }
  // Under the feed's lock: read to the end and every block measured.
  bool Measured() const { return !Reading() && (!meter_ || free_.size() == blocks_.size()); }

  // Reads the next block into a free one, interleaved in 16-bit full scale (8-bit values
  // count against 128, so they are scaled by 256), and queues it. Returns the frames read.
  int32_t FeedNext(FileMemoClass& document) {
    Block* block = nullptr;
    {
      const std::lock_guard lock(feed_.mutex);
      block = free_.back();
      free_.pop_back();
    }
    const int32_t count = std::min(kFramesPerRead, last_ - next_ + 1);
    block->count = static_cast<size_t>(count);
    document.QuickFramesGet(next_, count, block->frames.data());
    if (document.WavFmtBits == 8) {
      for (size_t k = 0; k < block->count * peaks_.size(); ++k) block->frames[k] *= 256;
    }
    next_ += count;
    {
      const std::lock_guard lock(feed_.mutex);
      queued_.push_back(block);
    }
    feed_.changed.notify_all();
    return count;
  }

  // Once measured: the figures. Throws when the meter refused a block.
  SlideLoudness Finish() {
    if (!meter_) return result_;
    StopMeter();
    thread_.join();
    if (refused_) throw std::runtime_error("the loudness meter refused the samples");
    double loudness = 0.0;
    if (ebur128_loudness_global(meter_.get(), &loudness) == EBUR128_SUCCESS) {
      result_.integrated = loudness;
    }
    float peak = 0.0F;
    for (const TruePeakMeter& channel : peaks_) peak = std::max(peak, channel.Peak());
    result_.truePeak = Decibels(peak);
    return result_;
  }

 private:
  struct Block {
    std::vector<int16_t> frames;
    size_t count = 0;
  };

  // Asks the meter thread to end once its queue is empty. Under the lock, so that the
  // request cannot slip in between the thread's look at the queue and its wait.
  void StopMeter() {
    if (!thread_.joinable()) return;
    {
      const std::lock_guard lock(feed_.mutex);
      thread_.request_stop();
    }
    feed_.changed.notify_all();
  }

  // Takes the queued blocks in order until asked to stop with none left: for each, the
  // true peak of each channel, then the loudness meter's filter, which takes most of the
  // time. After a refusal the blocks are only handed back.
  void MeterLoop(const std::stop_token& stop) {
    std::unique_lock lock(feed_.mutex);
    for (;;) {
      feed_.changed.wait(lock, [&] { return !queued_.empty() || stop.stop_requested(); });
      if (queued_.empty()) return;
      Block* block = queued_.front();
      queued_.pop_front();
      lock.unlock();
      if (!refused_) {
        const size_t channels = peaks_.size();
        for (size_t channel = 0; channel < channels; ++channel) {
          peaks_[channel].Add(block->frames.data() + channel, channels, block->count);
        }
        refused_ = ebur128_add_frames_short(meter_.get(), block->frames.data(), block->count) !=
                   EBUR128_SUCCESS;
      }
      lock.lock();
      free_.push_back(block);
      feed_.changed.notify_all();
    }
  }

  SlideLoudness result_;
  int32_t first_;
  int32_t next_;
  int32_t last_;
  Feed& feed_;
  Meter meter_;
  std::vector<TruePeakMeter> peaks_;
  // Three blocks: one being measured, one queued behind it, one being read.
  std::array<Block, 3> blocks_;
  std::vector<Block*> free_;   // under the feed's lock
  std::deque<Block*> queued_;  // under the feed's lock
  bool refused_ = false;       // the meter thread's own until it is joined
  // Declared last: stopped and joined before the members it uses go away.
  std::jthread thread_;
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
  // read side by side, so that two meters work at once while this thread only reads. A
  // slide read to its end makes room for the next one while its last blocks are measured.
  constexpr size_t kReadSideBySide = 2;
  int64_t total = 0;
  for (const int32_t slide : slides) {
    total +=
        std::max(SlideLastPosition(slide, document.WavWaveINos) - SlideFirstPosition(slide) + 1, 0);
  }
  Feed feed;
  // Results keep the order of `slides`.
  std::vector<SlideLoudness> results(slides.size());
  std::vector<std::pair<size_t, std::unique_ptr<SlideMeasure>>> measuring;
  size_t begun = 0;
  int64_t done = 0;
  while (begun < slides.size() || !measuring.empty()) {
    const auto reading =
        std::ranges::count_if(measuring, [](const auto& entry) { return entry.second->Reading(); });
    for (auto more = kReadSideBySide - static_cast<size_t>(reading);
         more > 0 && begun < slides.size(); --more, ++begun) {
      measuring.emplace_back(begun, std::make_unique<SlideMeasure>(document, slides[begun], feed));
    }
    // Waits until a slide being read has a free block or a slide has been measured.
    std::vector<SlideMeasure*> ready;
    {
      std::unique_lock lock(feed.mutex);
      feed.changed.wait(lock, [&] {
        ready.clear();
        for (const auto& [index, measure] : measuring) {
          if ((measure->Reading() && measure->HasRoom()) || measure->Measured()) {
            ready.push_back(measure.get());
          }
        }
        return !ready.empty() || measuring.empty();
      });
    }
    for (SlideMeasure* measure : ready) {
      if (!measure->Reading()) continue;
      done += measure->FeedNext(document);
      UserInterface().Progress().SetCurrentProgress(static_cast<float>(done) /
                                                    static_cast<float>(total));
    }
    std::erase_if(measuring, [&](const auto& entry) {
      bool measured = false;
      {
        const std::lock_guard lock(feed.mutex);
        measured = entry.second->Measured();
      }
      if (!measured) return false;
      results[entry.first] = entry.second->Finish();
      return true;
    });
  }
  return results;
}

}  // namespace quorvane
