// The mouse and keys in the wave pictures, the zoom commands and the scroll bar; the edit
// and play commands the menus, toolbars and keys reach.
#include <QComboBox>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QToolBar>
#include <QWheelEvent>
#include <algorithm>
#include <array>
#include <cstdlib>

#include "core/Interaction.h"
#include "core/ProjectTables.h"
#include "core/Trace.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "ui/PlayerLink.h"
#include "ui/ViewGeometry.h"
#include "ui/ViewState.h"
#include "ui/WaveEditor_Frm.h"

namespace quorvane {

namespace {

// The key code of a released key as the zoom keys count it: the digits 1 to 5 are 49 to 53
// also when Shift turned them into other characters on the way.
int DigitKeyCode(const QKeyEvent& key) {
  static constexpr std::array<int, 5> kShiftedDigits = {
      Qt::Key_Exclam, Qt::Key_At, Qt::Key_NumberSign, Qt::Key_Dollar, Qt::Key_Percent};
  for (int digit = 0; digit < 5; ++digit) {
    if (key.key() == Qt::Key_1 + digit || key.key() == kShiftedDigits[static_cast<size_t>(digit)]) {
      return 49 + digit;
    }
  }
  // X11 scan codes of the digit row, whatever the keyboard layout makes of them.
  if (key.nativeScanCode() >= 10 && key.nativeScanCode() <= 14) {
    return 49 + static_cast<int>(key.nativeScanCode()) - 10;
  }
  return key.key() & 0xFFFF;
}

// The shift state of an event as the handlers count it.
int ShiftState(Qt::KeyboardModifiers modifiers) {
  return (modifiers.testFlag(Qt::ShiftModifier) ? kShiftMask : 0) |
         (modifiers.testFlag(Qt::ControlModifier) ? kCtrlMask : 0) |
         (modifiers.testFlag(Qt::AltModifier) ? kAltMask : 0);
}

}  // namespace

bool WaveEditor_Frm::SelectionEdgeUnderMouse(double X, bool startEdge) const {
  const EditorState& editor = Editor();
  if (editor.SelStart == 0) return false;
  const int32_t viewEnd = editor.ViewStart + editor.ViewLength;
  const auto inView = [&](int32_t p) { return p >= editor.ViewStart && p <= viewEnd; };
  if (!inView(editor.SelStart) && !inView(editor.SelEnd)) return false;
  const int32_t e = PixelOf(startEdge ? editor.SelStart : editor.SelEnd);
  return e - 2 < X && X < e + 2;
}

void WaveEditor_Frm::SelectSlideInChooser(int32_t slide) {
  slideCombo_->setCurrentIndex(slide - 1);
}

void WaveEditor_Frm::MoveMouseLines(int x) {
  for (int index = 1; index <= 2; ++index) {
    mouseLine_[static_cast<size_t>(index)]->MoveToX(x);
    Wave_Pic(index)->update();
  }
}

void WaveEditor_Frm::Wave_Pic_MouseDown(int /*Index*/, double X, int Shift) {
  const int32_t length = Length();
  if (length < 1) return;
  EditorState& editor = Editor();
  const int32_t p = PositionAtPixel(X, length);
  Trace("Wave_Pic_MouseDown:", p, "- ", editor.ViewStart);
  // Shift+click extends the selection from its end away from the click (from the cursor
  // when only a position is selected) to the click; dragging on goes on extending it.
  int32_t extendFrom = 0;
  if ((Shift & kShiftMask) != 0) {
    extendFrom = std::clamp(editor.CursorPos, 1, length);
    if (editor.SelStart != 0 && editor.SelStart != editor.SelEnd) {
      extendFrom = std::abs(p - editor.SelStart) > std::abs(p - editor.SelEnd) ? editor.SelStart
                                                                               : editor.SelEnd;
    }
  }
  editor.CursorPos = p;
  PositionBlinkCursor();
  if (extendFrom != 0) {
    DragAnchor = extendFrom;
    DragFirst = std::min(extendFrom, p);
    DragLast = std::max(extendFrom, p);
    DrawDragSelection(DragAnchor, p);
    UpdateSelectionLabels(true);
  } else if (SelectionEdgeUnderMouse(X, true)) {
    DragAnchor = editor.SelEnd;
    DragFirst = editor.SelStart;
    DragLast = editor.SelEnd;
  } else if (SelectionEdgeUnderMouse(X, false)) {
    DragAnchor = editor.SelStart;
    DragFirst = editor.SelStart;
    DragLast = editor.SelEnd;
  } else {
    DragAnchor = DragFirst = DragLast = p;
    ClickSettling = true;
    mouseMoveWaitTimer_.start();
  }
  MouseIsDown = true;
  const int32_t slide = SlideHolding(p, length);
  if (slide != 0 && slide != Project().SlideEntryCount && slide != View().CurrentSlide) {
    SelectSlideInChooser(slide);
  }
}

void WaveEditor_Frm::MouseMoveWaitTimer_Timer() {
  ClickSettling = false;
  mouseMoveWaitTimer_.stop();
}

void WaveEditor_Frm::Wave_Pic_MouseMove(int Index, double X) {
  const int32_t length = Length();
  if (length < 1 || ClickSettling) return;
  const int32_t p = PositionAtPixel(X, length);
  const int x = PixelOf(p);
  if (x >= 1 && x <= View().ViewPixels) MoveMouseLines(x);
  const bool onEdge = SelectionEdgeUnderMouse(X, true) || SelectionEdgeUnderMouse(X, false);
  Wave_Pic(Index)->setCursor(onEdge ? Qt::SizeHorCursor : Qt::CrossCursor);
  if (!MouseIsDown) return;
  DragMoved = true;
  DrawDragSelection(DragAnchor, p);
  DragFirst = DragAnchor;
  DragLast = std::clamp(p, 1, length);
  if (DragLast < DragFirst) std::swap(DragFirst, DragLast);
  UpdateSelectionLabels(true);
}

void WaveEditor_Frm::DrawDragSelection(int32_t anchor, int32_t position) {
  int xa = PixelOf(anchor);
  int xp = PixelOf(position);
  if (xp < xa) std::swap(xa, xp);
  const int pictures = document_ != nullptr && document_->WavFmtChannel >= 2 ? 2 : 1;
  for (int index = 1; index <= pictures; ++index) {
    PictureBox* picture = Wave_Pic(index);
    const QPixmap& backup = waveBak_[static_cast<size_t>(index)];
    QPainter painter(&picture->Image());
    painter.drawPixmap(0, 0, backup);
    painter.setCompositionMode(QPainter::RasterOp_NotSource);
    painter.setClipRect(QRect(xa, 0, xp - xa, picture->height()));
    painter.drawPixmap(0, 0, backup);
    painter.end();
    picture->update();
  }
}

void WaveEditor_Frm::Wave_Pic_MouseUp(int /*Index*/, double X) {
  Trace("Wave_Pic_MouseUp: Enter");
  const int32_t length = Length();
  if (length >= 1 && MouseIsDown) {
    EditorState& editor = Editor();
    const int32_t p = PositionAtPixel(X, length);
    if (DragMoved) {
      if (DragAnchor != p) {
        editor.SelStart = DragAnchor;
        editor.SelEnd = std::clamp(p, 1, length);
        if (editor.SelEnd < editor.SelStart) std::swap(editor.SelStart, editor.SelEnd);
        editor.CursorPos = p;
      }
    } else {
      editor.SelStart = DragFirst;
      editor.SelEnd = DragLast;
      // A click during playback moves the play position, as in every editor.
      if (DragFirst == DragLast) MovePlayPosition(DragFirst);
    }
    Trace("Wave_Pic_MouseUp: Refresh");
    Refresh_Wave_View();
  }
  MouseIsDown = false;
  ClickSettling = false;
  DragMoved = false;
}

void WaveEditor_Frm::Wave_Pic_KeyPress(int /*Index*/, const QString& Key) {
  if (Key.toLower() != " ") return;
  PlayToolbar_ButtonClick(Button("Pause")->isEnabled() ? "Pause" : "PlayNew");
}

void WaveEditor_Frm::Wave_Pic_KeyUp(int /*Index*/, int KeyCode, int Shift) {
  Trace("Wav_Pic_KeyUp:", Shift, "-", KeyCode);
  if (Shift != 1 || KeyCode < 49 || KeyCode > 53) return;
  static constexpr std::array<int32_t, 5> kMenuIndex = {1, 2, 4, 5, 6};
  ViewZoom_Mnu_Click(kMenuIndex[static_cast<size_t>(KeyCode - 49)]);
}

void WaveEditor_Frm::ViewZoom_Mnu_Click(int32_t Index) {
  // Menu entries 1, 2, 4, 5, 6: in, out, selection, slide, all.
  switch (Index) {
    case 1:
      ZoomView(1);
      break;
    case 2:
      ZoomView(2);
      break;
    case 4:
      ZoomView(5);
      break;
    case 5:
      ZoomView(6);
      break;
    case 6:
      ZoomView(4);
      break;
    default:
      break;
  }
}

void WaveEditor_Frm::ZoomView(int32_t Mode) {
  switch (ZoomViewState(Mode, Length())) {
    case ZoomOutcome::NoSelection:
      UserInterface().Message("No selection found", MessageIcon::Exclamation);
      break;
    case ZoomOutcome::Redraw:
      Refresh_Wave_View();
      break;
    case ZoomOutcome::Unchanged:
      break;
  }
}

void WaveEditor_Frm::HScroll_Change() {
  if (ScrollUpdating) return;
  Editor().ViewStart = ViewStartFromScroll(hScroll_->value(), kScrollMaximum, Length());
  Refresh_Wave_View();
}

// ---- Events of the pictures, the strip, the scroll bar and the chooser ------------------

bool WaveEditor_Frm::eventFilter(QObject* watched, QEvent* event) {
  if (watched == central_ && event->type() == QEvent::Resize) {
    Form_Resize();
    return false;
  }
  const bool spaceTarget = watched == markerDrawPic_ || watched == hScroll_ ||
                           watched == slideCombo_ || watched == Wave_Pic(1) ||
                           watched == Wave_Pic(2);
  if (spaceTarget && event->type() == QEvent::KeyPress) {
    const auto* key = static_cast<QKeyEvent*>(event);
    if (key->key() == Qt::Key_Space) {
      Wave_Pic_KeyPress(1, " ");
      return true;
    }
    // The chooser keeps its own arrows, Home and End for choosing a slide.
    if (watched != slideCombo_ && Wave_Pic_KeyDown(key->key(), ShiftState(key->modifiers()))) {
      return true;
    }
  }
  const bool wheelTarget = watched == markerDrawPic_ || watched == scalePic_ ||
                           watched == Wave_Pic(1) || watched == Wave_Pic(2);
  if (wheelTarget && event->type() == QEvent::Wheel) {
    const auto* wheel = static_cast<QWheelEvent*>(event);
    Wave_Pic_MouseWheel(wheel->angleDelta(), ShiftState(wheel->modifiers()), wheel->position().x());
    return true;
  }
  if (watched == markerDrawPic_) {
    const QEvent::Type type = event->type();
    if (type != QEvent::MouseButtonPress && type != QEvent::MouseMove &&
        type != QEvent::MouseButtonRelease) {
      return QMainWindow::eventFilter(watched, event);
    }
    const auto* mouse = static_cast<QMouseEvent*>(event);
    const int shift = mouse->modifiers() == Qt::ShiftModifier ? 1 : 0;
    const double x = mouse->position().x();
    const double y = mouse->position().y();
    if (type == QEvent::MouseButtonPress) MarkerDrawPic_MouseDown(mouse->button(), shift, x, y);
    if (type == QEvent::MouseMove) MarkerDrawPic_MouseMove(shift, x, y);
    if (type == QEvent::MouseButtonRelease) MarkerDrawPic_MouseUp(x);
    return true;
  }
  const int index = watched == Wave_Pic(1) ? 1 : (watched == Wave_Pic(2) ? 2 : 0);
  if (index == 0) return QMainWindow::eventFilter(watched, event);
  switch (event->type()) {
    case QEvent::MouseButtonPress: {
      const auto* mouse = static_cast<QMouseEvent*>(event);
      Wave_Pic_MouseDown(index, mouse->position().x(), ShiftState(mouse->modifiers()));
      return true;
    }
    case QEvent::MouseMove:
      Wave_Pic_MouseMove(index, static_cast<QMouseEvent*>(event)->position().x());
      return true;
    case QEvent::MouseButtonRelease:
      Wave_Pic_MouseUp(index, static_cast<QMouseEvent*>(event)->position().x());
      return true;
    case QEvent::KeyRelease: {
      const auto* key = static_cast<QKeyEvent*>(event);
      const int shift = key->modifiers() == Qt::ShiftModifier ? 1 : 0;
      Wave_Pic_KeyUp(index, DigitKeyCode(*key), shift);
      return false;
    }
    default:
      return QMainWindow::eventFilter(watched, event);
  }
}

}  // namespace quorvane
