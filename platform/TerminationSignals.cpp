#include "platform/TerminationSignals.h"

#include <pthread.h>

#include <csignal>
#include <thread>

namespace quorvane {

void OnTerminationSignal(std::function<void(int)> ended) {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&signals, signal);
  if (pthread_sigmask(SIG_BLOCK, &signals, nullptr) != 0) return;
  std::thread([signals, ended = std::move(ended)] {
    int signal = 0;
    while (sigwait(&signals, &signal) != 0) {
    }
    ended(signal);
  }).detach();
}

}  // namespace quorvane
