// Recording from the desktop's default input in the shape of the waveform-input
// functions: open with a format (the same error codes), buffers prepared and queued by the
// caller, filled in turn on the device's own thread and handed back one by one through a
// callback with WIM_DATA. Stop hands back the partly filled buffer, Reset every queued one.
#pragma once

#include <QThread>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

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

// A buffer header: the caller's data area and its length; the device fills in the bytes
// recorded and sets Done when it hands the buffer back; Done is what the caller's thread
// may look at while the device fills other buffers.
struct WAVEHDR {
  uint8_t* lpData = nullptr;
  uint32_t dwBufferLength = 0;
  uint32_t dwBytesRecorded = 0;
  bool Prepared = false;
  std::atomic<bool> Done{false};
};

class WaveInDevice {
 public:
  WaveInDevice();
  ~WaveInDevice();
  WaveInDevice(const WaveInDevice&) = delete;
  WaveInDevice& operator=(const WaveInDevice&) = delete;

  // Number of input devices of the desktop.
  static int32_t waveInGetNumDevs();
  // Opens the default input; `callback` runs on the device's thread with WIM_DATA for every
  // buffer handed back.
  int32_t waveInOpen(const WaveInFormat& format, std::function<void(uint32_t message)> callback);
  // The WAVE_FORMAT_* bits of the formats the open device supports.
  int32_t waveInGetDevCaps(uint32_t& dwFormats);
  int32_t waveInPrepareHeader(WAVEHDR& header);
  int32_t waveInUnprepareHeader(WAVEHDR& header);
  int32_t waveInAddBuffer(WAVEHDR& header);
  int32_t waveInStart();
  int32_t waveInStop();
  int32_t waveInReset();
  int32_t waveInClose();
  bool IsOpen() const { return open_; }
  // Bytes the device delivered while no buffer was queued: lost audio.
  int64_t BytesLost() const;
  // The device thread, for measuring its processor time.
  QThread& DeviceThread() { return thread_; }

 private:
  class Input;

  QThread thread_;
  std::unique_ptr<Input> input_;  // lives on thread_
  bool open_ = false;
};

}  // namespace quorvane
