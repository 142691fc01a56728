// The player component: takes the play range as two play tables (file segments, never
// samples), and plays it on its own thread through the desktop's default output. The
// editor calls only the operations below and polls PlayState and PlayedSamples; the
// player thread reads nothing but the files and its own copy of the tables.
#pragma once

#include <QObject>
#include <QThread>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quorvane {

class QuorvanePlayer : public QObject {
  Q_OBJECT

 public:
  QuorvanePlayer();
  ~QuorvanePlayer() override;
  QuorvanePlayer(const QuorvanePlayer&) = delete;
  QuorvanePlayer& operator=(const QuorvanePlayer&) = delete;

  // Given a window handle, opens the default output and leaves the handle as it is (0 when
  // there is no output); given 0, closes it.
  void SoundInit(int32_t& handle);
  // Frames the device has played since the start of the range (within the range's length;
  // a loop counts again from its start).
  int32_t PlayedSamples();
  void Play();
  // 0 stopped, 1 playing, 3 paused.
  int32_t PlayState();
  // Stops and closes every file the play tables name; the next Play opens them again.
  void ReleaseFiles();
  void StopPlay();
  void ContinuePlay();
  void PauseConfirm();
  void PausePlay();
  void SetPlayData(int32_t bits, int32_t channels, int32_t rate, int32_t count,
                   const std::vector<int32_t>& left, const std::vector<int32_t>& right);
  void MemoryLimit(int32_t bytes);
  void LoopFlag(bool loop);
  void PlayRateFactor(float factor);
  void PlayGainFactor(float factor);
  void TempFolder(const std::string& folder);

  // The player's own messages (message, title), delivered on the thread that made it.
  std::function<void(const std::string& message, const std::string& title)> MsgBoxOb;

  // The player thread, for measuring its own processor time.
  QThread& PlayerThread() { return thread_; }

 private:
  class Engine;

  QThread thread_;
  std::unique_ptr<Engine> engine_;  // lives on thread_
};

}  // namespace quorvane
