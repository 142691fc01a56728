// The document (FileMemoClass): edits over blocks, reads that load nothing, slide
// boundaries and markers that follow the audio, and the undo history. The random model
// test checks edits and undo at large; these are the cases it does not reach reliably.
#include <gtest/gtest.h>

#include "core/Environment.h"
#include "core/ProjectTables.h"
#include "storage/BlockList.h"
#include "storage/EditorContext.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "storage/SlidesAndMarkers.h"
#include "storage/UndoClearChoice.h"
#include "tests/storage/StorageFixtures.h"

namespace quorvane::testing {
namespace {

class Document : public StorageTest {
 protected:
  FileMemoClass document;
};

TEST_F(Document, AnEditInASessionsContextLeavesTheOtherEditorsStateAndWindowAlone) {
  Editor().SelStart = 5;
  {
    const SessionContext own;
    RecordingWindow sessionMenu;
    SetDocumentWindow(&sessionMenu);
    EXPECT_EQ(Editor().SelStart, 0);
    LoadDocument(document, SignalRun(0, 0, 300), SignalRun(1, 0, 300), 100);
    document.WaveDataDelete(1, 0, 10, "Delete", true);
    EXPECT_TRUE(Editor().WaveChanged);
    EXPECT_EQ(sessionMenu.menuCaption, "Undo [Delete]");
  }
  EXPECT_EQ(Editor().SelStart, 5);
  EXPECT_FALSE(Editor().WaveChanged);
  EXPECT_EQ(menu.menuCaption, "");
  EXPECT_EQ(&TheDocumentWindow(), &menu);
}

TEST_F(Document, InsertingAtEitherEndOrABlockStartSplitsNothingAndDeletingAllEmptiesTheLists) {
  LoadDocument(document, SignalRun(0, 0, 300), SignalRun(1, 0, 300), 100);
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 50));
  document.WaveDataInsert(101, 0, &clip, &clip, "Paste", true);
  document.WaveDataInsert(351, 0, &clip, &clip, "Paste", true);
  document.WaveDataInsert(1, 0, &clip, &clip, "Paste", true);
  EXPECT_EQ(QuickSamples(document, 1),
            Joined({SignalRun(2, 0, 50), SignalRun(0, 0, 100), SignalRun(2, 0, 50),
                    SignalRun(0, 100, 200), SignalRun(2, 0, 50)}));
  EXPECT_EQ(document.LeftChannel().Blocks().size(), 6u);
  EXPECT_TRUE(Editor().WaveChanged);
  document.WaveDataDelete(1, 0, 450, "Delete", true);
  EXPECT_TRUE(document.LeftChannel().Blocks().empty());
  EXPECT_TRUE(document.RightChannel().Blocks().empty());
  EXPECT_EQ(document.WavWaveINos, 0);
  EXPECT_EQ(document.UndoItems().back().LeftBlocks.size(), 6u);  // kept for undo
}

