#include "devices/RecordTake.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

#include "core/ErrorReport.h"
#include "core/FileHelpers.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "platform/CanonicalWaveHeader.h"
#include "platform/WaveSamples.h"

namespace quorvane {

namespace {

// How long a stop waits for the sound captured up to it; the server's latency is far less.
constexpr std::chrono::seconds kLastSoundWait{1};
// How long an open waits for a new stream's first sound. A server can take most of a
// second to start a stream (the first one on a source, or one on an output's monitor that
// works in long blocks); sound from before would never reach a take.
constexpr std::chrono::seconds kFirstSoundWait{2};

// Sample `index` (counting interleaved values) of the bytes recorded, as a signed value.
int16_t SampleValue(const uint8_t* data, size_t size, int32_t bits, size_t index) {
  const size_t at = index * static_cast<size_t>(bits / 8);
  return at + static_cast<size_t>(bits / 8) <= size ? DecodeWaveSample(data + at, bits / 8) : 0;
}

// A meter's peak: the largest absolute value among the samples at a quarter, half and
// three quarters of the frames and the last one.
std::array<int, 2> MeterPeaks(const uint8_t* data, size_t bytes, int32_t bits, int32_t channels) {
  const auto frames = static_cast<int32_t>(bytes / static_cast<size_t>(bits / 8 * channels));
  std::array<int, 2> peaks{};
  if (frames <= 0) return peaks;
  for (int32_t channel = 0; channel < 2; ++channel) {
    const int32_t taken = std::min(channel, channels - 1);
    for (const double part : {0.25, 0.5, 0.75, 1.0}) {
      const int32_t position = std::clamp(RoundHalfEven(frames * part), 1, frames);
      const auto index = static_cast<size_t>((position - 1) * channels + taken);
      peaks[static_cast<size_t>(channel)] =
          std::max(peaks[static_cast<size_t>(channel)],
                   std::abs(static_cast<int>(SampleValue(data, bytes, bits, index))));
    }
  }
  return peaks;
}

void ReportFileFault(const std::string& name) {
  UserInterface().Message(ErrorDescription(std::system_error(errno, std::generic_category())) +
                          kCrLf + name);
}

}  // namespace

RecordTake::RecordTake(int32_t channels, int32_t rate, int32_t bits)
    : channels_(channels == 2 ? 2 : 1), rate_(rate), bits_(bits) {}

RecordTake::~RecordTake() { Close(); }

std::vector<CaptureSource> RecordTake::Sources() { return WaveInDevice::InputSources(); }

std::string RecordTake::OpenErrorText(int32_t code) {
  switch (code) {
    case MMSYSERR_BADDEVICEID:
      return "Specified device identifier is out of range.";
    case MMSYSERR_ALLOCATED:
      return "Device already in use.";
    case MMSYSERR_NODRIVER:
      return "No device driver is present.";
    case MMSYSERR_NOMEM:
      return "Unable to allocate or lock memory.";
    case WAVERR_BADFORMAT:
      return "Attempted to open with an unsupported waveform-audio format.";
    default:
      return "Unable to open audio device.";
  }
}

std::string RecordTake::PrepareErrorText(int32_t code) {
  switch (code) {
    case MMSYSERR_BADDEVICEID:
    case MMSYSERR_ALLOCATED:
    case MMSYSERR_NODRIVER:
    case MMSYSERR_NOMEM:
    case WAVERR_BADFORMAT:
      return OpenErrorText(code);
    default:
      return "";
  }
}

std::string RecordTake::AddErrorText(int32_t code) {
  switch (code) {
    case MMSYSERR_INVALHANDLE:
      return "Specified device handle is invalid.";
    case MMSYSERR_NODRIVER:
      return "No device driver is present.";
    case MMSYSERR_NOMEM:
      return "Unable to allocate or lock memory.";
    case MMSYSERR_INVALPARAM:
      return "Invalid parameter passed";
    default:
      return "";
  }
}

int32_t RecordTake::Open(const std::string& source, std::function<void()> bufferReady,
                         bool waitForSound) {
  bufferReady_ = std::move(bufferReady);
  const int32_t opened = device_.waveInOpen(
      {channels_, rate_, bits_},
      [this](uint32_t message) {
        if (message == WIM_DATA && bufferReady_) bufferReady_();
      },
      source);
  if (opened == MMSYSERR_NOERROR && waitForSound) device_.WaitForSound(kFirstSoundWait);
  return opened;
}

void RecordTake::Close() {
  if (!device_.IsOpen()) return;
  recording_ = false;
  device_.waveInReset();
  device_.waveInClose();
}

bool RecordTake::SupportedFormats(uint32_t& formats) {
  return device_.waveInGetDevCaps(formats) == MMSYSERR_NOERROR;
}

uint32_t RecordTake::BufferBytes() const {
  const float tenth = 0.1F;  // the single-precision tenth the lengths are computed with
  return static_cast<uint32_t>(RoundHalfEven(static_cast<double>(bits_) / 8.0 *
                                             (rate_ * static_cast<double>(tenth)) * channels_));
}

void RecordTake::SizeBuffer(RecordBuffer& buffer) {
  const uint32_t bytes = BufferBytes();
  // A 16-bit buffer is an array of round(bytes / 2) values, at least as long as the bytes.
  const size_t room = bits_ == 16 ? 2 * static_cast<size_t>(RoundHalfEven(bytes / 2.0)) : bytes;
  buffer.data.resize(std::max<size_t>(room, bytes));
  buffer.header.lpData = buffer.data.data();
  buffer.header.dwBufferLength = bytes;
  buffer.header.dwBytesRecorded = 0;
  buffer.header.Prepared = false;
  buffer.header.Done = false;
}

std::string RecordTake::Start(int64_t framesFromNow) {
  OpenRecordFile();
  recording_ = true;
  stopRequested_ = false;
  framesWritten_ = 0;
  lastPeaks_ = {};
  expected_ = 0;
  for (RecordBuffer& buffer : buffers_) SizeBuffer(buffer);
  int32_t code = device_.waveInPrepareHeader(buffers_[0].header);
  if (code == MMSYSERR_NOERROR) code = device_.waveInPrepareHeader(buffers_[1].header);
  if (code != MMSYSERR_NOERROR) return PrepareErrorText(code);
  code = device_.waveInAddBuffer(buffers_[0].header);
  if (code == MMSYSERR_NOERROR) code = device_.waveInAddBuffer(buffers_[1].header);
  if (code != MMSYSERR_NOERROR) return AddErrorText(code);
  device_.waveInStart(framesFromNow);
  return "";
}

void RecordTake::StopAfter(int64_t frames) {
  stopRequested_ = true;
  device_.waveInStopAfter(frames);
}

void RecordTake::Stop() {
  stopRequested_ = true;
  device_.waveInStop();
  // The sound captured up to the end is still on its way from the server: the buffers go
  // on being handled and queued again until the last of it is in.
  const auto giveUp = std::chrono::steady_clock::now() + kLastSoundWait;
  while (device_.StopPending() && std::chrono::steady_clock::now() < giveUp) {
    device_.WaitForBuffer(std::chrono::milliseconds(10));
    HandleReturnedBuffers();
  }
  HandleReturnedBuffers();
  recording_ = false;
  device_.waveInReset();
}

bool RecordTake::HandleReturnedBuffers() {
  // The buffers come back strictly in turn; when the handler came late and both are
  // back, both are handled, so that no audio is dropped.
  bool handled = false;
  while (buffers_[static_cast<size_t>(expected_)].header.Done) {
    RecordBuffer& buffer = buffers_[static_cast<size_t>(expected_)];
    expected_ = 1 - expected_;
    HandleBuffer(buffer);
    handled = true;
  }
  return handled;
}

void RecordTake::HandleBuffer(RecordBuffer& buffer) {
  const uint32_t recorded = buffer.header.dwBytesRecorded;
  const int32_t frameBytes = bits_ / 8 * channels_;
  const int32_t frames = RoundHalfEven(static_cast<double>(recorded) / frameBytes);
  if (frames > 0) {
    lastPeaks_ = MeterPeaks(buffer.data.data(), recorded, bits_, channels_);
    // The bytes as they came, in the file's own order: 8-bit unsigned, 16-bit signed.
    fileBytes_.assign(buffer.data.begin(), buffer.data.begin() + recorded);
    fileBytes_.resize(static_cast<size_t>(frames) * static_cast<size_t>(frameBytes));
    WriteRecordedBlock(framesWritten_, frames);
    framesWritten_ += frames;
  }
  device_.waveInUnprepareHeader(buffer.header);
  SizeBuffer(buffer);
  device_.waveInPrepareHeader(buffer.header);
  if (recording_) device_.waveInAddBuffer(buffer.header);
}

bool RecordTake::PeaksSoFar(std::array<int, 2>& peaks) const {
  if (!recording_) return false;
  const RecordBuffer& filling = buffers_[static_cast<size_t>(expected_)];
  if (filling.header.Done) return false;  // the owner takes it whole
  // The device writes only beyond the bytes it has counted.
  const uint32_t bytes = filling.header.dwBytesRecorded.load(std::memory_order_acquire);
  if (bytes < static_cast<uint32_t>(bits_ / 8 * channels_)) return false;
  peaks = MeterPeaks(filling.data.data(), bytes, bits_, channels_);
  return true;
}

std::string RecordTake::Finish() {
  if (fileName_.empty()) return "";
  WriteRecordHeader(framesWritten_);
  return fileName_;
}

void RecordTake::Discard() { DiscardRecordFile(); }

void RecordTake::OpenRecordFile() {
  fileName_ = NewTempFileName("wav");
  // The recording is the user's voice: readable by the user alone.
  file_ = FileHandle(::open(fileName_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  if (!file_.IsOpen()) ReportFileFault(fileName_);
}

void RecordTake::WriteRecordedBlock(int64_t frameOffset, int32_t frameCount) {
  const int32_t frameBytes = bits_ / 8 * channels_;
  const off_t position =
      kCanonicalHeaderBytes + static_cast<off_t>(frameOffset) * static_cast<off_t>(frameBytes);
  const size_t bytes = static_cast<size_t>(frameCount) * static_cast<size_t>(frameBytes);
  if (file_.IsOpen() && ::pwrite(file_.Descriptor(), fileBytes_.data(), bytes, position) !=
                            static_cast<ssize_t>(bytes)) {
    ReportFileFault(fileName_);
  }
}

void RecordTake::WriteRecordHeader(int64_t frames) {
  const auto header = CanonicalWaveHeader(channels_, rate_, bits_, frames);
  if (!file_.IsOpen()) return;
  if (::pwrite(file_.Descriptor(), header.data(), header.size(), 0) !=
      static_cast<ssize_t>(header.size())) {
    ReportFileFault(fileName_);
  }
  file_.Close();
}

void RecordTake::DiscardRecordFile() {
  file_.Close();
  if (!fileName_.empty()) DeleteFileIfExists(fileName_);
}

}  // namespace quorvane
