// Running an external program with an argument vector and waiting for its end, without a
// shell: no shell ever sees a path that came from a project file, and every file name
// reaches the program whole, whatever characters it holds.
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
  // The file the program writes: a program whose file has not changed size for
  // `stallLimit` is killed. Empty: the program may take as long as it takes.
  std::string progressFile;
  std::chrono::milliseconds stallLimit{std::chrono::seconds(60)};
};

// How a program run ended.
enum class ProgramEnd {
  NotStarted,  // the program could not be started
  Exited,      // it ended by itself, with `exitCode`
  Killed,      // a signal ended it
  Stalled,     // its progress file stood still for the stall limit, and it was killed
};

struct ProgramOutcome {
  ProgramEnd end = ProgramEnd::NotStarted;
  int exitCode = -1;  // the program's exit status when it exited, else -1

  bool Succeeded() const { return end == ProgramEnd::Exited && exitCode == 0; }
};

// Starts arguments[0] as the program with the rest as its arguments, inheriting this
// process's environment and folder, with its standard streams on /dev/null, and waits
// until it has ended. Returns at once when the program could not be started.
ProgramOutcome RunAndWaitProcess(const std::vector<std::string>& arguments,
                                 const RunOptions& options = {});

// For a process that is ending, from any thread: kills every program started here that is
// still running, and starts none from then on.
void EndRunningPrograms();

}  // namespace quorvane
