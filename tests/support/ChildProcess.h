// Running a program from a test without a shell and keeping everything it printed.
#pragma once

#include <string>
#include <vector>

#include "tests/support/TempFolder.h"

namespace quorvane::testing {

struct ProgramRun {
  int exitStatus = -1;  // the exit status; -1 when the program did not end by exiting
  std::string out;      // standard output
  std::string err;      // standard error
};

// `program` (a path, or a name looked up on PATH) started with `arguments`, standard input
// empty, standard output and error going to files, in this process's environment with the
// NAME=value entries of `environment` replacing or adding variables and a bare NAME
// removing one. Throws when it cannot be started; killed when it still runs at the end.
class RunningProgram {
 public:
  RunningProgram(const std::string& program, const std::vector<std::string>& arguments,
                 const std::vector<std::string>& environment = {});
  ~RunningProgram();
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  // Waits until standard error holds `text`; false when the program ends first, or after
  // a minute.
  bool AwaitError(const std::string& text);
  // Waits until standard output holds `text` `count` times; false when the program ends
  // first.
  bool AwaitOutput(const std::string& text, size_t count);
  // Kills it with SIGKILL, as a crash or a power cut would end it, and waits for the end.
  ProgramRun Kill();
  // Waits for the end (after a SIGTERM when `terminate`) and returns what it printed.
  ProgramRun Wait(bool terminate = false);

 private:
  TempFolder capture_;
  int pid_ = -1;
  int status_ = 0;
};

// The program run to its end.
ProgramRun RunProgram(const std::string& program, const std::vector<std::string>& arguments,
                      const std::vector<std::string>& environment = {});

}  // namespace quorvane::testing
