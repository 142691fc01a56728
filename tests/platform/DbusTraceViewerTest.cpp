#include "platform/DbusTraceViewer.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QCoreApplication>
#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include "core/Trace.h"
#include "platform/ProgramFile.h"
#include "tests/support/TempFolder.h"

extern char** environ;

namespace quorvane {
namespace {

std::vector<std::string> CurrentEnvironment() {
  std::vector<std::string> environment;
  for (char** entry = environ; *entry != nullptr; ++entry) environment.emplace_back(*entry);
  return environment;
}

std::string ReadToEnd(int fd) {
  std::string text;
  char buffer[4096];
  for (;;) {
    const ssize_t count = ::read(fd, buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return text;
    text.append(buffer, static_cast<size_t>(count));
  }
}

// A program started with its standard output and error on pipes of ours; killed and
// reaped at the end of the test when it still runs. Its output is small, so reading one
// pipe to its end before the other cannot stall it.
class ChildProcess {
 public:
  explicit ChildProcess(const std::vector<std::string>& arguments,
                        const std::vector<std::string>& environment = CurrentEnvironment()) {
    int output[2];
    int errors[2];
    if (::pipe2(output, O_CLOEXEC) != 0 || ::pipe2(errors, O_CLOEXEC) != 0) return;
    outputFd_ = output[0];
    errorsFd_ = errors[0];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors[1], STDERR_FILENO);
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
      argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (const std::string& entry : environment) envp.push_back(const_cast<char*>(entry.c_str()));
    envp.push_back(nullptr);
    if (posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), envp.data()) != 0) pid_ = -1;
    posix_spawn_file_actions_destroy(&actions);
    ::close(output[1]);
    ::close(errors[1]);
  }

  ~ChildProcess() {
    if (pid_ > 0) {
      ::kill(pid_, SIGKILL);
      Wait();
    }
    if (outputFd_ >= 0) ::close(outputFd_);
    if (errorsFd_ >= 0) ::close(errorsFd_);
  }

  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  bool Started() const { return pid_ > 0; }

  // Reads standard error up to the viewer's notice that it owns the bus name; false when
  // the program ends (or closes standard error) without giving it.
  bool AwaitListening() {
    std::string line;
    char byte = 0;
    for (;;) {
      const ssize_t count = ::read(errorsFd_, &byte, 1);
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) return false;
      if (byte != '\n') {
        line += byte;
      } else if (line.starts_with("quorvane-trace-viewer: listening as ")) {
        return true;
      } else {
        std::fprintf(stderr, "viewer said: %s\n", line.c_str());
        line.clear();
      }
    }
  }

  void Terminate() { ::kill(pid_, SIGTERM); }

  std::string ReadOutput() { return ReadToEnd(outputFd_); }
  std::string ReadErrors() { return ReadToEnd(errorsFd_); }

  // The exit status, or 128 + the signal that ended the program.
  int Wait() {
    int status = 0;
    while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

 private:
  pid_t pid_ = -1;
  int outputFd_ = -1;
  int errorsFd_ = -1;
};

std::string ViewerProgram() { return ProgramFolder() + "/quorvane-trace-viewer"; }
std::string ProbeProgram() { return ProgramFolder() + "/trace_probe"; }

class DbusTraceChannel : public ::testing::Test {
 protected:
  void SetUp() override {
    // The batch tool traces without a QCoreApplication, and so does this test program.
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    SetTraceProgramName(ProgramBaseName());
  }
  void TearDown() override { SetTraceViewerSearch(nullptr); }
};

