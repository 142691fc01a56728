#include "core/ErrorReport.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <memory>
#include <new>

#include "core/Trace.h"

namespace quorvane {
namespace {

TEST(ErrorReport, TheFourFormsHaveTheirExactTexts) {
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
}

TEST(ErrorReport, ErrnoBecomesANumberedErrorWithTheRaisingLine) {
  errno = ENOENT;
  uint32_t raisingLine = 0;
  try {
    raisingLine = __LINE__ + 1;
    ThrowErrno("Opening /x/y.wav");
  } catch (const std::exception& error) {
    EXPECT_EQ(ErrorDescription(error), "Opening /x/y.wav: No such file or directory");
    EXPECT_EQ(ErrorNumber(error), kErrorFileNotFound);
    EXPECT_EQ(ErrorLine(error), raisingLine);
  }
  errno = ENOSPC;
  try {
    ThrowErrno("Writing");
  } catch (const std::exception& error) {
    EXPECT_EQ(ErrorNumber(error), kErrorDiskFull);
  }
}

TEST(ErrorReport, ForeignExceptionsHaveNoNumberOrLine) {
  const std::bad_alloc outOfMemory;
  EXPECT_EQ(ErrorDescription(outOfMemory), "Out of memory");
  EXPECT_EQ(ErrorNumber(outOfMemory), kErrorOutOfMemory);
  const std::logic_error logic("broken");
  EXPECT_EQ(ErrorNumber(logic), 0);
  EXPECT_EQ(ErrorLine(logic), 0u);
}

TEST(ErrorReport, TraceErrorSendsFormOne) {
  std::vector<std::string> lines;
  struct Viewer : TraceViewer {
    std::vector<std::string>* lines;
    void Send(const std::string& bytes) override { lines->push_back(bytes); }
  };
  SetTraceViewerSearch([&lines] {
    auto viewer = std::make_unique<Viewer>();
    viewer->lines = &lines;
    return viewer;
  });
  SetTraceProgramName("quorvane-audio");
  const std::source_location where = std::source_location::current();
  TraceError(RuntimeError(53, "File not found", where), "QuorvaneModOld", "Main");
  SetTraceViewerSearch(nullptr);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(
      lines[0],
      "quorvane-audio: Error: File not found\r\nin QuorvaneAudio.QuorvaneModOld.Main at line " +
          std::to_string(where.line()));
}

}  // namespace
}  // namespace quorvane
