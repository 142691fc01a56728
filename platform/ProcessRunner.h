// Running an external program from a command line and waiting for its end, without a
// shell: no shell ever sees a path that came from a project file.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace quorvane {

// Splits a command line into arguments: blanks separate, double quotes group (and are
// removed), everything else is taken as it stands.
std::vector<std::string> SplitCommandLine(const std::string& commandLine);

struct RunOptions {
  std::chrono::milliseconds pollInterval{500};  // the longest single wait for the child
  std::chrono::milliseconds settleTime{500};    // a last pause after the child has ended
};

// Starts the first argument as the program with the rest as its arguments, inheriting
// this process's environment and folder, with its standard streams on /dev/null, and waits
// until it has ended. Returns false at once when the program could not be started.
// `exitCode`, when given, gets the program's exit status (-1 when it did not exit normally).
bool RunAndWaitProcess(const std::string& commandLine, const RunOptions& options = {},
                       int* exitCode = nullptr);

}  // namespace quorvane
