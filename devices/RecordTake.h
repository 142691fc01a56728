// One recorded take: a capture stream of the sound server in the session's working format,
// two 0.1-second buffers taking turns on it, and the temporary WAV file the take is written
// into as it grows. The owner calls HandleReturnedBuffers on its own thread whenever the
// callback says a buffer came back; the record dialog and Punch In only show what it
// reports.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "devices/WaveInDevice.h"
#include "platform/FileHandle.h"

namespace quorvane {

class RecordTake {
 public:
  RecordTake(int32_t channels, int32_t rate, int32_t bits);
  ~RecordTake();
  RecordTake(const RecordTake&) = delete;
  RecordTake& operator=(const RecordTake&) = delete;

  // The sound server's capture sources, devices first and monitors last.
  static std::vector<CaptureSource> Sources();
  // The text of a failed open, and of a failed prepare and add; "" where a code has none.
  static std::string OpenErrorText(int32_t code);
  static std::string PrepareErrorText(int32_t code);
  static std::string AddErrorText(int32_t code);

  // Opens `source` (empty: the server's default) and, unless told not to, waits for its
  // first sound, so that a take started later finds the sound already flowing.
  // `bufferReady` runs on the stream's thread whenever a buffer comes back. An MMSYSERR code.
  int32_t Open(const std::string& source, std::function<void()> bufferReady,
               bool waitForSound = true);
  void Close();
  bool IsOpen() const { return device_.IsOpen(); }
  // The WAVE_FORMAT_* bits of the formats the open source supports; false when unknown.
  bool SupportedFormats(uint32_t& formats);

  // Opens the take's file and queues both buffers, then starts the take `framesFromNow`
  // frames after this moment on the stream's clock (before it, when negative, as far as
  // the stream's short history reaches). The failure's text, "" when the take started.
  std::string Start(int64_t framesFromNow = 0);
  // Ends the take at this moment, or `frames` frames after its first when given, and
  // handles the buffers until the last of its sound has arrived (at most a second).
  void Stop();
  void StopAfter(int64_t frames);
  // Whether a take runs (from Start until Stop has handed back its last buffer).
  bool Recording() const { return recording_; }
  // Whether the sound up to the end StopAfter set has all arrived.
  bool EndReached() const { return stopRequested_ && !device_.StopPending(); }
  // Writes every buffer that came back into the file, in turn; true when there was one.
  bool HandleReturnedBuffers();

  int64_t FramesWritten() const { return framesWritten_; }
  int64_t BytesLost() const { return device_.BytesLost(); }
  // The peak of each channel in the last buffer written (the mono one on both), and in
  // what the buffer being filled holds so far; false when that holds no whole frame.
  std::array<int, 2> LastPeaks() const { return lastPeaks_; }
  bool PeaksSoFar(std::array<int, 2>& peaks) const;

  // Writes the header and closes the file; the take's file name ("" without a take).
  std::string Finish();
  // Closes and deletes the take's file.
  void Discard();
  const std::string& FileName() const { return fileName_; }

 private:
  struct RecordBuffer {
    WAVEHDR header;
    std::vector<uint8_t> data;
  };

  void OpenRecordFile();
  void WriteRecordedBlock(int64_t frameOffset, int32_t frameCount);
  void WriteRecordHeader(int64_t frames);
  void DiscardRecordFile();
  // Length in bytes of one buffer, and the buffer sized to it with a fresh header.
  uint32_t BufferBytes() const;
  void SizeBuffer(RecordBuffer& buffer);
  void HandleBuffer(RecordBuffer& buffer);
  void FinishStop();

  int32_t channels_;
  int32_t rate_;
  int32_t bits_;
  WaveInDevice device_;
  std::function<void()> bufferReady_;
  FileHandle file_;
  std::string fileName_;
  std::array<RecordBuffer, 2> buffers_;
  int expected_ = 0;  // index of the buffer expected next
  bool recording_ = false;
  bool stopRequested_ = false;
  int64_t framesWritten_ = 0;
  std::array<int, 2> lastPeaks_{};
  std::vector<uint8_t> fileBytes_;
};

}  // namespace quorvane
