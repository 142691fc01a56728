// A connection to the PulseAudio sound server (or a server that speaks its protocol) on a
// thread of its own: libpulse's threaded main loop and a context on it. Callbacks of the
// context and its streams run on that thread with the loop locked; every other thread locks
// the loop (PulseLock) before it touches them. Only the PulseAudio layers include this
// header: their own headers name no libpulse type.
#pragma once

#include <pulse/pulseaudio.h>

namespace quorvane {

class PulseConnection {
 public:
  // Connects, without starting a server where none runs; Connected() tells whether the
  // server answered within a few seconds.
  PulseConnection();
  ~PulseConnection();
  PulseConnection(const PulseConnection&) = delete;
  PulseConnection& operator=(const PulseConnection&) = delete;

  bool Connected() const { return connected_; }
  pa_threaded_mainloop* Loop() const { return loop_; }
  pa_context* Context() const { return context_; }

  // Waits, the loop locked, until the operation has ended (or the connection was lost), and
  // releases it. False when the operation could not be started.
  bool Finish(pa_operation* operation);
  // Wakes every thread that waits on the loop; a callback given `this` as user data.
  static void Signal(pa_context* context, void* connection);

 private:
  pa_threaded_mainloop* loop_ = nullptr;
  pa_context* context_ = nullptr;
  bool connected_ = false;
};

// Holds the loop's lock for as long as it lives.
class PulseLock {
 public:
  explicit PulseLock(const PulseConnection& connection) : loop_(connection.Loop()) {
    pa_threaded_mainloop_lock(loop_);
  }
  ~PulseLock() { pa_threaded_mainloop_unlock(loop_); }
  PulseLock(const PulseLock&) = delete;
  PulseLock& operator=(const PulseLock&) = delete;

 private:
  pa_threaded_mainloop* loop_;
};

}  // namespace quorvane
