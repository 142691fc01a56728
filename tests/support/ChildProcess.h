// Running a program from a test without a shell and keeping everything it printed.
#pragma once

#include <string>
#include <vector>

namespace quorvane::testing {

struct ProgramRun {
  int exitStatus = -1;  // the exit status; -1 when the program did not end by exiting
  std::string out;      // standard output
  std::string err;      // standard error
};

// Runs `program` (a path, or a name looked up on PATH) with `arguments`, standard input
// empty, in this process's environment with the NAME=value entries of `environment`
// replacing or adding variables, and waits for its end. Throws when it cannot be started.
ProgramRun RunProgram(const std::string& program, const std::vector<std::string>& arguments,
                      const std::vector<std::string>& environment = {});

// The lines of a text, without their line ends; a last line without one counts too.
std::vector<std::string> Lines(const std::string& text);

}  // namespace quorvane::testing
