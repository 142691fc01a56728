#include "devices/PlaySource.h"

#include <algorithm>

namespace quorvane {

PlaySource::PlaySource(std::vector<PlaySegment> left, std::vector<PlaySegment> right,
                       int32_t playChannels, int32_t deviceChannels, int32_t bits, int64_t frames,
                       float gain)
    : left_(std::move(left)),
      right_(std::move(right)),
      playChannels_(playChannels),
      deviceChannels_(deviceChannels),
      shift_(bits == 8 ? 8 : 0),
      frames_(frames),
      gain_(gain) {}

namespace {

// Silence on offer after the range's end: more than the sink asks for at a time.
constexpr int64_t kTailFrames = 16384;

}  // namespace

qint64 PlaySource::bytesAvailable() const {
  const int64_t frameBytes = 2 * deviceChannels_;
  const int64_t left = loop_ ? frames_ : std::max<int64_t>(frames_ - position_, kTailFrames);
  return left * frameBytes + QIODevice::bytesAvailable();
}

qint64 PlaySource::readData(char* data, qint64 maxSize) {
  const int64_t frameBytes = 2 * deviceChannels_;
  int64_t wanted = maxSize / frameBytes;
  auto* out = reinterpret_cast<int16_t*>(data);
  int64_t given = 0;
  while (wanted > 0 && frames_ > 0) {
    if (position_ >= frames_) {
      if (!loop_) break;
      // The next pass follows in the same buffer: no gap at the wrap.
      left_.Rewind();
      right_.Rewind();
      position_ = 0;
    }
    const auto take = static_cast<int32_t>(std::min(wanted, frames_ - position_));
    Fill(out + given * deviceChannels_, take);
    position_ += take;
    given += take;
    wanted -= take;
  }
  handedOut_ += given;
  if (loop_ || position_ < frames_) return given * frameBytes;
  std::fill_n(out + given * deviceChannels_, wanted * deviceChannels_, int16_t{0});
  if (!exhausted_) {
    exhausted_ = true;
    if (endReport_) endReport_();
  }
  return (given + wanted) * frameBytes;
}

void PlaySource::Fill(int16_t* out, int32_t frames) {
  std::string failure;
  bool whole = left_.Read(out, frames, deviceChannels_, failure);
  if (deviceChannels_ == 2) {
    if (playChannels_ == 2) {
      whole = right_.Read(out + 1, frames, 2, failure) && whole;
    } else {
      for (int32_t i = 0; i < frames; ++i) out[2 * i + 1] = out[2 * i];
    }
  }
  const int32_t values = frames * deviceChannels_;
  if (shift_ != 0) {
    for (int32_t i = 0; i < values; ++i) out[i] = static_cast<int16_t>(out[i] * 256);
  }
  if (gain_ != 1.0F) {
    for (int32_t i = 0; i < values; ++i) {
      const float scaled = std::clamp(out[i] * gain_, -32768.0F, 32767.0F);
      out[i] = static_cast<int16_t>(scaled);
    }
  }
  if (!whole && !reported_ && report_) {
    reported_ = true;
    report_(failure);
  }
}

}  // namespace quorvane
