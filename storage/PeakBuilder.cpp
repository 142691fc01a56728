#include "storage/PeakBuilder.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <fstream>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/WaveSamples.h"
#include "storage/BlockListParts.h"
#include "storage/PeakRuns.h"

namespace quorvane {

namespace {

using JobKey = std::tuple<bool, int32_t, uint64_t>;

JobKey KeyOf(const PeakJob& job) { return {job.Original, job.Index, job.Serial}; }

struct Finished {
  PeakJob Job;
  std::vector<PeakRuns> Channels;
};

constexpr int64_t kReadBytes = 1 << 20;

class Builder {
 public:
  ~Builder() { Stop(); }

  void Request(const PeakJob& job, bool inView) {
    std::unique_lock lock(mutex_);
    const JobKey key = KeyOf(job);
    const auto queued = std::find_if(queue_.begin(), queue_.end(),
                                     [&](const PeakJob& other) { return KeyOf(other) == key; });
    if (queued != queue_.end()) {
      if (inView && queued != queue_.begin()) {
        PeakJob moved = std::move(*queued);
        queue_.erase(queued);
        queue_.push_front(std::move(moved));
      }
      return;
    }
    if (!asked_.insert(key).second) return;  // under way or done
    if (inView) {
      queue_.push_front(job);
    } else {
      queue_.push_back(job);
    }
    if (!worker_.joinable()) worker_ = std::thread([this] { Work(); });
    wake_.notify_one();
  }

  std::vector<Finished> TakeFinished() {
    std::unique_lock lock(mutex_);
    return std::exchange(finished_, {});
  }

  void SetNotice(std::function<void()> notice) {
    std::unique_lock lock(mutex_);
    notice_ = std::move(notice);
  }

  // A finished summary that was not taken may be asked for again.
  void Forget(const PeakJob& job) {
    std::unique_lock lock(mutex_);
    asked_.erase(KeyOf(job));
  }

  bool Pending() {
    std::unique_lock lock(mutex_);
    return !queue_.empty() || busy_;
  }

  void Stop() {
    {
      std::unique_lock lock(mutex_);
      stopping_ = true;
      queue_.clear();
      wake_.notify_one();
    }
    if (worker_.joinable()) worker_.join();
    std::unique_lock lock(mutex_);
    stopping_ = false;
    finished_.clear();
    asked_.clear();
  }

 private:
  void Work() {
    std::unique_lock lock(mutex_);
    for (;;) {
      wake_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
      if (stopping_) return;
      PeakJob job = std::move(queue_.front());
      queue_.pop_front();
      busy_ = true;
      lock.unlock();
      std::vector<PeakRuns> channels = Summarize(job);
      lock.lock();
      busy_ = false;
      if (stopping_) return;
      if (!channels.empty()) {
        finished_.push_back(Finished{std::move(job), std::move(channels)});
        if (notice_) notice_();
      }
    }
  }

  // Reads the file's samples in large pieces; empty when the file cannot be read whole or
  // the builder is stopping.
  std::vector<PeakRuns> Summarize(const PeakJob& job) {
    const int64_t frameBytes = int64_t{job.Channels} * job.SampleBytes;
    std::ifstream file(job.Path, std::ios::binary | std::ios::ate);
    if (!file || frameBytes <= 0) return {};
    const int64_t size = static_cast<int64_t>(file.tellg());
    const int64_t total =
        job.Bytes > 0 ? job.Bytes : (size - job.FirstByte) / frameBytes * frameBytes;
    if (total <= 0 || job.FirstByte + total > size) return {};
    file.seekg(job.FirstByte);
    std::vector<PeakRuns::Builder> builders(static_cast<size_t>(job.Channels));
    const int64_t pieceBytes = kReadBytes / frameBytes * frameBytes;
    std::vector<uint8_t> bytes(static_cast<size_t>(pieceBytes));
    std::vector<int16_t> samples;
    std::vector<int16_t> oneChannel;
    for (int64_t done = 0; done < total;) {
      if (stopping_.load()) return {};
      const int64_t want = std::min(pieceBytes, total - done);
      file.read(reinterpret_cast<char*>(bytes.data()), want);
      if (file.gcount() != want) return {};
      done += want;
      const int64_t frames = want / frameBytes;
      samples.resize(static_cast<size_t>(frames * job.Channels));
      for (size_t i = 0; i < samples.size(); ++i) {
        samples[i] = DecodeWaveSample(bytes.data() + i * static_cast<size_t>(job.SampleBytes),
                                      job.SampleBytes);
      }
      if (job.Channels == 1) {
        builders[0].Add(samples.data(), samples.size());
      } else {
        oneChannel.resize(static_cast<size_t>(frames));
        for (size_t c = 0; c < builders.size(); ++c) {
          for (size_t i = 0; i < oneChannel.size(); ++i) {
            oneChannel[i] = samples[i * builders.size() + c];
          }
          builders[c].Add(oneChannel.data(), oneChannel.size());
        }
      }
    }
    std::vector<PeakRuns> channels;
    for (size_t channel = 0; channel < builders.size(); ++channel) {
      channels.push_back(builders[channel].Finish());
      const std::string& path =
          channel < job.SummaryFiles.size() ? job.SummaryFiles[channel] : std::string();
      if (path.empty() || !channels.back().Save(path)) continue;
      if (std::optional<PeakRuns> kept = PeakRuns::Load(path)) channels.back() = std::move(*kept);
    }
    return channels;
  }

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<PeakJob> queue_;
  std::set<JobKey> asked_;
  std::vector<Finished> finished_;
  std::function<void()> notice_;
  std::thread worker_;
  std::atomic<bool> stopping_{false};
  bool busy_ = false;
};

Builder& TheBuilder() {
  static Builder builder;
  return builder;
}

}  // namespace

void RequestPeaks(const PeakJob& job, bool inView) { TheBuilder().Request(job, inView); }

bool AdoptFinishedPeaks() {
  bool adopted = false;
  for (Finished& done : TheBuilder().TakeFinished()) {
    const PeakJob& job = done.Job;
    if (job.Original) {
      if (job.Index < 1 || job.Index >= static_cast<int32_t>(OrgFileTable.size())) continue;
      OrgFileEntry& file = OrgFileTable[static_cast<size_t>(job.Index)];
      if (file.Serial != job.Serial || file.FileName != job.Path) {
        TheBuilder().Forget(job);
        continue;
      }
      file.Peaks = std::make_shared<const std::vector<PeakRuns>>(std::move(done.Channels));
    } else {
      if (job.Index < 1 || job.Index >= static_cast<int32_t>(TempFileTable.size())) continue;
      TempFileSlot& slot = TempFileTable[static_cast<size_t>(job.Index)];
      if (slot.Serial != job.Serial || slot.FileName != job.Path) {
        TheBuilder().Forget(job);
        continue;
      }
      slot.Peaks = std::make_shared<const PeakRuns>(std::move(done.Channels.front()));
    }
    adopted = true;
  }
  return adopted;
}

void SetPeaksReadyNotice(std::function<void()> notice) {
  TheBuilder().SetNotice(std::move(notice));
}

void StopPeakBuilder() { TheBuilder().Stop(); }

bool PeaksPending() { return TheBuilder().Pending(); }

}  // namespace quorvane
