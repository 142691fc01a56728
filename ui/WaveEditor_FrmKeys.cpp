// Moving about the timeline with the keys and the mouse wheel: the cursor by a column, to
// the ends of the document and of the current slide, the view by a page, the wheel's
// scrolling and zooming around the pointer.
#include <QKeyEvent>
#include <QWheelEvent>
#include <algorithm>
#include <cstdlib>

#include "core/Numbers.h"
#include "core/ProjectTables.h"
#include "storage/EditorState.h"
#include "ui/ViewGeometry.h"
#include "ui/ViewState.h"
#include "ui/WaveEditor_Frm.h"

namespace quorvane {

namespace {

// One notch of a mouse wheel, in the eighths of a degree Qt counts.
constexpr int kWheelNotch = 120;
// One notch of the wheel scrolls this part of the view.
constexpr double kWheelScrollPart = 1.0 / 8.0;

}  // namespace

void WaveEditor_Frm::MoveCursorByKey(int32_t position, bool extend) {
  const int32_t length = Length();
  MoveCursorTo(position, extend, length);
  ScrollIntoView(Editor().CursorPos, length);
  const int32_t slide = SlideHolding(Editor().CursorPos, length);
  if (slide != 0 && slide != Project().SlideEntryCount && slide != View().CurrentSlide) {
    SelectSlideInChooser(slide);
  }
  Refresh_Wave_View();
}

bool WaveEditor_Frm::Wave_Pic_KeyDown(int KeyCode, int Shift) {
  const int32_t length = Length();
  if (length < 1) return false;
  const bool extend = (Shift & kShiftMask) != 0;
  const bool control = (Shift & kCtrlMask) != 0;
  if ((Shift & kAltMask) != 0) return false;
  const EditorState& editor = Editor();
  const bool stretch = editor.SelStart != 0 && editor.SelStart != editor.SelEnd;
  switch (KeyCode) {
    case Qt::Key_Left:
    case Qt::Key_Right: {
      if (control) return false;
      const bool right = KeyCode == Qt::Key_Right;
      // Without Shift, a selected stretch first collapses to the end the arrow points to.
      if (!extend && stretch) {
        MoveCursorByKey(right ? editor.SelEnd : editor.SelStart, false);
        return true;
      }
      const int32_t from = extend ? MovingSelectionEnd() : std::clamp(editor.CursorPos, 1, length);
      MoveCursorByKey(from + (right ? ColumnSamples() : -ColumnSamples()), extend);
      return true;
    }
    case Qt::Key_Home:
    case Qt::Key_End: {
      const bool end = KeyCode == Qt::Key_End;
      int32_t target = end ? length : 1;
      if (control) {
        const int32_t slide = View().CurrentSlide;
        if (slide < 1 || slide >= Project().SlideEntryCount) return true;
        target = end ? SlideEndPosition(slide, length) - 1
                     : Project().Slides[static_cast<size_t>(slide)].Start;
      }
      MoveCursorByKey(target, extend);
      return true;
    }
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
      if (control || extend) return false;
      ScrollViewBy(KeyCode == Qt::Key_PageDown ? editor.ViewLength : -editor.ViewLength, length);
      Refresh_Wave_View();
      return true;
    default:
      return false;
  }
}

void WaveEditor_Frm::Wave_Pic_MouseWheel(QPoint angleDelta, int Shift, double X) {
  const int32_t length = Length();
  if (length < 1) return;
  // A tilted wheel or a sideways swipe scrolls as the upright wheel does; up and left go
  // towards the start.
  const int delta =
      std::abs(angleDelta.x()) > std::abs(angleDelta.y()) ? angleDelta.x() : angleDelta.y();
  if ((Shift & kCtrlMask) != 0) {
    // Small steps of a touchpad add up to whole notches, each one zoom step.
    wheelZoomRest_ += delta;
    const int32_t anchor = PositionAtPixel(X, length);
    bool changed = false;
    for (; wheelZoomRest_ >= kWheelNotch; wheelZoomRest_ -= kWheelNotch) {
      changed |= ZoomAround(1, anchor, length) == ZoomOutcome::Redraw;
    }
    for (; wheelZoomRest_ <= -kWheelNotch; wheelZoomRest_ += kWheelNotch) {
      changed |= ZoomAround(2, anchor, length) == ZoomOutcome::Redraw;
    }
    if (changed) Refresh_Wave_View();
    return;
  }
  const double samples =
      -static_cast<double>(delta) / kWheelNotch * kWheelScrollPart * Editor().ViewLength;
  const int32_t before = Editor().ViewStart;
  ScrollViewBy(RoundHalfEven64(samples), length);
  if (Editor().ViewStart != before) Refresh_Wave_View();
}

}  // namespace quorvane
