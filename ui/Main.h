// One editing session of the editor, from its command line to the window's closing.
#pragma once

#include <string>

namespace quorvane {

enum class MainOutcome {
  SessionEnded,       // the window was shown and has closed
  Embedding,          // "-embedding": started to serve the host, no session yet
  ProjectNotLoaded,   // the project could not be loaded; its message has been shown
};

// Prepares everything in its order, shows the editor window and returns when it has
// closed. `CommandLine` is what a host handed over; when empty, the process's own
// arguments are used.
MainOutcome Main(const std::string& CommandLine);

}  // namespace quorvane
