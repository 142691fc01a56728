#include "platform/qt/TerminationSignals.h"

#include <sys/socket.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <csignal>

namespace quorvane {

namespace {

// The handler's end and the event loop's end of a socket pair.
int g_signalSocket[2] = {-1, -1};

void ForwardSignal(int signal) {
  const auto number = static_cast<unsigned char>(signal);
  // write() may be called in a signal handler; when the socket is full, a signal is
  // already on its way.
  (void)!::write(g_signalSocket[0], &number, 1);
}

}  // namespace

void OnTerminationSignal(std::function<void(int)> ended) {
  if (g_signalSocket[0] >= 0 ||
      ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, g_signalSocket) != 0) {
    return;
  }
  auto* notifier =
      new QSocketNotifier(g_signalSocket[1], QSocketNotifier::Read, QCoreApplication::instance());
  QObject::connect(notifier, &QSocketNotifier::activated, [ended = std::move(ended)] {
    unsigned char number = 0;
    if (::read(g_signalSocket[1], &number, 1) == 1) ended(number);
  });
  struct sigaction action = {};
  action.sa_handler = ForwardSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) ::sigaction(signal, &action, nullptr);
}

}  // namespace quorvane
