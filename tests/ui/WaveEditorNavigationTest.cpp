// Moving about the timeline as users of desktop audio editors expect: the cursor keys, the
// mouse wheel, Shift+click, and zooming that keeps the cursor where it is on screen.
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QWheelEvent>
#include <cstdlib>

#include "core/ProjectTables.h"
#include "storage/EditorState.h"
#include "tests/ui/EditorWindowFixture.h"
#include "ui/ViewGeometry.h"
#include "ui/ViewState.h"

namespace quorvane {
namespace {

using namespace quorvane::testing;

constexpr int32_t kLength = 2 * kFrames;

class WaveEditorNavigation : public WaveEditorWindow {
 protected:
  // The window showing 2001..4001 with the cursor (a one-sample selection) at `cursor`.
  WaveEditor_Frm& OpenZoomed(int32_t cursor) {
    WaveEditor_Frm& window = Open();
    View().ViewAll = false;
    Editor().ViewStart = 2001;
    Editor().ViewLength = 2000;
    Editor().CursorPos = Editor().SelStart = Editor().SelEnd = cursor;
    View().CurrentSlide = cursor > kFrames ? 2 : 1;
    window.Refresh_Wave_View();
    return window;
  }
  static void Wheel(QWidget* target, QPoint angle, Qt::KeyboardModifiers modifiers, int x) {
    const QPointF at(x, 5);
    QWheelEvent event(at, target->mapToGlobal(at), QPoint(), angle, Qt::NoButton, modifiers,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(target, &event);
  }
};

TEST_F(WaveEditorNavigation, KeysMoveTheCursorExtendTheSelectionAndPageTheView) {
  struct Case {
    const char* what;
    int32_t cursor;
    Qt::Key key;
    Qt::KeyboardModifiers modifiers;
    int32_t columns;  // the cursor's move in pixel columns, when it moves by columns
    int32_t selStart, selEnd, cursorAfter, viewStart;  // 0: as before
  };
  const std::vector<Case> cases = {
      {"Left", 3000, Qt::Key_Left, {}, -1, 0, 0, 0, 0},
      {"Right", 3000, Qt::Key_Right, {}, 1, 0, 0, 0, 0},
      {"Shift+Left", 3000, Qt::Key_Left, Qt::ShiftModifier, -1, 0, 3000, 0, 0},
      {"Shift+Right", 3000, Qt::Key_Right, Qt::ShiftModifier, 1, 3000, 0, 0, 0},
      {"Home", 3000, Qt::Key_Home, {}, 0, 1, 1, 1, 1},
      {"End", 3000, Qt::Key_End, {}, 0, kLength, kLength, kLength, kLength - 2000 + 1},
      {"Shift+End", 3000, Qt::Key_End, Qt::ShiftModifier, 0, 3000, kLength, kLength,
       kLength - 2000 + 1},
      {"Ctrl+Home in slide 2", 5000, Qt::Key_Home, Qt::ControlModifier, 0, kFrames + 1, kFrames + 1,
       kFrames + 1, 0},
      {"Ctrl+End in slide 1", 3000, Qt::Key_End, Qt::ControlModifier, 0, kFrames, kFrames, kFrames,
       0},
      {"Page Down", 3000, Qt::Key_PageDown, {}, 0, 3000, 3000, 3000, 4001},
      {"Page Up", 3000, Qt::Key_PageUp, {}, 0, 3000, 3000, 3000, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    WaveEditor_Frm& window = OpenZoomed(c.cursor);
    const int pixelBefore = PixelOf(c.cursor);
    const int32_t viewBefore = Editor().ViewStart;
    QTest::keyClick(window.Wave_Pic(1), c.key, c.modifiers);
    if (c.columns != 0) {
      EXPECT_EQ(PixelOf(Editor().CursorPos) - pixelBefore, c.columns);
      EXPECT_NE(Editor().CursorPos, c.cursor);
    }
    const int32_t moved = Editor().CursorPos;
    EXPECT_EQ(Editor().SelStart, c.selStart != 0 ? c.selStart : moved);
    EXPECT_EQ(Editor().SelEnd, c.selEnd != 0 ? c.selEnd : moved);
    if (c.cursorAfter != 0) {
      EXPECT_EQ(Editor().CursorPos, c.cursorAfter);
    }
    EXPECT_EQ(Editor().ViewStart, c.viewStart != 0 ? c.viewStart : viewBefore);
    if (c.key != Qt::Key_PageUp && c.key != Qt::Key_PageDown) {
      EXPECT_GE(Editor().CursorPos, Editor().ViewStart) << "the cursor stays in view";
      EXPECT_LE(Editor().CursorPos, Editor().ViewStart + Editor().ViewLength);
      EXPECT_EQ(View().CurrentSlide, Editor().CursorPos > kFrames ? 2 : 1);
    }
    session.reset();
  }
}

TEST_F(WaveEditorNavigation, TheWaveformHasTheKeysWhenTheWindowOpens) {
  WaveEditor_Frm& window = Open();
  ASSERT_NE(QApplication::focusWidget(), nullptr);
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_End);
  EXPECT_EQ(Editor().CursorPos, kLength);
  EXPECT_EQ(window.SlideCombo()->currentIndex(), 1) << "the slide of the cursor";
}

TEST_F(WaveEditorNavigation, AnArrowWithoutShiftCollapsesAStretchToItsEnd) {
  WaveEditor_Frm& window = OpenZoomed(3000);
  Editor().SelStart = 2500;
  QTest::keyClick(window.Wave_Pic(1), Qt::Key_Left);
  EXPECT_EQ(Editor().SelStart, 2500);
  EXPECT_EQ(Editor().SelEnd, 2500);
  EXPECT_EQ(Editor().CursorPos, 2500);
}

TEST_F(WaveEditorNavigation, TheWheelScrollsAndCtrlWheelZoomsAroundThePointer) {
  struct Case {
    const char* what;
    QPoint angle;
    Qt::KeyboardModifiers modifiers;
    int32_t viewStart;
  };
  const std::vector<Case> cases = {
      {"down", {0, -120}, {}, 2001 + 250},
      {"up", {0, 120}, {}, 2001 - 250},
      {"Shift+down", {0, -120}, Qt::ShiftModifier, 2001 + 250},
      {"sideways", {-120, 0}, {}, 2001 + 250},
      {"half a notch", {0, -60}, {}, 2001 + 125},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    WaveEditor_Frm& window = OpenZoomed(3000);
    Wheel(window.Wave_Pic(1), c.angle, c.modifiers, 200);
    EXPECT_EQ(Editor().ViewStart, c.viewStart);
    EXPECT_EQ(Editor().ViewLength, 2000);
    session.reset();
  }

  WaveEditor_Frm& window = OpenZoomed(3000);
  const int32_t underPointer = PositionAtPixel(200, kLength);
  Wheel(window.MarkerDrawPic(), {0, 120}, Qt::ControlModifier, 200);
  EXPECT_EQ(Editor().ViewLength, 1200) << "zoomed in";
  EXPECT_NEAR(PixelOf(underPointer), 200, 1) << "the position under the pointer stays there";
  Wheel(window.Wave_Pic(1), {0, -120}, Qt::ControlModifier, 200);
  EXPECT_EQ(Editor().ViewLength, 2000) << "zoomed out";
  EXPECT_NEAR(PixelOf(underPointer), 200, 1);
}

// Zooming in all the way and out again keeps the cursor, or the middle of the selection,
// where it was on screen: within the width of a sample or two, as a view starts on a whole
// sample.
TEST_F(WaveEditorNavigation, ZoomKeepsTheCursorOrTheSelectionWhereItIsOnScreen) {
  WaveEditor_Frm& window = Open();
  QTest::mouseClick(window.Wave_Pic(1), Qt::LeftButton, {}, QPoint(600, 5));
  const int32_t cursor = Editor().CursorPos;
  ASSERT_EQ(PixelOf(cursor), 600);
  const auto samplesWide = [] { return 2 * View().PixelsPerSample + 1; };
  int zooms = 0;
  for (int32_t before = 0; before != Editor().ViewLength; ++zooms) {
    before = Editor().ViewLength;
    QTest::keyRelease(window.Wave_Pic(1), Qt::Key_1, Qt::ShiftModifier);
    EXPECT_NEAR(PixelOf(cursor), 600, samplesWide()) << "after zoom-in " << zooms + 1;
  }
  EXPECT_GT(zooms, 10);
  EXPECT_LT(Editor().ViewLength, 21);
  for (int i = 0; i < 3; ++i) window.MenuItem("ViewZoom_Mnu2")->trigger();
  EXPECT_NEAR(PixelOf(cursor), 600, samplesWide()) << "zoomed out again";

  Editor().SelStart = cursor - 10;
  Editor().SelEnd = cursor + 30;
  window.Refresh_Wave_View();
  const int middle = PixelOf(cursor + 10);
  window.Button("ZoomIn")->trigger();
  EXPECT_NEAR(PixelOf(cursor + 10), middle, samplesWide()) << "a selection's middle stays";
}

TEST_F(WaveEditorNavigation, ShiftClickExtendsTheSelection) {
  WaveEditor_Frm& window = Open();
  PictureBox* picture = window.Wave_Pic(1);
  QTest::mouseClick(picture, Qt::LeftButton, {}, QPoint(100, 5));
  QTest::mouseClick(picture, Qt::LeftButton, Qt::ShiftModifier, QPoint(300, 5));
  EXPECT_EQ(Editor().SelStart, PositionAtPixel(100, kLength));
  EXPECT_EQ(Editor().SelEnd, PositionAtPixel(300, kLength));
  // Left of the selection: the start moves there and the far end stays.
  QTest::mouseClick(picture, Qt::LeftButton, Qt::ShiftModifier, QPoint(50, 5));
  EXPECT_EQ(Editor().SelStart, PositionAtPixel(50, kLength));
  EXPECT_EQ(Editor().SelEnd, PositionAtPixel(300, kLength));
  EXPECT_EQ(Editor().CursorPos, PositionAtPixel(50, kLength));
}

}  // namespace
}  // namespace quorvane
