#include "devices/WaveInDevice.h"

#include <algorithm>
#include <cstring>

namespace quorvane {

namespace {

// How much of the stream's past Start can still reach: more than an output runs ahead of
// what it plays, which is what a monitor source delivers early.
constexpr int64_t kHistorySeconds = 3;

}  // namespace

WaveInDevice::~WaveInDevice() {
  if (IsOpen()) waveInClose();
}

std::vector<CaptureSource> WaveInDevice::InputSources() { return ListCaptureSources(); }

int32_t WaveInDevice::waveInOpen(const WaveInFormat& format,
                                 std::function<void(uint32_t message)> callback,
                                 const std::string& source) {
  if (IsOpen()) return MMSYSERR_ALLOCATED;
  if ((format.BitsPerSample != 8 && format.BitsPerSample != 16) || format.Channels < 1 ||
      format.Channels > 2 || format.SamplesPerSec <= 0) {
    return WAVERR_BADFORMAT;
  }
  {
    std::lock_guard lock(mutex_);
    frameBytes_ = format.BitsPerSample / 8 * format.Channels;
    historyBytes_ = kHistorySeconds * format.SamplesPerSec * frameBytes_;
    queue_.clear();
    received_ = 0;
    history_.clear();
    historyFrom_ = 0;
    startAt_ = kNone;
    stopAt_ = kNone;
    takenTo_ = 0;
    stopped_ = false;
    lost_ = 0;
  }
  callback_ = std::move(callback);
  const PulseCaptureStream::OpenResult opened =
      stream_.Open(source, format.Channels, format.SamplesPerSec, format.BitsPerSample,
                   [this](const uint8_t* data, size_t bytes) { Receive(data, bytes); });
  switch (opened) {
    case PulseCaptureStream::OpenResult::Opened:
      return MMSYSERR_NOERROR;
    case PulseCaptureStream::OpenResult::NoServer:
      callback_ = nullptr;
      return MMSYSERR_NODRIVER;
    case PulseCaptureStream::OpenResult::NoSource:
      callback_ = nullptr;
      return MMSYSERR_BADDEVICEID;
    case PulseCaptureStream::OpenResult::Failed:
      break;
  }
  callback_ = nullptr;
  return MMSYSERR_ERROR;
}

int32_t WaveInDevice::waveInGetDevCaps(uint32_t& dwFormats) {
  dwFormats = 0;
  if (!IsOpen()) return MMSYSERR_INVALHANDLE;
  // WAVE_FORMAT_1M08 = 1 ... WAVE_FORMAT_4S16 = 2048: the server converts whatever the
  // source delivers into any of the twelve.
  dwFormats = 0xFFF;
  return MMSYSERR_NOERROR;
}

int32_t WaveInDevice::waveInPrepareHeader(WAVEHDR& header) {
  if (!IsOpen()) return MMSYSERR_INVALHANDLE;
  if (header.lpData == nullptr || header.dwBufferLength == 0) return MMSYSERR_INVALPARAM;
  header.Prepared = true;
  return MMSYSERR_NOERROR;
}

int32_t WaveInDevice::waveInUnprepareHeader(WAVEHDR& header) {
  if (!IsOpen()) return MMSYSERR_INVALHANDLE;
  header.Prepared = false;
  return MMSYSERR_NOERROR;
}

int32_t WaveInDevice::waveInAddBuffer(WAVEHDR& header) {
  if (!IsOpen()) return MMSYSERR_INVALHANDLE;
  if (!header.Prepared) return MMSYSERR_INVALPARAM;
  std::lock_guard lock(mutex_);
  header.Done = false;
  header.dwBytesRecorded = 0;
  queue_.push_back(&header);
  return MMSYSERR_NOERROR;
}

int32_t WaveInDevice::waveInStart(int64_t framesFromNow) {
  if (!IsOpen()) return MMSYSERR_INVALHANDLE;
  // Asked before taking the lock: the answer comes through the stream's thread, which
  // needs the lock to hand over the audio that arrives meanwhile.
  const int64_t position = stream_.CapturePosition();
  int handed = 0;
  {
    std::lock_guard lock(mutex_);
    if (Taking()) return MMSYSERR_NOERROR;
    const int64_t start =
        (position >= 0 ? FrameAligned(position) : received_) + framesFromNow * frameBytes_;
    startAt_ = std::max(start, historyFrom_);
    stopAt_ = kNone;
    stopped_ = false;
    takenTo_ = startAt_;
    handed = Take(history_.data(), historyFrom_, history_.size());
  }
  HandBack(handed);
  return MMSYSERR_NOERROR;
}

int32_t WaveInDevice::waveInStop() {
  if (!IsOpen()) return MMSYSERR_INVALHANDLE;
  const int64_t position = stream_.CapturePosition();
  return StopAt(
      [&] { return std::max(startAt_, position >= 0 ? FrameAligned(position) : received_); });
}

int32_t WaveInDevice::waveInStopAfter(int64_t frames) {
  if (!IsOpen()) return MMSYSERR_INVALHANDLE;
  return StopAt([&] { return startAt_ + std::max<int64_t>(frames, 0) * frameBytes_; });
}

int32_t WaveInDevice::StopAt(const std::function<int64_t()>& end) {
  int handed = 0;
  {
    std::lock_guard lock(mutex_);
    if (!Taking() || stopAt_ != kNone) return MMSYSERR_NOERROR;
    stopAt_ = end();
    if (received_ >= stopAt_ || stream_.Lost()) handed = FinishStop();
  }
  HandBack(handed);
  return MMSYSERR_NOERROR;
}

int32_t WaveInDevice::waveInReset() {
  if (!IsOpen()) return MMSYSERR_INVALHANDLE;
  std::deque<WAVEHDR*> returned;
  {
    std::lock_guard lock(mutex_);
    startAt_ = kNone;
    stopAt_ = kNone;
    stopped_ = false;
    returned.swap(queue_);
    for (WAVEHDR* header : returned) header->Done = true;
    ++handedBackCount_;
  }
  HandBack(static_cast<int>(returned.size()));
  return MMSYSERR_NOERROR;
}

int32_t WaveInDevice::waveInClose() {
  if (!IsOpen()) return MMSYSERR_INVALHANDLE;
  waveInReset();
  stream_.Close();
  callback_ = nullptr;
  return MMSYSERR_NOERROR;
}

bool WaveInDevice::StopPending() const {
  std::lock_guard lock(mutex_);
  return Taking() && stopAt_ != kNone && !stream_.Lost();
}

void WaveInDevice::WaitForBuffer(std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  const uint64_t seen = handedBackCount_;
  changed_.wait_for(lock, timeout, [&] { return handedBackCount_ != seen; });
}

bool WaveInDevice::WaitForSound(std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, timeout, [&] { return received_ > 0 || stream_.Lost(); }) &&
         received_ > 0;
}