// A stereo document whose blocks of 1,000 frames lie in a source WAV file, as after loading:
// quick buffers, single samples, cutting and pasting read nothing; a plain buffer loads the
// blocks it reads, and only those.
TEST_F(Document, SourceFileAudioIsReadOnlyForPlainBuffers) {
  BlockCarrBuffClass left, right;
  DescribeWav(files.File("source.wav"), 2, 16,
              Interleave(SignalRun(0, 0, 5000), SignalRun(1, 0, 5000)), 1000, left, right);
  LoadDocument(document, left, right);
  std::vector<int16_t> leftRead;
  std::vector<int16_t> rightRead(3, 5);
  document.QuickBuffGet(901, 200, 1, leftRead, rightRead);
  EXPECT_EQ(std::vector<int16_t>(leftRead.begin() + 1, leftRead.end()), SignalRun(0, 900, 200));
  EXPECT_EQ(rightRead, Zeros(201));
  document.QuickBuffGet(4995, 10, 0, leftRead, rightRead);
  EXPECT_EQ(rightRead[6], Signal(1, 4999));
  EXPECT_EQ(rightRead[7], 0);
  EXPECT_EQ(document.WaveR(5000), Signal(1, 4999));
  EXPECT_EQ(document.WaveL(5001), 0);
  std::vector<int16_t> frames(2 * 200);
  document.QuickFramesGet(901, 200, frames.data());
  EXPECT_EQ(frames, Interleave(SignalRun(0, 900, 200), SignalRun(1, 900, 200)));
  document.WaveCollectData(500, 1499, 0, left, right);
  document.WaveDataDelete(500, 0, 1000, "Cut", true);
  document.WaveDataInsert(2500, 0, &left, &right, "Paste", true);
  EXPECT_EQ(MemoryInUse(), 0);
  EXPECT_EQ(QuickSamples(document, 2), Joined({SignalRun(1, 0, 499), SignalRun(1, 1499, 2000),
                                               SignalRun(1, 499, 1000), SignalRun(1, 3499, 1501)}));
  // Positions 999 to 1002 end the cut block's tail and start the next block.
  document.WaveCollectBuff(999, 1002, 2, leftRead, rightRead);
  EXPECT_EQ(leftRead, std::vector<int16_t>{0});
  EXPECT_EQ(rightRead, SignalRun(1, 1998, 4));
  const auto blocks = document.RightChannel().Blocks();
  EXPECT_EQ(RecordOf(blocks[1]).Kind, BlockMemory);
  EXPECT_EQ(RecordOf(blocks[2]).Kind, BlockMemory);
  EXPECT_EQ(RecordOf(blocks[3]).Kind, BlockOrgFile);
}

#if defined(QUORVANE_CHECKS) && QUORVANE_CHECKS
using DocumentDeathTest = Document;
TEST_F(DocumentDeathTest, PositionsOutsideTheDocumentStopCheckedBuilds) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  LoadDocument(document, SignalRun(0, 0, 100), {}, 100);
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 10));
  EXPECT_DEATH(document.WaveDataInsert(102, 1, &clip, nullptr, "Paste", true),
               "inserting outside a channel");
  EXPECT_DEATH(document.WaveDataDelete(90, 1, 12, "Delete", true), "deleting outside a channel");
}
#endif

// A stereo document of 3,000 samples with slides starting at 1, 1,000 and 2,000.
class Slides : public Document {
 protected:
  Slides() {
    LoadDocument(document, SignalRun(0, 0, 3000), SignalRun(1, 0, 3000), 700);
    SetSlideStarts({1, 1000, 2000, 3001});
  }
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 500));
};

// How boundaries and markers follow deletions, and come back, the random model checks.
TEST_F(Slides, OnInsertWhatIsAtThePointStaysWhatFollowsMovesAndUndoRemovesFromThePointOn) {
  SetMarkers({999, 1000, 1001});
  document.WaveDataInsert(1000, 0, &clip, &clip, "Paste", true);
  EXPECT_EQ(SlideStarts(), (std::vector<int32_t>{1, 1000, 2500, 3501}));
  EXPECT_EQ(MarkerPositions(), (std::vector<int32_t>{999, 1000, 1501}));
  AddMarker(MarkerInfo{kAutoMarker, 0.0F, 1200, 2});
  document.Undo();
  // The marker at the insertion point lies on the first inserted sample, so it goes too.
  EXPECT_EQ(MarkerPositions(), (std::vector<int32_t>{999, 1001}));
  EXPECT_EQ(SlideStarts(), (std::vector<int32_t>{1, 1000, 2000, 3001}));
  // A second boundary at the same point moves with the audio.
  SetSlideStarts({1, 1000, 1000, 3001});
  ShiftForInsert(1000, 10, nullptr);
  EXPECT_EQ(SlideStarts(), (std::vector<int32_t>{1, 1000, 1010, 3011}));
  // The end entry follows audio added after the last sample, which the last slide takes,
  // also when that slide was empty.
  for (const bool emptyLast : {false, true}) {
    SetSlideStarts({1, 1000, emptyLast ? 3001 : 2000, 3001});
    ShiftForInsert(3001, 10, nullptr);
    EXPECT_EQ(SlideStarts(), (std::vector<int32_t>{1, 1000, emptyLast ? 3001 : 2000, 3011}));
  }
}