TEST_F(DbusTraceChannel, ViewerPrintsEachLineWithTheBytesSent) {
  ChildProcess viewer({ViewerProgram()});
  ASSERT_TRUE(viewer.Started());
  ASSERT_TRUE(viewer.AwaitListening());

  SetTraceViewerSearch(FindDbusTraceViewer);
  Trace("A", 3, std::vector<std::string>{"x", "y"});
  Trace("Error: File not found\r\nin QuorvaneAudio.QuorvaneModOld.Main at line 0");
  Trace("Form_Load: Entry", 2.5, std::vector<int>{},
        "Gr\xC3\xBC\xC3\x9F"
        "e");
  EXPECT_TRUE(TraceViewerPresent());
  EXPECT_EQ(TraceViewerSearchCount(), 1);

  // Each call returns after the viewer has printed and flushed the line.
  viewer.Terminate();
  EXPECT_EQ(viewer.ReadOutput(),
            "platform_qt_tests: A\t3\tx\ty\n"
            "platform_qt_tests: Error: File not found\r\n"
            "in QuorvaneAudio.QuorvaneModOld.Main at line 0\n"
            "platform_qt_tests: Form_Load: Entry\t2.5\tGr\xC3\xBC\xC3\x9F"
            "e\n");
}

TEST_F(DbusTraceChannel, WithoutViewerSearchesOnceAndNeverAgain) {
  SetTraceViewerSearch(FindDbusTraceViewer);
  for (int i = 0; i < 1000; ++i) Trace("Wave_Pic_MouseDown:", i);
  EXPECT_FALSE(TraceViewerPresent());
  EXPECT_EQ(TraceViewerSearchCount(), 1);

  // A viewer started after the search is never looked for, and receives nothing.
  ChildProcess viewer({ViewerProgram()});
  ASSERT_TRUE(viewer.AwaitListening());
  Trace("FileWriteWavePart: Enter");
  EXPECT_FALSE(TraceViewerPresent());
  EXPECT_EQ(TraceViewerSearchCount(), 1);
  viewer.Terminate();
  EXPECT_EQ(viewer.ReadOutput(), "");
}

TEST_F(DbusTraceChannel, ProcessWithoutViewerSearchesOnceInItsLifeAndSaysNothing) {
  // Qt's D-Bus thread may still be at work while a process ends; a message printed then
  // shows up in some runs only, so this takes a number of them.
  for (int run = 0; run < 20; ++run) {
    ChildProcess probe({ProbeProgram(), "100"});
    ASSERT_TRUE(probe.Started());
    EXPECT_EQ(probe.ReadOutput(), "");
    EXPECT_EQ(probe.ReadErrors(), "");
    EXPECT_EQ(probe.Wait(), 0);
  }
}

TEST_F(DbusTraceChannel, OwnerExposingValueTwoIsNotAViewer) {
  ChildProcess viewer({ViewerProgram(), "--value", "2"});
  ASSERT_TRUE(viewer.AwaitListening());

  EXPECT_EQ(FindDbusTraceViewer(), nullptr);
  SetTraceViewerSearch(FindDbusTraceViewer);
  Trace("Main: Command line is ", "-embedding");
  EXPECT_FALSE(TraceViewerPresent());
  viewer.Terminate();
  EXPECT_EQ(viewer.ReadOutput(), "");
}

TEST_F(DbusTraceChannel, NoSessionBusGivesNoViewerAndNoOutput) {
  // Nothing the process could reach a session bus by: no address, no runtime folder with
  // a bus socket in it, no display to start one for.
  testing::TempFolder runtimeFolder;
  std::vector<std::string> environment;
  for (const std::string& entry : CurrentEnvironment()) {
    if (!entry.starts_with("DBUS_SESSION_BUS_ADDRESS=") && !entry.starts_with("DISPLAY=") &&
        !entry.starts_with("XDG_RUNTIME_DIR=")) {
      environment.push_back(entry);
    }
  }
  environment.push_back("XDG_RUNTIME_DIR=" + runtimeFolder.Path());

  ChildProcess probe({ProbeProgram(), "500"}, environment);
  ASSERT_TRUE(probe.Started());
  EXPECT_EQ(probe.ReadOutput(), "");
  EXPECT_EQ(probe.ReadErrors(), "");
  EXPECT_EQ(probe.Wait(), 0);
}

}  // namespace
}  // namespace quorvane