int64_t WaveInDevice::BytesLost() const {
  std::lock_guard lock(mutex_);
  return lost_;
}

void WaveInDevice::Receive(const uint8_t* data, size_t bytes) {
  int handed = 0;
  {
    std::lock_guard lock(mutex_);
    const int64_t from = received_;
    received_ += static_cast<int64_t>(bytes);
    history_.insert(history_.end(), data, data + bytes);
    if (static_cast<int64_t>(history_.size()) > 2 * historyBytes_) {
      const int64_t dropped = FrameAligned(static_cast<int64_t>(history_.size()) - historyBytes_);
      history_.erase(history_.begin(), history_.begin() + dropped);
      historyFrom_ += dropped;
    }
    if (Taking()) {
      handed = Take(data, from, bytes);
      if (received_ >= stopAt_) handed += FinishStop();
    }
  }
  HandBack(handed);
}

int WaveInDevice::Take(const uint8_t* data, int64_t from, size_t bytes) {
  const int64_t first = std::max(from, takenTo_);
  const int64_t end = std::min(from + static_cast<int64_t>(bytes), stopAt_);
  if (first >= end) return 0;
  const uint8_t* at = data + (first - from);
  int64_t left = end - first;
  int filled = 0;
  while (left > 0 && !queue_.empty()) {
    WAVEHDR& header = *queue_.front();
    const uint32_t recorded = header.dwBytesRecorded.load(std::memory_order_relaxed);
    const auto count =
        static_cast<uint32_t>(std::min<int64_t>(left, header.dwBufferLength - recorded));
    std::memcpy(header.lpData + recorded, at, count);
    header.dwBytesRecorded.store(recorded + count, std::memory_order_release);
    at += count;
    left -= count;
    if (recorded + count == header.dwBufferLength) {
      header.Done = true;
      queue_.pop_front();
      ++filled;
    }
  }
  // No buffer to take the audio: it is lost, as on a device without buffers.
  lost_ += left;
  takenTo_ = end;
  handedBackCount_ += static_cast<uint64_t>(filled);
  return filled;
}

int WaveInDevice::FinishStop() {
  stopped_ = true;
  ++handedBackCount_;
  if (queue_.empty()) return 0;
  WAVEHDR& header = *queue_.front();
  // Sound that a monitor delivered ahead of the end is in the buffer already: it goes.
  if (takenTo_ > stopAt_) {
    const uint32_t recorded = header.dwBytesRecorded;
    header.dwBytesRecorded =
        recorded - static_cast<uint32_t>(std::min<int64_t>(takenTo_ - stopAt_, recorded));
  }
  if (header.dwBytesRecorded == 0) return 0;
  header.Done = true;
  queue_.pop_front();
  return 1;
}

void WaveInDevice::HandBack(int count) {
  changed_.notify_all();
  for (int i = 0; i < count; ++i) {
    if (callback_) callback_(WIM_DATA);
  }
}

int64_t WaveInDevice::FrameAligned(int64_t position) const {
  return position - position % frameBytes_;
}

}  // namespace quorvane
