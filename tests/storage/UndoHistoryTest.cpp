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
  UndoTest() {
    LoadDocument(document, SignalRun(0, 0, 1000), SignalRun(1, 0, 1000), 300);
    SetSlideStarts({1, 1001});
  }
  void Select(int32_t start, int32_t end) {
    Editor().SelStart = start;
    Editor().SelEnd = end;
    Editor().ViewStart = start;
    Editor().ViewLength = 500;
  }
  FileMemoClass document;
};

using UndoGroups = UndoTest;
using UndoMessages = UndoTest;
using UndoMenu = UndoTest;
using UndoRelease = UndoTest;
using UndoClearDialog = UndoTest;

TEST_F(UndoGroups, AMonoPasteIntoStereoIsUndoneWithItsPaddingAndTheSelectionComesBack) {
  Select(200, 200);
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 100));
  document.WaveDataInsert(200, 1, &clip, nullptr, "Paste", true);
  ASSERT_EQ(document.UndoItemCount(), 2);
  Select(1, 1100);
  document.Undo();
  EXPECT_EQ(document.UndoItemCount(), 0);
  EXPECT_EQ(ChannelSamples(document, 1), SignalRun(0, 0, 1000));
  EXPECT_EQ(ChannelSamples(document, 2), SignalRun(1, 0, 1000));
  EXPECT_EQ(document.WavWaveINos, 1000);
  EXPECT_EQ(Editor().SelStart, 200);
  EXPECT_EQ(Editor().SelEnd, 200);
  EXPECT_EQ(Editor().ViewStart, 200);
  EXPECT_EQ(Editor().ViewLength, 500);
  EXPECT_TRUE(Editor().WaveChanged);
}

TEST_F(UndoGroups, EachUndoTakesBackOneUserOperation) {
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 100));
  document.WaveDataDelete(1, 0, 100, "Cut", true);            // A
  document.WaveDataDelete(501, 0, 50, "Move", false);         // B, first call
  document.WaveDataInsert(1, 0, &clip, &clip, "Move", true);  // B, last call
  document.Undo();
  EXPECT_EQ(ChannelSamples(document, 1), SignalRun(0, 100, 900));
  EXPECT_EQ(window.menuCaption, "Undo [Cut]");
  document.Undo();
  EXPECT_EQ(ChannelSamples(document, 1), SignalRun(0, 0, 1000));
  EXPECT_EQ(ChannelSamples(document, 2), SignalRun(1, 0, 1000));
  EXPECT_EQ(window.menuCaption, "Undo [Nothing]");
}

TEST_F(UndoGroups, AReplaceIsUndoneAsAWhole) {
  const BlockCarrBuffClass left = CarrierOf(SignalRun(2, 0, 300));
  const BlockCarrBuffClass right = CarrierOf(SignalRun(3, 0, 300));
  document.WaveDataReplace(801, 0, &left, &right, "Volume", true);
  EXPECT_EQ(document.WavWaveINos, 1100);
  document.Undo();
  EXPECT_EQ(ChannelSamples(document, 1), SignalRun(0, 0, 1000));
  EXPECT_EQ(ChannelSamples(document, 2), SignalRun(1, 0, 1000));
  EXPECT_EQ(document.UndoItemCount(), 0);
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(UndoGroups, AFormatChangeComesBackWithTheCurrentFormatCopies) {
  document.WaveDataChangeFmt(1, 8, 22050, "Format");
  document.Undo();
  EXPECT_EQ(document.WavFmtChannel, 2);
  EXPECT_EQ(document.WavFmtBits, 16);
  EXPECT_EQ(document.WavFmtFreq, 44100);
  EXPECT_EQ(Editor().CurrentFmtChannel, 2);
  EXPECT_EQ(Editor().CurrentFmtBits, 16);
  EXPECT_EQ(Editor().CurrentFmtFreq, 44100);
  EXPECT_EQ(window.formatMenuRefreshes, 1);
}

TEST_F(UndoGroups, ProgressAdvancesPerItemAndIsHiddenAtTheEnd) {
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 100));
  document.WaveDataReplace(1, 0, &clip, &clip, "Volume", true);
  ui.progress.values.clear();
  document.Undo();
  EXPECT_EQ(ui.progress.values, (std::vector<float>{0.0F, 1.0F / 3, 2.0F / 3, 1.0F}));
  EXPECT_FALSE(ui.progress.shown);
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
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 100));
  document.WaveDataInsert(901, 0, &clip, &clip, "Paste", true);
  Editor().UndoEnabled = false;
  document.WaveDataDelete(1, 0, 600, "Delete", true);
  Editor().UndoEnabled = true;
  document.Undo();
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_EQ(ui.messages[0].caption, "Undo Error");
  EXPECT_EQ(ui.messages[0].text, "The undo data does not match the audio any more");
  EXPECT_EQ(document.UndoItemCount(), 0);
  EXPECT_EQ(document.WavWaveINos, 500);
  EXPECT_FALSE(document.SwitchUndoOff);
  EXPECT_FALSE(ui.progress.shown);
}

