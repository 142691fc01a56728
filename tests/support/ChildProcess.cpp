#include "tests/support/ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace quorvane::testing {

namespace {

std::string VariableName(const std::string& entry) { return entry.substr(0, entry.find('=')); }

std::vector<char*> Pointers(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

RunningProgram::RunningProgram(const std::string& program,
                               const std::vector<std::string>& arguments,
                               const std::vector<std::string>& environment) {
  std::vector<std::string> words = {program};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<std::string> variables;
  for (char** entry = environ; *entry; ++entry) {
    bool changed = false;
    for (const std::string& change : environment) {
      changed = changed || VariableName(change) == VariableName(*entry);
    }
    if (!changed) variables.emplace_back(*entry);
  }
  for (const std::string& change : environment) {
    if (change.find('=') != std::string::npos) variables.push_back(change);
  }
  std::vector<char*> argv = Pointers(words);
  std::vector<char*> envp = Pointers(variables);

  // Both streams go to files, so a program that prints a lot never waits for the reader.
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  for (const auto& [fd, name] : {std::pair{1, "out"}, std::pair{2, "err"}}) {
    posix_spawn_file_actions_addopen(&actions, fd, capture_.File(name).c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
  }
  pid_t child = 0;
  const int started =
      posix_spawnp(&child, program.c_str(), &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  if (started != 0) {
    throw std::runtime_error("cannot start " + program + ": " + std::strerror(started));
  }
  pid_ = child;
}

RunningProgram::~RunningProgram() {
  if (pid_ > 0) ::kill(pid_, SIGKILL);
  if (pid_ > 0) Wait();
}

bool RunningProgram::AwaitError(const std::string& text) {
  const auto giveUp = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (pid_ > 0 && std::chrono::steady_clock::now() < giveUp) {
    if (capture_.Read("err").find(text) != std::string::npos) return true;
    if (::waitpid(pid_, &status_, WNOHANG) == pid_) pid_ = -1;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return capture_.Read("err").find(text) != std::string::npos;
}

bool RunningProgram::AwaitOutput(const std::string& text, size_t count) {
  const auto lines = [&] {
    const std::string out = capture_.Read("out");
    size_t found = 0;
    for (size_t at = out.find(text); at != std::string::npos; at = out.find(text, at + 1)) ++found;
    return found;
  };
  const auto giveUp = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (pid_ > 0 && std::chrono::steady_clock::now() < giveUp) {
    if (lines() >= count) return true;
    if (::waitpid(pid_, &status_, WNOHANG) == pid_) pid_ = -1;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return lines() >= count;
}

ProgramRun RunningProgram::Kill() {
  if (pid_ > 0) ::kill(pid_, SIGKILL);
  return Wait();
}

ProgramRun RunningProgram::Wait(bool terminate) {
  if (pid_ > 0 && terminate) ::kill(pid_, SIGTERM);
  while (pid_ > 0 && ::waitpid(pid_, &status_, 0) < 0) {
    if (errno != EINTR) throw std::runtime_error("waiting for a program failed");
  }
  pid_ = -1;
  return {WIFEXITED(status_) ? WEXITSTATUS(status_) : -1, capture_.Read("out"),
          capture_.Read("err")};
}

ProgramRun RunProgram(const std::string& program, const std::vector<std::string>& arguments,
                      const std::vector<std::string>& environment) {
  return RunningProgram(program, arguments, environment).Wait();
}

}  // namespace quorvane::testing
