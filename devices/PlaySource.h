// The stream the audio sink pulls from: the play range read from its files, the channels
// interleaved in the device's layout, 8-bit document values raised to 16 bits, and after
// the range's end either the end of the stream or, when looping, its start again.
#pragma once

#include <QIODevice>
#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

#include "devices/PlayChannelReader.h"

namespace quorvane {

class PlaySource : public QIODevice {
  Q_OBJECT

 public:
  // `deviceChannels` 1 or 2; a one-channel range on a two-channel device is doubled.
  PlaySource(std::vector<PlaySegment> left, std::vector<PlaySegment> right, int32_t playChannels,
             int32_t deviceChannels, int32_t bits, int64_t frames, float gain);

  void SetLoop(bool loop) { loop_ = loop; }
  // Frames handed to the sink since the start, counting every pass of a loop.
  int64_t FramesHandedOut() const { return handedOut_; }
  bool Exhausted() const { return exhausted_; }
  // Called with the first failure of a read, once per source.
  void SetFailureReport(std::function<void(const std::string&)> report) {
    report_ = std::move(report);
  }

  qint64 bytesAvailable() const override;
  bool isSequential() const override { return true; }

 protected:
  qint64 readData(char* data, qint64 maxSize) override;
  qint64 writeData(const char*, qint64) override { return -1; }

 private:
  void Fill(int16_t* out, int32_t frames);

  PlayChannelReader left_;
  PlayChannelReader right_;
  int32_t playChannels_;
  int32_t deviceChannels_;
  int32_t shift_;
  int64_t frames_;
  float gain_;
  std::atomic<bool> loop_{false};
  int64_t position_ = 0;   // frame of the range read next
  int64_t handedOut_ = 0;  // frames handed out, all passes
  bool exhausted_ = false;
  bool reported_ = false;
  std::function<void(const std::string&)> report_;
};

}  // namespace quorvane