TEST_F(Slides, StayForOneChannelScratchDocumentsAndLoadingButMoveWithUndoOff) {
  SetMarkers({1500});
  document.WaveDataInsert(10, 1, &clip, nullptr, "Paste", true);
  document.SwitchUndoOff = true;
  document.WaveDataInsert(10, 0, &clip, &clip, "", true);
  document.SwitchUndoOff = false;
  FileMemoClass scratch;
  scratch.IsTempObject = true;
  LoadDocument(scratch, SignalRun(0, 0, 3000), {}, 1000);
  scratch.WaveDataDelete(1, 1, 2000, "Delete", true);
  EXPECT_EQ(SlideStarts(), (std::vector<int32_t>{1, 1000, 2000, 3001}));
  EXPECT_EQ(MarkerPositions(), (std::vector<int32_t>{1500}));
  EXPECT_EQ(scratch.UndoItemCount(), 0);
  const int32_t items = document.UndoItemCount();
  Editor().UndoEnabled = false;
  document.WaveDataDelete(100, 0, 200, "Delete", true);
  document.WaveDataInsert(1, 0, &clip, &clip, "Paste", true);
  EXPECT_EQ(SlideStarts(), (std::vector<int32_t>{1, 1300, 2300, 3301}));
  EXPECT_EQ(MarkerPositions(), (std::vector<int32_t>{1800}));
  EXPECT_EQ(document.UndoItemCount(), items);
}

TEST_F(Slides, MarkerAndBoundaryChangesComeBackOnUndo) {
  SetMarkers({100, 200, 300});
  AddMarker(MarkerInfo{kAutoMarker, 0.0F, 400, 1});
  document.MarkerOneChanged(1, 4, "Add Auto", true);
  document.MarkerManyChanged(2, {1, 3}, "Slide Drag", false);
  RemoveMarker(3);
  RemoveMarker(1);
  document.SlidesBeingChanged("Slide Drag", true);
  Project().Slides[2].Start = 1200;
  EXPECT_EQ(document.UndoItems()[1].Name, "");  // only the last call names the operation
  document.Undo();
  EXPECT_EQ(SlideStarts(), (std::vector<int32_t>{1, 1000, 2000, 3001}));
  EXPECT_EQ(MarkerPositions(), (std::vector<int32_t>{200, 400, 100, 300}));
  document.Undo();
  EXPECT_EQ(MarkerPositions(), (std::vector<int32_t>{200, 100, 300}));
}

// A stereo document of 1,000 samples in blocks of 300, and a clip of 100.
class Undo : public Document {
 protected:
  Undo() { LoadDocument(document, SignalRun(0, 0, 1000), SignalRun(1, 0, 1000), 300); }
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 100));
};

TEST_F(Undo, AFormatChangeAndAMonoPasteWithItsPaddingComeBackWithTheFormatCopies) {
  document.WaveDataInsert(200, 1, &clip, nullptr, "Paste", true);
  document.WaveDataChangeFmt(1, 8, 22050, "Format");
  document.Undo();
  EXPECT_EQ(document.WavFmtFreq, 44100);
  EXPECT_EQ(Editor().CurrentFmtChannel, 2);
  EXPECT_EQ(Editor().CurrentFmtFreq, 44100);
  EXPECT_EQ(menu.formatMenuRefreshes, 1);
  document.Undo();
  EXPECT_EQ(document.UndoItemCount(), 0);  // the padding went with the paste
  EXPECT_TRUE(Editor().WaveChanged);
  EXPECT_FALSE(ui.progress.shown);
}

