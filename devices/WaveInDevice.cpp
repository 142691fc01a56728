#include "devices/WaveInDevice.h"

#include <QAudioDevice>
#include <QAudioFormat>
#include <QAudioSource>
#include <QIODevice>
#include <QMediaDevices>
#include <algorithm>
#include <deque>
#include "devices/OnThread.h"

namespace quorvane {

namespace {

QAudioFormat QtFormat(const WaveInFormat& format) {
  QAudioFormat qt;
  qt.setSampleRate(format.SamplesPerSec);
  qt.setChannelCount(format.Channels);
  qt.setSampleFormat(format.BitsPerSample == 8 ? QAudioFormat::UInt8 : QAudioFormat::Int16);
  return qt;
}

}  // namespace

// The audio source and the queue of buffers; everything but the queue is touched only on
// the device thread. Filled buffers are handed back outside the lock, so the callback may
// queue the next one.
class WaveInDevice::Input : public QObject {
 public:
  int32_t Open(const QAudioDevice& device, const WaveInFormat& format,
               std::function<void(uint32_t)> callback) {
    const QAudioFormat qt = QtFormat(format);
    if (!device.isFormatSupported(qt)) return WAVERR_BADFORMAT;
    source_ = std::make_unique<QAudioSource>(device, qt);
    // A tenth of the buffers' length ahead, so that each fills as the audio arrives.
    source_->setBufferSize(std::max(qt.bytesForDuration(20'000), 256));
    callback_ = std::move(callback);
    return MMSYSERR_NOERROR;
  }

  int32_t Start() {
    if (!source_) return MMSYSERR_INVALHANDLE;
    if (io_ != nullptr) return MMSYSERR_NOERROR;
    io_ = source_->start();
    if (io_ == nullptr || source_->error() != QAudio::NoError) {
      io_ = nullptr;
      return MMSYSERR_ALLOCATED;
    }
    QObject::connect(io_, &QIODevice::readyRead, this, [this] { Drain(); });
    return MMSYSERR_NOERROR;
  }

  // Stops taking audio; the partly filled buffer goes back with what it holds.
  void Stop() {
    if (io_ == nullptr) return;
    Drain();
    source_->stop();
    io_ = nullptr;
    WAVEHDR* partial = nullptr;
    {
      std::lock_guard lock(mutex_);
      if (!queue_.empty() && queue_.front()->dwBytesRecorded > 0) {
        partial = queue_.front();
        queue_.pop_front();
        partial->Done = true;
      }
    }
    if (partial != nullptr && callback_) callback_(WIM_DATA);
  }

  // Stops and hands back every queued buffer.
  void Reset() {
    Stop();
    std::deque<WAVEHDR*> returned;
    {
      std::lock_guard lock(mutex_);
      returned.swap(queue_);
      for (WAVEHDR* header : returned) header->Done = true;
    }
    for (size_t i = 0; i < returned.size(); ++i) {
      if (callback_) callback_(WIM_DATA);
    }
  }

  void Close() {
    Reset();
    source_.reset();
    callback_ = nullptr;
  }

  void Add(WAVEHDR& header) {
    std::lock_guard lock(mutex_);
    header.Done = false;
    header.dwBytesRecorded = 0;
    queue_.push_back(&header);
  }

  int64_t Lost() const {
    std::lock_guard lock(mutex_);
    return lost_;
  }

  void Shutdown(QThread* home) {
    Close();
    moveToThread(home);
  }

 private:
  void Drain() {
    if (io_ == nullptr) return;
    for (;;) {
      int filled = 0;
      {
        std::lock_guard lock(mutex_);
        while (!queue_.empty()) {
          WAVEHDR& header = *queue_.front();
          const qint64 room = header.dwBufferLength - header.dwBytesRecorded;
          const qint64 got =
              room > 0
                  ? io_->read(reinterpret_cast<char*>(header.lpData) + header.dwBytesRecorded, room)
                  : 0;
          if (got > 0) header.dwBytesRecorded += static_cast<uint32_t>(got);
          if (header.dwBytesRecorded < header.dwBufferLength) break;
          header.Done = true;
          queue_.pop_front();
          ++filled;
        }
        if (queue_.empty()) {
          // No buffer to take the audio: it is lost, as on a device without buffers.
          char scratch[4096];
          qint64 got = 0;
          while ((got = io_->read(scratch, sizeof scratch)) > 0) lost_ += got;
        }
      }
      if (filled == 0) return;
      for (int i = 0; i < filled; ++i) {
        if (callback_) callback_(WIM_DATA);
      }
    }
  }

  std::unique_ptr<QAudioSource> source_;
  QIODevice* io_ = nullptr;
  std::function<void(uint32_t)> callback_;
  mutable std::mutex mutex_;
  std::deque<WAVEHDR*> queue_;
  int64_t lost_ = 0;
};

WaveInDevice::WaveInDevice() : input_(std::make_unique<Input>()) {
  thread_.setObjectName("WaveInDevice");
  input_->moveToThread(&thread_);
  thread_.start();
}

WaveInDevice::~WaveInDevice() {
  QThread* home = QThread::currentThread();
  OnThread(input_.get(), [this, home] { input_->Shutdown(home); });
  thread_.quit();
  thread_.wait();
}

int32_t WaveInDevice::waveInGetNumDevs() {
  return static_cast<int32_t>(QMediaDevices::audioInputs().size());
}

int32_t WaveInDevice::waveInOpen(const WaveInFormat& format,
                                 std::function<void(uint32_t message)> callback) {
  if (open_) return MMSYSERR_ALLOCATED;
  const QAudioDevice device = QMediaDevices::defaultAudioInput();
  if (device.isNull()) return MMSYSERR_BADDEVICEID;
  if ((format.BitsPerSample != 8 && format.BitsPerSample != 16) || format.Channels < 1 ||
      format.Channels > 2 || format.SamplesPerSec <= 0) {
    return WAVERR_BADFORMAT;
  }
  int32_t result = MMSYSERR_ERROR;
  OnThread(input_.get(), [&] { result = input_->Open(device, format, std::move(callback)); });
  open_ = result == MMSYSERR_NOERROR;
  return result;
}

int32_t WaveInDevice::waveInGetDevCaps(uint32_t& dwFormats) {
  dwFormats = 0;
  const QAudioDevice device = QMediaDevices::defaultAudioInput();
  if (!open_ || device.isNull()) return MMSYSERR_INVALHANDLE;
  // WAVE_FORMAT_1M08 = 1 ... WAVE_FORMAT_4S16 = 2048: four bits per rate, in the order
  // 8-bit mono, 8-bit stereo, 16-bit mono, 16-bit stereo.
  uint32_t bit = 1;
  for (const int rate : {11025, 22050, 44100}) {
    for (const int bits : {8, 16}) {
      for (const int channels : {1, 2}) {
        if (device.isFormatSupported(QtFormat({channels, rate, bits}))) dwFormats |= bit;
        bit <<= 1;
      }
    }
  }
  return MMSYSERR_NOERROR;
}

int32_t WaveInDevice::waveInPrepareHeader(WAVEHDR& header) {
  if (!open_) return MMSYSERR_INVALHANDLE;
  if (header.lpData == nullptr || header.dwBufferLength == 0) return MMSYSERR_INVALPARAM;
  header.Prepared = true;
  return MMSYSERR_NOERROR;
}

int32_t WaveInDevice::waveInUnprepareHeader(WAVEHDR& header) {
  if (!open_) return MMSYSERR_INVALHANDLE;
  header.Prepared = false;
  return MMSYSERR_NOERROR;
}

int32_t WaveInDevice::waveInAddBuffer(WAVEHDR& header) {
  if (!open_) return MMSYSERR_INVALHANDLE;
  if (!header.Prepared) return MMSYSERR_INVALPARAM;
  input_->Add(header);
  return MMSYSERR_NOERROR;
}

int32_t WaveInDevice::waveInStart() {
  if (!open_) return MMSYSERR_INVALHANDLE;
  int32_t result = MMSYSERR_ERROR;
  OnThread(input_.get(), [&] { result = input_->Start(); });
  return result;
}

int32_t WaveInDevice::waveInStop() {
  if (!open_) return MMSYSERR_INVALHANDLE;
  OnThread(input_.get(), [this] { input_->Stop(); });
  return MMSYSERR_NOERROR;
}

int32_t WaveInDevice::waveInReset() {
  if (!open_) return MMSYSERR_INVALHANDLE;
  OnThread(input_.get(), [this] { input_->Reset(); });
  return MMSYSERR_NOERROR;
}

int32_t WaveInDevice::waveInClose() {
  if (!open_) return MMSYSERR_INVALHANDLE;
  OnThread(input_.get(), [this] { input_->Close(); });
  open_ = false;
  return MMSYSERR_NOERROR;
}

int64_t WaveInDevice::BytesLost() const { return input_->Lost(); }

}  // namespace quorvane
