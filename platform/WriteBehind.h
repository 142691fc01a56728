// Writes decoded audio to the destination on a thread of its own, so that decoding goes
// on while the disk takes the previous window. The caller fills two buffers in turn:
// Write hands one over and returns once the other one is free again.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <mutex>
#include <thread>

#include "platform/PcmWavFileWriter.h"

namespace quorvane {

class WriteBehind {
 public:
  explicit WriteBehind(PcmWavFileWriter& writer);
  // Lets the write handed over finish, then stops the thread.
  ~WriteBehind();
  WriteBehind(const WriteBehind&) = delete;
  WriteBehind& operator=(const WriteBehind&) = delete;

  // Waits until the write handed over before has finished, then hands over these samples,
  // which must stay untouched until the next Write or Wait returns. Throws the failure
  // of an earlier write.
  void Write(const int16_t* samples, size_t count);

  // Waits until everything handed over is written; throws the failure of a write.
  void Wait();

 private:
  void WriteLoop(std::stop_token stop);
  void WaitIdle(std::unique_lock<std::mutex>& lock);

  PcmWavFileWriter& writer_;
  std::mutex mutex_;
  std::condition_variable_any changed_;
  const int16_t* samples_ = nullptr;  // the write handed over, nullptr when idle
  size_t count_ = 0;
  std::exception_ptr failure_;
  // Declared last: stopped and joined before the members it uses go away.
  std::jthread thread_;
};

}  // namespace quorvane
