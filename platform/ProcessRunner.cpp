#include "platform/ProcessRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <mutex>
#include <set>
#include <thread>

extern char** environ;

namespace quorvane {

namespace {

// A descriptor that becomes readable when the child ends, so a wait can return at once
// instead of sleeping out its whole interval; -1 where the kernel has none.
int OpenProcessDescriptor(pid_t pid) {
#ifdef SYS_pidfd_open
  return static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
#else
  (void)pid;
  return -1;
#endif
}

// Every program started here and not yet reaped, so that a process that is ending can take
// them along. A child is reaped under the same lock, so a number in the record is always
// still that child's and a kill never reaches a stranger who got the number later.
std::mutex g_childrenMutex;
std::set<pid_t> g_children;
bool g_ending = false;

// True once the child has ended (and is reaped); its wait status goes into `status`.
bool Reaped(pid_t pid, int& status) {
  const std::lock_guard lock(g_childrenMutex);
  pid_t result = 0;
  do {
    result = ::waitpid(pid, &status, WNOHANG);
  } while (result < 0 && errno == EINTR);
  const bool ended = result == pid || (result < 0 && errno == ECHILD);
  if (ended) g_children.erase(pid);
  return ended;
}

// The size of a file, -1 when there is none.
int64_t FileSize(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? static_cast<int64_t>(status.st_size) : -1;
}

}  // namespace

std::vector<std::string> SplitCommandLine(const std::string& commandLine) {
  std::vector<std::string> arguments;
  std::string current;
  bool inQuotes = false;
  bool haveArgument = false;
  for (const char c : commandLine) {
    if (c == '"') {
      inQuotes = !inQuotes;
      haveArgument = true;
    } else if ((c == ' ' || c == '\t') && !inQuotes) {
      if (haveArgument) arguments.push_back(current);
      current.clear();
      haveArgument = false;
    } else {
      current += c;
      haveArgument = true;
    }
  }
  if (haveArgument) arguments.push_back(current);
  return arguments;
}

ProgramOutcome RunAndWaitProcess(const std::vector<std::string>& arguments,
                                 const RunOptions& options) {
  ProgramOutcome outcome;
  if (arguments.empty() || arguments[0].empty()) return outcome;
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  // The program runs without a console: what it prints goes nowhere, so a front end's own
  // standard streams carry only what the front end writes.
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  for (const int stream : {0, 1, 2}) {
    ::posix_spawn_file_actions_addopen(&actions, stream, "/dev/null",
                                       stream == 0 ? O_RDONLY : O_WRONLY, 0);
  }
  // Signals the front end blocks for its termination thread are not the program's to block.
  posix_spawnattr_t attributes;
  ::posix_spawnattr_init(&attributes);
  sigset_t none;
  sigemptyset(&none);
  ::posix_spawnattr_setsigmask(&attributes, &none);
  // A group of its own, so that whatever the program starts ends with it.
  ::posix_spawnattr_setpgroup(&attributes, 0);
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
  pid_t pid = 0;
  int started = -1;
  {
    const std::lock_guard lock(g_childrenMutex);
    if (!g_ending) {
      started = ::posix_spawn(&pid, argv[0], &actions, &attributes, argv.data(), environ);
      if (started == 0) g_children.insert(pid);
    }
  }
  ::posix_spawn_file_actions_destroy(&actions);
  ::posix_spawnattr_destroy(&attributes);
  if (started != 0) return outcome;

  const int descriptor = OpenProcessDescriptor(pid);
  const bool watched = !options.progressFile.empty();
  int64_t lastSize = watched ? FileSize(options.progressFile) : -1;
  auto lastProgress = std::chrono::steady_clock::now();
  bool stalled = false;
  int status = -1;  // stays so (not an exit) when someone else reaped the child
  while (!Reaped(pid, status)) {
    auto wait = options.pollInterval;
    if (watched && !stalled) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(
          lastProgress + options.stallLimit - std::chrono::steady_clock::now());
      wait = std::clamp(left, std::chrono::milliseconds(1), wait);
    }
    if (descriptor >= 0) {
      pollfd ready{descriptor, POLLIN, 0};
      ::poll(&ready, 1, static_cast<int>(wait.count()));
    } else {
      std::this_thread::sleep_for(wait);
    }
    if (!watched || stalled) continue;
    // A file that changes size is progress (an encoder may first empty the file it
    // overwrites); one that stands still as long as the limit means the program hangs.
    const int64_t size = FileSize(options.progressFile);
    const auto now = std::chrono::steady_clock::now();
    if (size != lastSize) {
      lastSize = size;
      lastProgress = now;
    } else if (now - lastProgress >= options.stallLimit) {
      ::kill(-pid, SIGKILL);  // not reaped yet: still our child, and its group is its own
      stalled = true;
    }
  }
  if (descriptor >= 0) ::close(descriptor);
  if (stalled) {
    outcome.end = ProgramEnd::Stalled;
  } else if (WIFEXITED(status)) {
    outcome.end = ProgramEnd::Exited;
    outcome.exitCode = WEXITSTATUS(status);
  } else {
    outcome.end = ProgramEnd::Killed;
  }
  std::this_thread::sleep_for(options.settleTime);
  return outcome;
}

void EndRunningPrograms() {
  const std::lock_guard lock(g_childrenMutex);
  g_ending = true;
  for (const pid_t child : g_children) ::kill(-child, SIGKILL);
}

}  // namespace quorvane
