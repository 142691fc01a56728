#include <gtest/gtest.h>

#include "core/Environment.h"
#include "storage/BlockList.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "storage/UndoClearChoice.h"
#include "tests/storage/StorageFixtures.h"

namespace quorvane::testing {
namespace {

class UndoTest : public StorageTest {
 protected:
  UndoTest() { LoadDocument(document, SignalRun(0, 0, 1000), SignalRun(1, 0, 1000), 300); }
  void Select(int32_t start, int32_t end) {
    Editor().SelStart = start;
    Editor().SelEnd = end;
    Editor().ViewStart = start;
    Editor().ViewLength = end - start + 1;
  }
  FileMemoClass document;
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 100));
};

using UndoGroups = UndoTest;
using UndoMessages = UndoTest;
using UndoRelease = UndoTest;

TEST_F(UndoGroups, AMonoPasteIntoStereoGoesWithItsPaddingAndTheSelectionComesBack) {
  Select(200, 200);
  document.WaveDataInsert(200, 1, &clip, nullptr, "Paste", true);
  ASSERT_EQ(document.UndoItemCount(), 2);
  Select(1, 1100);
  ui.progress.values.clear();
  document.Undo();
  EXPECT_EQ(document.UndoItemCount(), 0);
  EXPECT_EQ(ChannelSamples(document, 1), SignalRun(0, 0, 1000));
  EXPECT_EQ(ChannelSamples(document, 2), SignalRun(1, 0, 1000));
  EXPECT_EQ(Editor().SelStart, 200);
  EXPECT_EQ(Editor().SelEnd, 200);
  EXPECT_EQ(Editor().ViewLength, 1);
  EXPECT_TRUE(Editor().WaveChanged);
  EXPECT_EQ(ui.progress.values, (std::vector<float>{0.0F, 0.5F, 1.0F}));
  EXPECT_FALSE(ui.progress.shown);
}

TEST_F(UndoGroups, EachUndoTakesBackOneUserOperation) {
  document.WaveDataDelete(1, 0, 100, "Cut", true);
  document.WaveDataDelete(501, 0, 50, "Move", false);
  document.WaveDataInsert(1, 0, &clip, &clip, "Move", true);
  document.Undo();
  EXPECT_EQ(ChannelSamples(document, 1), SignalRun(0, 100, 900));
  EXPECT_EQ(window.menuCaption, "Undo [Cut]");
  EXPECT_TRUE(window.menuEnabled);
  EXPECT_EQ(window.buttonToolTip, "Undo [Cut]");
  document.Undo();
  EXPECT_EQ(ChannelSamples(document, 2), SignalRun(1, 0, 1000));
  EXPECT_EQ(window.menuCaption, "Undo [Nothing]");
  EXPECT_FALSE(window.menuEnabled);
}

TEST_F(UndoGroups, AFormatChangeComesBackWithTheCurrentFormatCopies) {
  document.WaveDataChangeFmt(1, 8, 22050, "Format");
  document.Undo();
  EXPECT_EQ(document.WavFmtChannel, 2);
  EXPECT_EQ(document.WavFmtBits, 16);
  EXPECT_EQ(document.WavFmtFreq, 44100);
  EXPECT_EQ(Editor().CurrentFmtChannel, 2);
  EXPECT_EQ(Editor().CurrentFmtFreq, 44100);
  EXPECT_EQ(window.formatMenuRefreshes, 1);
}

TEST_F(UndoMessages, NothingToUndoShowsUndoFailedAndClearsTheSelection) {
  Select(5, 9);
  document.Undo();
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_EQ(ui.messages[0].text, "Undo Failed");
  EXPECT_EQ(ui.messages[0].caption, "Timeline Audio Editor");
  EXPECT_EQ(ui.messages[0].icon, MessageIcon::Exclamation);
  EXPECT_EQ(Editor().SelStart, 0);
  EXPECT_EQ(Editor().SelEnd, 0);
}

