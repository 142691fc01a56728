// Tracing to a viewer, and the texts of reported errors.
#include "core/Trace.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <new>
#include <string>
#include <tuple>
#include <vector>

#include "core/ErrorReport.h"

namespace quorvane {
namespace {

struct CollectingViewer : TraceViewer {
  explicit CollectingViewer(std::vector<std::string>* lines) : lines(lines) {}
  void Send(const std::string& bytes) override { lines->push_back(bytes); }
  std::vector<std::string>* lines;
};

class TraceTest : public ::testing::Test {
 protected:
  void SetUp() override { SetTraceProgramName("quorvane-audio"); }
  void TearDown() override { SetTraceViewerSearch(nullptr); }
  void Collect() {
    SetTraceViewerSearch([this] { return std::make_unique<CollectingViewer>(&lines); });
  }
  std::vector<std::string> lines;
};

TEST_F(TraceTest, SearchesForAViewerOnceAndSendsNothingWithoutOne) {
  int searches = 0;
  bool viewerRunning = false;
  SetTraceViewerSearch([&]() -> std::unique_ptr<TraceViewer> {
    ++searches;
    if (!viewerRunning) return nullptr;
    return std::make_unique<CollectingViewer>(&lines);
  });
  for (int i = 0; i < 100; ++i) Trace("line", i);
  // A viewer started later is not found.
  viewerRunning = true;
  Trace("after");
  EXPECT_EQ(searches, 1);
  EXPECT_EQ(TraceViewerSearchCount(), 1);
  EXPECT_FALSE(TraceViewerPresent());
  EXPECT_TRUE(lines.empty());
}

TEST_F(TraceTest, ErrorTextsHaveTheirFourFormsAndTraceErrorSendsTheFirst) {
  EXPECT_EQ(TraceErrorText("File not found", "QuorvaneModOld", "Main", 12),
            "Error: File not found\r\nin QuorvaneAudio.QuorvaneModOld.Main at line 12");
  EXPECT_EQ(TraceErrorText("Overflow", "WaveEditor_Frm", "Form_Load", 0, true),
            "Error : Overflow\r\nin QuorvaneAudio.WaveEditor_Frm.Form_Load at line 0");
  EXPECT_EQ(ActionErrorText("Error Saving", "Disk full"), "Error Saving\r\nDisk full");
  EXPECT_EQ(ActionErrorText("", "Disk full"), "Disk full");
  EXPECT_EQ(LocatedErrorText("Bad value", "WaveEditor_Frm", "SetLoopONOFF", 7),
            "Bad value\r\nin QuorvaneAudio.WaveEditor_Frm.SetLoopONOFF at line 7");
  EXPECT_EQ(NumberedErrorText(61, 40u, "OpenSaveClass", "Disk full"),
            "Error (61) occurred at or after line 40 of OpenSaveClass\r\n\r\nDisk full");
  EXPECT_EQ(NumberedErrorText(5, std::nullopt, "OpenSaveClass", "Invalid call"),
            "Error (5) occurred (unspecified) of OpenSaveClass\r\n\r\nInvalid call");
  Collect();
  const std::source_location where = std::source_location::current();
  TraceError(RuntimeError(53, "File not found", where), "QuorvaneModOld", "Main");
  EXPECT_EQ(lines, std::vector<std::string>{"quorvane-audio: Error: File not found\r\nin "
                                            "QuorvaneAudio.QuorvaneModOld.Main at line " +
                                            std::to_string(where.line())});
}

TEST(ErrorReport, ErrnoBecomesANumberedErrorWithTheRaisingLine) {
  for (const auto& [number, expected, reason] :
       {std::tuple{ENOENT, kErrorFileNotFound, "No such file or directory"},
        std::tuple{ENOSPC, kErrorDiskFull, "No space left on device"}}) {
    SCOPED_TRACE(reason);
    errno = number;
    uint32_t raisingLine = 0;
    try {
      raisingLine = __LINE__ + 1;
      ThrowErrno("Opening /x/y.wav");
      ADD_FAILURE() << "nothing thrown";
    } catch (const std::exception& error) {
      EXPECT_EQ(ErrorDescription(error), std::string("Opening /x/y.wav: ") + reason);
      EXPECT_EQ(ErrorNumber(error), expected);
      EXPECT_EQ(ErrorLine(error), raisingLine);
    }
  }
  // Foreign exceptions have no number or line.
  const std::bad_alloc outOfMemory;
  EXPECT_EQ(ErrorDescription(outOfMemory), "Out of memory");
  EXPECT_EQ(ErrorNumber(outOfMemory), kErrorOutOfMemory);
  const std::logic_error logic("broken");
  EXPECT_EQ(ErrorNumber(logic), 0);
  EXPECT_EQ(ErrorLine(logic), 0u);
}

}  // namespace
}  // namespace quorvane
