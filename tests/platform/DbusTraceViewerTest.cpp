#include "platform/qt/DbusTraceViewer.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <string>
#include <vector>

#include "core/Trace.h"
#include "platform/ProgramFile.h"
#include "tests/support/ChildProcess.h"

namespace quorvane::testing {
namespace {

constexpr char kListening[] = "quorvane-trace-viewer: listening as ";

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
  RunningProgram viewer(ViewerProgram(), {});
  ASSERT_TRUE(viewer.AwaitError(kListening));
  SetTraceViewerSearch(FindDbusTraceViewer);
  Trace("A", 3, std::vector<std::string>{"x", "y"});
  Trace("Error: File not found\r\nin QuorvaneAudio.QuorvaneModOld.Main at line 0");
  Trace("Form_Load: Entry", 2.5, std::vector<int>{},
        "Gr\xC3\xBC\xC3\x9F"
        "e");
  EXPECT_TRUE(TraceViewerPresent());
  EXPECT_EQ(TraceViewerSearchCount(), 1);
  // Each call returns after the viewer has printed and flushed the line.
  EXPECT_EQ(viewer.Wait(true).out,
            "platform_qt_tests: A\t3\tx\ty\n"
            "platform_qt_tests: Error: File not found\r\n"
            "in QuorvaneAudio.QuorvaneModOld.Main at line 0\n"
            "platform_qt_tests: Form_Load: Entry\t2.5\tGr\xC3\xBC\xC3\x9F"
            "e\n");
}

TEST_F(DbusTraceChannel, OwnerExposingValueTwoIsNotAViewer) {
  RunningProgram viewer(ViewerProgram(), {"--value", "2"});
  ASSERT_TRUE(viewer.AwaitError(kListening));
  EXPECT_EQ(FindDbusTraceViewer(), nullptr);
  SetTraceViewerSearch(FindDbusTraceViewer);
  Trace("Main: Command line is ", "-embedding");
  EXPECT_FALSE(TraceViewerPresent());
  EXPECT_EQ(viewer.Wait(true).out, "");
}

TEST_F(DbusTraceChannel, AProcessWithoutViewerSearchesOnceInItsLifeAndSaysNothing) {
  // Qt's D-Bus thread may still be at work while a process ends; a message printed then
  // shows up in some runs only, so this takes a number of them. The last has nothing it
  // could reach a session bus by: no address, no runtime folder with a bus socket in it,
  // no display to start one for.
  TempFolder runtimeFolder;
  for (int run = 0; run <= 20; ++run) {
    SCOPED_TRACE(run);
    const ProgramRun probe = run < 20 ? RunProgram(ProbeProgram(), {"100"})
                                      : RunProgram(ProbeProgram(), {"500"},
                                                   {"DBUS_SESSION_BUS_ADDRESS", "DISPLAY",
                                                    "XDG_RUNTIME_DIR=" + runtimeFolder.Path()});
    EXPECT_EQ(probe.out, "");
    EXPECT_EQ(probe.err, "");
    EXPECT_EQ(probe.exitStatus, 0);
  }
}

}  // namespace
}  // namespace quorvane::testing
