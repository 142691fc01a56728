#include "storage/SlidesAndMarkers.h"

#include <gtest/gtest.h>

#include "core/ProjectTables.h"
#include "storage/EditorState.h"
#include "tests/storage/StorageFixtures.h"

namespace quorvane::testing {
namespace {

// A stereo document of 3,000 samples with slides starting at 1, 1,000 and 2,000.
class SlidesAndMarkersTest : public StorageTest {
 protected:
  SlidesAndMarkersTest() {
    LoadDocument(document, SignalRun(0, 0, 3000), SignalRun(1, 0, 3000), 700);
    SetSlideStarts({1, 1000, 2000, 3001});
  }
  FileMemoClass document;
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 500));
};

using SlidesOnInsert = SlidesAndMarkersTest;
using SlidesOnDelete = SlidesAndMarkersTest;
using SlidesUntouched = SlidesAndMarkersTest;
using SlidesRecorded = SlidesAndMarkersTest;

TEST_F(SlidesOnInsert, WhatIsAtTheInsertionPointStaysAndWhatFollowsMoves) {
  SetMarkers({999, 1000, 1001});
  document.WaveDataInsert(1000, 0, &clip, &clip, "Paste", true);
  EXPECT_EQ(SlideStarts(), (std::vector<int32_t>{1, 1000, 2500, 3501}));
  EXPECT_EQ(MarkerPositions(), (std::vector<int32_t>{999, 1000, 1501}));
  // A second boundary at the same point moves with the audio.
  SetSlideStarts({1, 1000, 1000, 3001});
  ShiftForInsert(1000, 10, nullptr);
  EXPECT_EQ(SlideStarts(), (std::vector<int32_t>{1, 1000, 1010, 3011}));
}

TEST_F(SlidesOnDelete, BoundariesInsideMoveToTheStartAndMarkersInsideAreDeleted) {
  SetSlideStarts({1, 150, 250, 3001});
  SetMarkers({99, 199, 200});
  document.WaveDataDelete(100, 0, 100, "Delete", true);
  EXPECT_EQ(SlideStarts(), (std::vector<int32_t>{1, 100, 150, 2901}));
  EXPECT_EQ(MarkerPositions(), (std::vector<int32_t>{99, 100}));
  document.Undo();
  EXPECT_EQ(SlideStarts(), (std::vector<int32_t>{1, 150, 250, 3001}));
  EXPECT_EQ(MarkerPositions(), (std::vector<int32_t>{99, 200, 199}));  // appended at the end
}

TEST_F(SlidesOnDelete, UndoingAnInsertRemovesMarkersFromTheInsertionPointOn) {
  SetMarkers({999, 1000, 1001});
  document.WaveDataInsert(1000, 0, &clip, &clip, "Paste", true);
  AddMarker(MarkerInfo{kAutoMarker, 0.0F, 1200, 2});
  document.Undo();
  // The marker at the insertion point lies on the first inserted sample, so it goes too.
  EXPECT_EQ(MarkerPositions(), (std::vector<int32_t>{999, 1001}));
  EXPECT_EQ(SlideStarts(), (std::vector<int32_t>{1, 1000, 2000, 3001}));
}

TEST_F(SlidesUntouched, ByOneChannelReplacesScratchDocumentsAndLoading) {
  SetMarkers({1500});
  document.WaveDataInsert(10, 1, &clip, nullptr, "Paste", true);
  document.WaveDataDelete(10, 2, 100, "Delete", true);
  document.WaveDataReplace(1200, 0, &clip, &clip, "Volume", true);
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
}

TEST_F(SlidesUntouched, ExceptThatWithUndoOffEditsStillMoveThem) {
  Editor().UndoEnabled = false;
  SetMarkers({1500});
  document.WaveDataDelete(100, 0, 200, "Delete", true);
  document.WaveDataInsert(1, 0, &clip, &clip, "Paste", true);
  EXPECT_EQ(SlideStarts(), (std::vector<int32_t>{1, 1300, 2300, 3301}));
  EXPECT_EQ(MarkerPositions(), (std::vector<int32_t>{1800}));
  EXPECT_EQ(document.UndoItemCount(), 0);
}

TEST_F(SlidesRecorded, MarkerAndBoundaryChangesComeBackOnUndo) {
  SetMarkers({100, 200, 300});
  AddMarker(MarkerInfo{kAutoMarker, 0.0F, 400, 1});
  document.MarkerOneChanged(1, 4, "Add Auto", true);
  EXPECT_EQ(window.menuCaption, "Undo [Add Auto]");
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
  EXPECT_EQ(window.menuCaption, "Undo [Nothing]");
}

}  // namespace
}  // namespace quorvane::testing