TEST_F(UndoMenu, NamesTheNewestItemOrNothingOrOff) {
  document.WaveDataDelete(1, 0, 10, "Delete", true);
  EXPECT_EQ(window.menuCaption, "Undo [Delete]");
  EXPECT_TRUE(window.menuEnabled);
  EXPECT_TRUE(window.buttonEnabled);
  EXPECT_EQ(window.buttonToolTip, "Undo [Delete]");
  document.Undo();
  EXPECT_EQ(window.menuCaption, "Undo [Nothing]");
  EXPECT_FALSE(window.menuEnabled);
  Editor().UndoEnabled = false;
  document.WaveDataDelete(1, 0, 10, "Delete", true);
  EXPECT_EQ(document.UndoItemCount(), 0);
  EXPECT_EQ(window.menuCaption, "Undo [Off]");
  EXPECT_FALSE(window.menuEnabled);
}

TEST_F(UndoRelease, ReleasingFreesTheDeletedBlocksAndTheirFiles) {
  Env().MemoryBudget = 1000;
  document.WaveDataDelete(1, 0, 900, "Delete", true);
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 100));
  document.WaveDataInsert(1, 1, &clip, nullptr, "Paste", true);  // insert + padding
  const int32_t blocksBefore = BlocksInUse();
  const int filesBefore = TempFilesOnDisk();
  ASSERT_GT(filesBefore, 0);
  document.UndoInfoReleaseUpto(1);
  EXPECT_EQ(document.UndoFloor(), 1);
  EXPECT_LT(BlocksInUse(), blocksBefore);
  EXPECT_LT(TempFilesOnDisk(), filesBefore);
  EXPECT_EQ(window.menuCaption, "Undo [Paste]");
  // Releasing the insert takes the padding after it along.
  document.UndoInfoReleaseUpto(2);
  EXPECT_EQ(document.UndoFloor(), 3);
  EXPECT_EQ(document.UndoItemCount(), 3);
  EXPECT_EQ(window.menuCaption, "Undo [Nothing]");
}

TEST_F(UndoRelease, ResetFreesEverythingTheHistoryHeld) {
  const int32_t loaded = BlocksInUse();
  document.WaveDataDelete(1, 0, 1000, "Delete", true);
  document.UndoInfoReset();
  EXPECT_EQ(BlocksInUse(), 0);
  EXPECT_EQ(document.UndoItemCount(), 0);
  EXPECT_GT(loaded, 0);
}

TEST_F(UndoClearDialog, ListsOnlyCompleteOperationsAboveTheFloor) {
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 10));
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
  EXPECT_EQ(window.clearDialogShown, 4);
  EXPECT_EQ(ui.Texts(), std::vector<std::string>{"No undo data is left to clear."});
}

TEST_F(UndoClearDialog, ClearingUpToTheNewestEntryLeavesNothingToUndo) {
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 10));
  document.WaveDataInsert(1, 1, &clip, nullptr, "Paste", true);
  window.clearChoice = UndoClearChoice{kUndoClearUpToSelected, 0};
  document.UndoClearFiles_UserAssisted();
  EXPECT_EQ(window.menuCaption, "Undo [Nothing]");
  document.Undo();
  EXPECT_EQ(ui.Texts(), std::vector<std::string>{"Undo Failed"});
}

TEST_F(UndoClearDialog, ClearUpToSelectedWithoutASelectionKeepsTheDialogOpen) {
  EXPECT_EQ(UndoClearButtonResult(kUndoClearUpToSelected, -1), std::nullopt);
  EXPECT_EQ(ui.Texts(), std::vector<std::string>{"Please select an item in the list and\r\n"
                                                 "click \"Clear up to selected item\""});
  EXPECT_EQ(UndoClearButtonResult(kUndoClearUpToSelected, 2), kUndoClearUpToSelected);
  EXPECT_EQ(UndoClearButtonResult(kUndoClearAll, -1), kUndoClearAll);
  EXPECT_EQ(UndoClearButtonResult(kUndoClearClose, -1), kUndoClearClose);
}

}  // namespace
}  // namespace quorvane::testing
