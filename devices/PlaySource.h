// The stream the audio sink pulls from: the play range read from its files, the channels
// interleaved in the device's layout, 8-bit document values raised to 16 bits, and after
// the range's end either silence or, when looping, its start again. The silence keeps the
// device playing until its clock has passed the range's last frame: a stream that runs dry
// may keep its last few hundred frames unplayed, waiting for more.
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
  // Frames of the range handed to the sink since the start, counting every pass of a loop
  // and none of the silence after its end.
  int64_t FramesHandedOut() const { return handedOut_; }
  // Whether the range's last frame has been handed out (never while looping).
  bool Exhausted() const { return exhausted_; }
  // Called once, on the reading thread, when the range's last frame has been handed out.
  void SetEndReport(std::function<void()> report) { endReport_ = std::move(report); }
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
  std::function<void()> endReport_;
};

}  // namespace quorvane
