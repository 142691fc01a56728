#include "platform/PulseConnection.h"

namespace quorvane {

namespace {

// How long a server may take to answer before it counts as absent.
constexpr pa_usec_t kAnswerTime = 5 * PA_USEC_PER_SEC;

struct ConnectWait {
  pa_threaded_mainloop* loop;
  bool timedOut = false;
};

void WakeOnTimeOut(pa_mainloop_api*, pa_time_event*, const struct timeval*, void* wait) {
  auto* waiting = static_cast<ConnectWait*>(wait);
  waiting->timedOut = true;
  pa_threaded_mainloop_signal(waiting->loop, 0);
}

void WakeOnOperationEnd(pa_operation*, void* loop) {
  pa_threaded_mainloop_signal(static_cast<pa_threaded_mainloop*>(loop), 0);
}

}  // namespace

PulseConnection::PulseConnection() {
  loop_ = pa_threaded_mainloop_new();
  if (loop_ == nullptr) return;
  context_ = pa_context_new(pa_threaded_mainloop_get_api(loop_), "quorvane-audio");
  if (context_ == nullptr) return;
  pa_context_set_state_callback(context_, &PulseConnection::Signal, this);
  if (pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) return;
  if (pa_threaded_mainloop_start(loop_) < 0) return;
  PulseLock lock(*this);
  ConnectWait wait{loop_};
  pa_time_event* timeOut =
      pa_context_rttime_new(context_, pa_rtclock_now() + kAnswerTime, &WakeOnTimeOut, &wait);
  for (;;) {
    const pa_context_state_t state = pa_context_get_state(context_);
    if (state == PA_CONTEXT_READY) {
      connected_ = true;
      break;
    }
    if (!PA_CONTEXT_IS_GOOD(state) || wait.timedOut) break;
    pa_threaded_mainloop_wait(loop_);
  }
  if (timeOut != nullptr) pa_threaded_mainloop_get_api(loop_)->time_free(timeOut);
}

PulseConnection::~PulseConnection() {
  if (context_ != nullptr) {
    {
      PulseLock lock(*this);
      pa_context_set_state_callback(context_, nullptr, nullptr);
      pa_context_disconnect(context_);
    }
  }
  if (loop_ != nullptr) pa_threaded_mainloop_stop(loop_);
  if (context_ != nullptr) pa_context_unref(context_);
  if (loop_ != nullptr) pa_threaded_mainloop_free(loop_);
}

bool PulseConnection::Finish(pa_operation* operation) {
  if (operation == nullptr) return false;
  pa_operation_set_state_callback(operation, &WakeOnOperationEnd, loop_);
  while (pa_operation_get_state(operation) == PA_OPERATION_RUNNING) {
    pa_threaded_mainloop_wait(loop_);
  }
  pa_operation_unref(operation);
  return true;
}

void PulseConnection::Signal(pa_context*, void* connection) {
  pa_threaded_mainloop_signal(static_cast<PulseConnection*>(connection)->loop_, 0);
}

}  // namespace quorvane