TEST_F(UndoMessages, AHistoryThatNoLongerFitsTheAudioEndsInUndoError) {
  document.WaveDataInsert(901, 0, &clip, &clip, "Paste", true);
  Editor().UndoEnabled = false;
  document.WaveDataDelete(1, 0, 600, "Delete", true);
  EXPECT_EQ(window.menuCaption, "Undo [Off]");
  Editor().UndoEnabled = true;
  document.Undo();
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_EQ(ui.messages[0].caption, "Undo Error");
  EXPECT_EQ(ui.messages[0].text, "The undo data does not match the audio any more");
  EXPECT_EQ(document.UndoItemCount(), 0);
  EXPECT_EQ(document.WavWaveINos, 500);
  EXPECT_FALSE(document.SwitchUndoOff);
}

TEST_F(UndoRelease, ReleasingFreesTheDeletedBlocksAndTakesTrailingPaddingAlong) {
  Env().MemoryBudget = 1000;
  document.WaveDataDelete(1, 0, 900, "Delete", true);
  document.WaveDataInsert(1, 1, &clip, nullptr, "Paste", true);  // insert + padding
  const int32_t blocksBefore = BlocksInUse();
  const int filesBefore = TempFilesOnDisk();
  document.UndoInfoReleaseUpto(1);
  EXPECT_EQ(document.UndoFloor(), 1);
  EXPECT_LT(BlocksInUse(), blocksBefore);
  EXPECT_LT(TempFilesOnDisk(), filesBefore);
  EXPECT_EQ(window.menuCaption, "Undo [Paste]");
  document.UndoInfoReleaseUpto(2);
  EXPECT_EQ(document.UndoFloor(), 3);
  EXPECT_EQ(window.menuCaption, "Undo [Nothing]");
}

TEST_F(UndoRelease, TheClearDialogListsCompleteOperationsAndActsOnTheChoice) {
  document.WaveDataDelete(1, 0, 10, "Cut", true);
  document.WaveDataInsert(1, 1, &clip, nullptr, "Paste", true);  // insert + padding
  document.WaveDataDelete(501, 0, 50, "Move", false);
  document.WaveDataInsert(1, 0, &clip, &clip, "Move", true);
  window.clearChoice = UndoClearChoice{kUndoClearFirstOne, -1};
  document.UndoClearFiles_UserAssisted();
  EXPECT_EQ(window.shownEntries, (std::vector<std::string>{"Cut", "Paste", "Move"}));
  EXPECT_EQ(document.UndoFloor(), 1);
  window.clearChoice = UndoClearChoice{kUndoClearUpToSelected, 0};
  document.UndoClearFiles_UserAssisted();
  EXPECT_EQ(window.shownEntries, (std::vector<std::string>{"Paste", "Move"}));
  EXPECT_EQ(document.UndoFloor(), 3);
  window.clearChoice = UndoClearChoice{kUndoClearClose, 0};
  document.UndoClearFiles_UserAssisted();
  EXPECT_EQ(document.UndoFloor(), 3);
  window.clearChoice = UndoClearChoice{kUndoClearAll, -1};
  document.UndoClearFiles_UserAssisted();
  EXPECT_EQ(document.UndoItemCount(), 0);
  document.UndoClearFiles_UserAssisted();
  document.WaveDataInsert(1, 0, &clip, &clip, "Paste", true);
  window.clearChoice = UndoClearChoice{kUndoClearUpToSelected, 0};
  document.UndoClearFiles_UserAssisted();  // up to the newest entry: nothing is left
  EXPECT_EQ(window.menuCaption, "Undo [Nothing]");
  document.Undo();
  EXPECT_EQ(ui.Texts(),
            (std::vector<std::string>{"No undo data is left to clear.", "Undo Failed"}));
}

TEST_F(UndoRelease, ClearUpToSelectedWithoutASelectionKeepsTheDialogOpen) {
  EXPECT_EQ(UndoClearButtonResult(kUndoClearUpToSelected, -1), std::nullopt);
  EXPECT_EQ(ui.Texts(), std::vector<std::string>{"Please select an item in the list and\r\n"
                                                 "click \"Clear up to selected item\""});
  EXPECT_EQ(UndoClearButtonResult(kUndoClearUpToSelected, 2), kUndoClearUpToSelected);
  EXPECT_EQ(UndoClearButtonResult(kUndoClearAll, -1), kUndoClearAll);
}

}  // namespace
}  // namespace quorvane::testing
