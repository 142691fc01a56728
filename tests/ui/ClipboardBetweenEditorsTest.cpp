// Two editor processes on one display: audio copied in one is pasted in the other through
// the desktop clipboard, and the first one's closing takes its clip off the clipboard.
#include <gtest/gtest.h>

#include "tests/support/ChildProcess.h"
#include "tests/support/ProjectBuilder.h"
#include "tests/support/TempFolder.h"
#include "tests/support/WaveBuilder.h"

namespace quorvane::testing {
namespace {

// The line of `text` that starts with `tag`, without the tag.
std::string LineAfter(const std::string& text, const std::string& tag) {
  const size_t start = text.find(tag);
  if (start == std::string::npos) return "<missing " + tag + ">";
  const size_t end = text.find('\n', start);
  return text.substr(start + tag.size(), end - start - tag.size());
}

TEST(ClipboardBetweenEditors, CopyInOnePasteInTheOtherAndClosingTakesTheClipAway) {
  TempFolder files;
  std::vector<int16_t> ramp;
  for (int i = 0; i < 8000; ++i) ramp.push_back(static_cast<int16_t>(i * 3 - 9000));
  ProjectPlan plan;
  plan.targetFolder = files.Path();
  plan.slides = {TrackSlide("one.wav", PcmWave(1, 8000, 16, ramp))};
  const std::string project = WriteProject(files.File("talk.ini"), plan);
  // The second editor has a presentation of its own: one project takes one session.
  plan.targetFolder = files.File("other");
  const std::string other = WriteProject(files.File("other.ini"), plan);
  const std::vector<std::string> environment = {"XDG_CONFIG_HOME=" + files.Path()};

  RunningProgram copier(QUORVANE_CLIPBOARD_PROBE, {"copy", project, "101", "300"}, environment);
  ASSERT_TRUE(copier.AwaitError("copied"));
  const ProgramRun onClipboard = RunProgram(QUORVANE_CLIPBOARD_PROBE, {"clipboard"});
  EXPECT_EQ(LineAfter(onClipboard.err, "clipboard [").rfind("TarnuvoWaveEditorClip,", 0), 0u)
      << onClipboard.err;
  const ProgramRun paster =
      RunProgram(QUORVANE_CLIPBOARD_PROBE, {"paste", other, "5001", "200"}, environment);
  ASSERT_EQ(paster.exitStatus, 0) << paster.err;

  const ProgramRun closed = copier.Wait(true);
  EXPECT_EQ(LineAfter(paster.err, "pasted").rfind(" -8700 -8697 ", 0), 0u) << "sample 101 on";
  EXPECT_EQ(LineAfter(paster.err, "pasted"), LineAfter(closed.err, "copied"));
  EXPECT_EQ(LineAfter(closed.err, "released ["), "]") << "the editor's clip is off the clipboard";
}

}  // namespace
}  // namespace quorvane::testing
