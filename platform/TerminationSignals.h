// SIGTERM, SIGINT and SIGHUP (a desktop logging out, a kill, a closed terminal) handed to a
// thread of their own, where ending the process may do more than a signal handler can.
#pragma once

#include <functional>

namespace quorvane {

// Blocks the three signals in the calling thread, and so in every thread it starts from
// now on, and calls `ended` with a signal's number on a thread that waits for them. Call
// it before any other thread starts: a thread that does not block them would end the
// process at once.
void OnTerminationSignal(std::function<void(int)> ended);

}  // namespace quorvane
