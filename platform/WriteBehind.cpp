#include "platform/WriteBehind.h"

namespace quorvane {

WriteBehind::WriteBehind(PcmWavFileWriter& writer)
    : writer_(writer), thread_([this](std::stop_token stop) { WriteLoop(stop); }) {}

WriteBehind::~WriteBehind() {
  thread_.request_stop();
  thread_.join();
}

void WriteBehind::WaitIdle(std::unique_lock<std::mutex>& lock) {
  changed_.wait(lock, [this] { return samples_ == nullptr; });
  if (failure_) std::rethrow_exception(failure_);
}

void WriteBehind::Write(const int16_t* samples, size_t count) {
  std::unique_lock lock(mutex_);
  WaitIdle(lock);
  samples_ = samples;
  count_ = count;
  changed_.notify_all();
}

void WriteBehind::Wait() {
  std::unique_lock lock(mutex_);
  WaitIdle(lock);
}

void WriteBehind::WriteLoop(std::stop_token stop) {
  std::unique_lock lock(mutex_);
  for (;;) {
    // Wakes for a write or for the stop request, whichever comes first.
    if (!changed_.wait(lock, stop, [this] { return samples_ != nullptr; })) return;
    const int16_t* samples = samples_;
    const size_t count = count_;
    lock.unlock();
    std::exception_ptr failure;
    try {
      writer_.Append(samples, count);
    } catch (...) {
      failure = std::current_exception();
    }
    lock.lock();
    if (failure && !failure_) failure_ = failure;
    samples_ = nullptr;
    changed_.notify_all();
  }
}

}  // namespace quorvane
