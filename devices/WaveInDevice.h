// Recording from a capture source of the sound server in the shape of the waveform-input
// functions: open with a format (the same error codes), buffers prepared and queued by the
// caller, filled in turn on the stream's own thread and handed back one by one through a
// callback with WIM_DATA.
//
// The stream runs from the open on, so that Start finds the sound already flowing: a new
// stream can take a good part of a second to deliver its first sound, and the sound of
// that time would be lost. Until Start the audio only passes through a short history.
// Start and Stop mark moments on the stream's own clock: the take holds the sound the
// source captured from the one moment to the other, whatever the server's latency, and
// that includes sound that had already arrived at Start (a monitor receives an output's
// sound before the output plays it). Stop hands back the partly filled buffer once the
// last of that sound has arrived; Reset hands back every queued buffer.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <mutex>
#include <string>
#include <vector>

#include "platform/CaptureSources.h"
#include "platform/PulseCaptureStream.h"

namespace quorvane {

// Result codes.
inline constexpr int32_t MMSYSERR_NOERROR = 0;
inline constexpr int32_t MMSYSERR_ERROR = 1;
inline constexpr int32_t MMSYSERR_BADDEVICEID = 2;
inline constexpr int32_t MMSYSERR_ALLOCATED = 4;
inline constexpr int32_t MMSYSERR_INVALHANDLE = 5;
inline constexpr int32_t MMSYSERR_NODRIVER = 6;
inline constexpr int32_t MMSYSERR_NOMEM = 7;
inline constexpr int32_t MMSYSERR_INVALPARAM = 11;
inline constexpr int32_t WAVERR_BADFORMAT = 32;
inline constexpr int32_t WAVERR_STILLPLAYING = 33;
// The message of a filled buffer.
inline constexpr uint32_t WIM_DATA = 0x3C0;

struct WaveInFormat {
  int32_t Channels = 1;
  int32_t SamplesPerSec = 44100;
  int32_t BitsPerSample = 16;
};

// A buffer header: the caller's data area and its length. The device counts the bytes
// recorded as it fills the buffer and sets Done when it hands the buffer back; the
// caller's thread may read the bytes counted so far while the device goes on filling.
struct WAVEHDR {
  uint8_t* lpData = nullptr;
  uint32_t dwBufferLength = 0;
  std::atomic<uint32_t> dwBytesRecorded{0};
  bool Prepared = false;
  std::atomic<bool> Done{false};
};

class WaveInDevice {
 public:
  WaveInDevice() = default;
  ~WaveInDevice();
  WaveInDevice(const WaveInDevice&) = delete;
  WaveInDevice& operator=(const WaveInDevice&) = delete;

  // The sound server's capture sources, devices first and monitors last; none without a
  // server.
  static std::vector<CaptureSource> InputSources();
  // Opens `source` (empty: the server's default) and starts its stream; `callback` runs on
  // the stream's thread with WIM_DATA for every buffer handed back.
  int32_t waveInOpen(const WaveInFormat& format, std::function<void(uint32_t message)> callback,
                     const std::string& source = "");
  // The WAVE_FORMAT_* bits of the formats the open device supports.
  int32_t waveInGetDevCaps(uint32_t& dwFormats);
  int32_t waveInPrepareHeader(WAVEHDR& header);
  int32_t waveInUnprepareHeader(WAVEHDR& header);
  int32_t waveInAddBuffer(WAVEHDR& header);
  // Keeps the sound from this moment on, or from `framesFromNow` frames after it (before
  // it when negative, as far as the history reaches).
  int32_t waveInStart(int64_t framesFromNow = 0);
  // Ends the take at this moment; the buffers go on filling until the sound captured up to
  // it has arrived (StopPending), then the partly filled one comes back.
  int32_t waveInStop();
  // Ends the take `frames` frames after its first, whenever that sound arrives.
  int32_t waveInStopAfter(int64_t frames);
  int32_t waveInReset();
  int32_t waveInClose();
  bool IsOpen() const { return stream_.IsOpen(); }
  // Whether a Stop waits for the last of its sound; false once the stream is lost.
  bool StopPending() const;
  // Waits until a buffer is handed back or a Stop completes, at most `timeout`.
  void WaitForBuffer(std::chrono::milliseconds timeout);
  // Waits until the stream has delivered its first sound, at most `timeout`; false when it
  // has not.
  bool WaitForSound(std::chrono::milliseconds timeout);
  // Bytes of the take that arrived while no buffer was queued: lost audio.
  int64_t BytesLost() const;

 private:
  static constexpr int64_t kNone = std::numeric_limits<int64_t>::max();

  // On the stream's thread.
  void Receive(const uint8_t* data, size_t bytes);
  // The following run with mutex_ held and return the buffers they filled or handed back.
  // Puts the bytes from stream position `from` that belong to the take into the buffers.
  int Take(const uint8_t* data, int64_t from, size_t bytes);
  int FinishStop();
  // Ends the take at the stream position `end` gives, asked with mutex_ held, unless no take
  // runs or its end is set already.
  int32_t StopAt(const std::function<int64_t()>& end);
  // Hands the callback `count` buffers, without the lock.
  void HandBack(int count);
  bool Taking() const { return startAt_ != kNone && !stopped_; }
  int64_t FrameAligned(int64_t position) const;

  PulseCaptureStream stream_;
  std::function<void(uint32_t)> callback_;
  int32_t frameBytes_ = 1;
  int64_t historyBytes_ = 0;

  mutable std::mutex mutex_;
  std::condition_variable changed_;  // a buffer handed back, a Stop completed, sound arrived
  uint64_t handedBackCount_ = 0;
  std::deque<WAVEHDR*> queue_;
  int64_t received_ = 0;  // stream position of the next byte to arrive
  // The last bytes that arrived, from stream position historyFrom_ on.
  std::vector<uint8_t> history_;
  int64_t historyFrom_ = 0;
  int64_t startAt_ = kNone;  // the take's first byte; kNone before Start
  int64_t stopAt_ = kNone;   // the byte after its last; kNone until Stop
  int64_t takenTo_ = 0;      // the take is in the buffers up to here
  bool stopped_ = false;
  int64_t lost_ = 0;
};

}  // namespace quorvane
