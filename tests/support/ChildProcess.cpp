#include "tests/support/ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstring>
#include <sstream>
#include <stdexcept>

#include "tests/support/TempFolder.h"

extern char** environ;

namespace quorvane::testing {

namespace {

std::string VariableName(const std::string& entry) { return entry.substr(0, entry.find('=')); }

std::vector<std::string> ChildEnvironment(const std::vector<std::string>& changes) {
  std::vector<std::string> variables;
  for (char** entry = environ; *entry; ++entry) {
    const std::string variable(*entry);
    bool replaced = false;
    for (const std::string& change : changes) {
      replaced = replaced || VariableName(change) == VariableName(variable);
    }
    if (!replaced) variables.push_back(variable);
  }
  variables.insert(variables.end(), changes.begin(), changes.end());
  return variables;
}

std::vector<char*> Pointers(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

ProgramRun RunProgram(const std::string& program, const std::vector<std::string>& arguments,
                      const std::vector<std::string>& environment) {
  // Both streams go to files, so a program that prints a lot never waits for the reader.
  const TempFolder capture;
  const std::string outFile = capture.File("out");
  const std::string errFile = capture.File("err");
  std::vector<std::string> words = {program};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<std::string> variables = ChildEnvironment(environment);
  std::vector<char*> argv = Pointers(words);
  std::vector<char*> envp = Pointers(variables);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0600);
  posix_spawn_file_actions_addopen(&actions, 2, errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0600);
  pid_t child = 0;
  const int started =
      posix_spawnp(&child, program.c_str(), &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  if (started != 0) {
    throw std::runtime_error("cannot start " + program + ": " + std::strerror(started));
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) throw std::runtime_error("waiting for " + program + " failed");
  }
  ProgramRun run;
  run.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  run.out = ReadFileBytes(outFile);
  run.err = ReadFileBytes(errFile);
  return run;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

}  // namespace quorvane::testing
