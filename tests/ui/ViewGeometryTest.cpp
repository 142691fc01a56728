// The view's arithmetic: what the time texts, zoom commands, fitting and sampling step
// make of given view states.
#include "ui/ViewGeometry.h"

#include <gtest/gtest.h>

#include "core/ProjectTables.h"
#include "core/ScaleTime.h"
#include "storage/EditorState.h"
#include "ui/ViewState.h"

namespace quorvane {
namespace {

class ViewGeometry : public ::testing::Test {
 protected:
  ViewGeometry() {
    ResetEditorState();
    ResetViewState();
    InitScaleSteps();
    SetProjectDefaults("/tmp");
  }
  ~ViewGeometry() override {
    ResetEditorState();
    ResetViewState();
  }
};

TEST(FormatScaleTime, ShowsHoursAndMinutesOnlyWhenThereAreAny) {
  const std::vector<std::pair<float, std::string>> cases = {
      {0.0F, "00"},       {0.5F, "00.50"}, {75.25F, "01:15.25"}, {3725.0F, "1:02:05"},
      {59.999F, "01:00"}, {-2.0F, "-02"},  {0.125F, "00.12"},    {36000.0F, "10:00:00"}};
  for (const auto& [seconds, text] : cases) EXPECT_EQ(FormatScaleTime(seconds), text) << seconds;
}

TEST_F(ViewGeometry, ZoomModesMoveTheViewAsTheirArithmeticSays) {
  struct Case {
    int32_t mode, start, length, selStart, selEnd;
    ZoomOutcome outcome;
    int32_t wantStart, wantLength;
  };
  const int32_t documentLength = 100000;
  const std::vector<Case> cases = {
      {1, 1001, 100, 0, 0, ZoomOutcome::Redraw, 1021, 60},     // the middle stays
      {1, 1001, 20, 0, 0, ZoomOutcome::Unchanged, 1001, 20},   // too short to zoom in
      {2, 1, 600, 0, 0, ZoomOutcome::Redraw, 1, 1000},         // held at the start
      {2, 99500, 400, 0, 0, ZoomOutcome::Redraw, 99333, 667},  // pulled back from the end
      {5, 1, 100, 500, 900, ZoomOutcome::Redraw, 500, 400},    // the selection
      {5, 1, 100, 700, 700, ZoomOutcome::Redraw, 700, 99300},  // a position: to the end
      {5, 1, 100, 0, 0, ZoomOutcome::NoSelection, 1, 100},     // nothing selected
      {3, 5, 100, 0, 0, ZoomOutcome::Unchanged, 5, 100},       // no such mode
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message()
                 << "mode " << c.mode << " from " << c.start << " + " << c.length << ", selection "
                 << c.selStart << ".." << c.selEnd);
    Editor().ViewStart = c.start;
    Editor().ViewLength = c.length;
    Editor().SelStart = c.selStart;
    Editor().SelEnd = c.selEnd;
    View().ViewAll = true;
    EXPECT_EQ(ZoomViewState(c.mode, documentLength), c.outcome);
    EXPECT_EQ(Editor().ViewStart, c.wantStart);
    EXPECT_EQ(Editor().ViewLength, c.wantLength);
    EXPECT_FALSE(View().ViewAll) << "every zoom clears ViewAll";
  }
  Editor().ViewLength = 50;
  EXPECT_EQ(ZoomViewState(4, documentLength), ZoomOutcome::Redraw);
  EXPECT_TRUE(View().ViewAll);
}

TEST_F(ViewGeometry, ViewingTheLastSlideShowsItUpToTheLastSample) {
  ProjectData& project = Project();
  project.SlideCount = 2;
  project.SlideEntryCount = 3;
  project.Slides.assign(4, SlideInfo{});
  project.Slides[1].Start = 1;
  project.Slides[2].Start = 401;
  project.Slides[3].Start = 1001;  // the end entry: length + 1
  View().CurrentSlide = 2;
  EXPECT_EQ(ZoomViewState(6, 1000), ZoomOutcome::Redraw);
  EXPECT_EQ(Editor().ViewStart, 401);
  EXPECT_EQ(Editor().ViewLength, 599);
  EXPECT_EQ(SlideHolding(400, 1000), 1);
  EXPECT_EQ(SlideHolding(401, 1000), 2);
  View().CurrentSlide = 3;
  EXPECT_EQ(ZoomViewState(6, 1000), ZoomOutcome::Unchanged);
}

TEST_F(ViewGeometry, FittingKeepsTheViewInsideTheDocument) {
  View().ViewAll = false;
  Editor().ViewStart = 1;
  Editor().ViewLength = 3;
  FitViewToDocument(50);
  EXPECT_EQ(Editor().ViewLength, 10);
  EXPECT_FALSE(View().ViewAll);

  Editor().ViewStart = 45;
  Editor().ViewLength = 20;
  FitViewToDocument(50);
  EXPECT_EQ(Editor().ViewStart, 31) << "the last sample is the last one shown";

  Editor().ViewStart = 1;
  Editor().ViewLength = 80;
  FitViewToDocument(50);
  EXPECT_EQ(Editor().ViewLength, 50);
  EXPECT_TRUE(View().ViewAll);
}

TEST_F(ViewGeometry, SamplingStepAndScaleSpacingFollowTheZoom) {
  Editor().ViewStart = 2000;
  View().PixelsPerSample = 0.001;  // 1000 samples per pixel
  EXPECT_EQ(WaveStep(), 850);
  EXPECT_EQ(FirstLeftPosition(850), 1700);
  View().PixelsPerSample = 2.0;
  EXPECT_EQ(WaveStep(), 1) << "every sample is drawn when it spans more than 0.85 pixels";

  EXPECT_FLOAT_EQ(ScaleSpacing(9.0, 650), 1.0F);
  EXPECT_FLOAT_EQ(ScaleSpacing(1e7, 650), 5400.0F);
  EXPECT_FLOAT_EQ(ScaleSpacing(0.001, 650), 0.01F);
}

}  // namespace
}  // namespace quorvane
