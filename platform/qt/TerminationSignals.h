// SIGTERM, SIGINT and SIGHUP (a desktop logging out, a kill, a closed terminal) turned into
// a call on the main thread's event loop, where ending the process may touch any table.
#pragma once

#include <functional>

namespace quorvane {

// From now on each of the three signals calls `ended` with its number, once the event loop
// of the main thread runs (also inside a modal dialog). Needs the Qt application object;
// a second call changes nothing.
void OnTerminationSignal(std::function<void(int)> ended);

}  // namespace quorvane