TEST_F(Undo, AHistoryThatNoLongerFitsTheAudioEndsInUndoError) {
  document.WaveDataInsert(901, 0, &clip, &clip, "Paste", true);
  Editor().UndoEnabled = false;
  document.WaveDataDelete(1, 0, 600, "Delete", true);
  EXPECT_EQ(menu.menuCaption, "Undo [Off]");
  Editor().UndoEnabled = true;
  document.Undo();
  EXPECT_EQ(ui.Texts(),
            std::vector<std::string>{"The undo data does not match the audio any more"});
  EXPECT_EQ(ui.messages[0].caption, "Undo Error");
  EXPECT_EQ(document.UndoItemCount(), 0);
  EXPECT_EQ(document.WavWaveINos, 500);
  EXPECT_FALSE(document.SwitchUndoOff);
}

TEST_F(Undo, TheClearDialogListsCompleteOperationsFreesWhatItClearsAndThenNothingIsLeft) {
  Env().MemoryBudget = 1000;  // what the history holds lies in temporary files
  document.WaveDataDelete(1, 0, 900, "Cut", true);
  document.WaveDataInsert(1, 1, &clip, nullptr, "Paste", true);  // insert + padding
  document.WaveDataDelete(101, 0, 50, "Move", false);
  document.WaveDataInsert(1, 0, &clip, &clip, "Move", true);
  const auto clear = [&](int choice, int selected) {
    menu.clearChoice = UndoClearChoice{choice, selected};
    document.UndoClearFiles_UserAssisted();
  };
  const auto tempFiles = TempFilesOnDisk();
  clear(kUndoClearFirstOne, -1);  // the random model test checks the blocks let go
  EXPECT_LT(TempFilesOnDisk(), tempFiles);
  EXPECT_EQ(menu.shownEntries, (std::vector<std::string>{"Cut", "Paste", "Move"}));
  EXPECT_EQ(document.UndoFloor(), 1);
  clear(kUndoClearUpToSelected, 0);
  EXPECT_EQ(menu.shownEntries, (std::vector<std::string>{"Paste", "Move"}));
  EXPECT_EQ(document.UndoFloor(), 3);
  clear(kUndoClearClose, 0);
  EXPECT_EQ(document.UndoFloor(), 3);
  clear(kUndoClearAll, -1);
  EXPECT_EQ(document.UndoItemCount(), 0);
  document.UndoClearFiles_UserAssisted();
  document.WaveDataInsert(1, 0, &clip, &clip, "Paste", true);
  clear(kUndoClearUpToSelected, 0);  // up to the newest entry: nothing is left
  EXPECT_EQ(menu.menuCaption, "Undo [Nothing]");
  Editor().SelStart = 5;
  Editor().SelEnd = 9;
  document.Undo();  // fails and clears the selection
  EXPECT_EQ(ui.Texts(),
            (std::vector<std::string>{"No undo data is left to clear.", "Undo Failed"}));
  EXPECT_EQ(ui.messages[1].caption, "Timeline Audio Editor");
  EXPECT_EQ(ui.messages[1].icon, MessageIcon::Exclamation);
  EXPECT_EQ(Editor().SelStart, 0);
  EXPECT_EQ(Editor().SelEnd, 0);
  // Clearing up to the selected entry without a selection keeps the dialog open.
  EXPECT_EQ(UndoClearButtonResult(kUndoClearUpToSelected, -1), std::nullopt);
  EXPECT_EQ(ui.Texts().back(),
            "Please select an item in the list and\r\nclick \"Clear up to selected item\"");
  EXPECT_EQ(UndoClearButtonResult(kUndoClearUpToSelected, 2), kUndoClearUpToSelected);
  EXPECT_EQ(UndoClearButtonResult(kUndoClearAll, -1), kUndoClearAll);
}

}  // namespace
}  // namespace quorvane::testing
