// Slide boundaries and markers with the mouse in the marker strip: hovering over flags,
// dragging a marker or a boundary within its limits, picking a marker, the pop-up menus
// that add and delete markers, and stepping from marker to marker.
#include <QCursor>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <algorithm>
#include <functional>

#include "core/ProjectTables.h"
#include "core/Trace.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "ui/ViewGeometry.h"
#include "ui/ViewState.h"
#include "ui/WaveEditor_Frm.h"

namespace quorvane {

namespace {

// A flag is taken by the mouse up to this many pixels either side of its line: a zone of
// seven pixels, wider than the flag itself, so a flag is easy to grab.
constexpr double kGrabReach = 3;

MarkerInfo& MarkerAt(int32_t index) { return Project().Markers[static_cast<size_t>(index)]; }
int32_t SlideStart(int32_t index) { return Project().Slides[static_cast<size_t>(index)].Start; }

}  // namespace

void WaveEditor_Frm::BuildMarkerMenus() {
  dragWarningLbl_ = new QLabel(markerDrawPic_);
  dragWarningLbl_->setObjectName("DragWarningLbl");
  dragWarningLbl_->setAutoFillBackground(true);
  dragWarningLbl_->setStyleSheet(
      "background: rgb(255, 255, 200); color: black; padding: 1px 4px;"
      "border: 1px solid rgb(128, 128, 128);");
  dragWarningLbl_->setAttribute(Qt::WA_TransparentForMouseEvents);
  dragWarningLbl_->hide();

  markerPopMnu_ = new QMenu(this);
  markerPopMnu_->setObjectName("MarkerPopMnu");
  QAction* remove = markerPopMnu_->addAction("Delete");
  remove->setObjectName("MarkerPopDeleteMnu");
  connect(remove, &QAction::triggered, this, [this] { MarkerPopDeleteMnu_Click(); });
  markerPop2Mnu_ = new QMenu(this);
  markerPop2Mnu_->setObjectName("MarkerPop2Mnu");
  for (int index = 1; index <= 2; ++index) {
    QAction* add = markerPop2Mnu_->addAction(index == 1 ? "Add Click" : "Add Auto");
    add->setObjectName(QString("MarkerPop2AddMnu%1").arg(index));
    connect(add, &QAction::triggered, this, [this, index] { MarkerPop2AddMnu_Click(index); });
  }
}

void WaveEditor_Frm::MarkerHoverTest(double X, double Y, int Shift) {
  FlagHover = false;
  const ProjectData& project = Project();
  const bool lowestFirst = Shift == 1;
  if (Y >= 9 && Y <= 29) {
    for (int32_t k = 1; k <= project.MarkerCount; ++k) {
      const int32_t i = lowestFirst ? k : project.MarkerCount + 1 - k;
      const int32_t xm = PixelOf(MarkerAt(i).Position);
      if (X - kGrabReach <= xm && xm <= X + kGrabReach) {
        FlagHover = true;
        HoverMarker = i;
        HoverSlide = MarkerAt(i).Slide;
        return;
      }
    }
  }
  if (Y >= 2 && Y <= 27) {
    for (int32_t k = 2; k <= project.SlideEntryCount; ++k) {
      const int32_t i = lowestFirst ? k : project.SlideEntryCount + 2 - k;
      const int32_t xs = PixelOf(SlideStart(i));
      if (X - kGrabReach <= xs && xs <= X + kGrabReach) {
        FlagHover = true;
        HoverMarker = 0;
        HoverSlide = i;
        return;
      }
    }
  }
}

void WaveEditor_Frm::ShowDragIndicator(int32_t position) {
  const bool boundary = DragMarker == 0;
  const int width = boundary ? 7 : 5;
  markPickedShape_->bounds =
      QRect(PixelOf(position) - width / 2, boundary ? 2 : 9, width, boundary ? 26 : 21);
  markPickedShape_->visible = true;
  markerDrawPic_->update();
}

void WaveEditor_Frm::MarkerDrawPic_MouseDown(Qt::MouseButton Button, int Shift, double X,
                                             double Y) {
  const int32_t length = Length();
  if (length < 1) return;
  (void)Shift;
  (void)Y;
  const ProjectData& project = Project();
  const int32_t p = PositionAtPixel(X, length);
  if (Button == Qt::RightButton) {
    if (p >= SlideEndPosition(project.SlideEntryCount - 1, length)) return;
    RightClickPos = p;
    const QPoint where =
        markerDrawPic_->mapToGlobal(QPoint(static_cast<int>(X), static_cast<int>(Y)));
    if (FlagHover && HoverMarker != 0) {
      PopupMarker = HoverMarker;
      markerPopMnu_->popup(where);
    } else {
      markerPop2Mnu_->popup(where);
    }
    return;
  }
  if (!FlagHover) {
    const int32_t slide = SlideHolding(p, length);
    if (slide != 0 && slide != project.SlideEntryCount && slide != View().CurrentSlide) {
      SelectSlideInChooser(slide);
    }
    return;
  }
  DragMarker = HoverMarker;
  DragSlide = HoverSlide;
  FlagDragging = true;
  FlagDragMoved = false;
  int32_t x = 0;
  if (DragMarker == 0) {
    x = SlideStart(DragSlide);
    DragMin = DragSlide > 1 ? SlideStart(DragSlide - 1) : 0;
    DragMax = DragSlide < project.SlideEntryCount ? SlideStart(DragSlide + 1) : length;
  } else {
    const MarkerInfo& marker = MarkerAt(DragMarker);
    x = marker.Position;
    markHilitShape_->visible = false;
    DragMin = marker.Slide > 1 ? SlideStart(marker.Slide) : 0;
    DragMax = marker.Slide < project.SlideEntryCount - 1 ? SlideStart(marker.Slide + 1) : length;
    if (DragMarker > 1 && MarkerAt(DragMarker - 1).Position > DragMin) {
      DragMin = MarkerAt(DragMarker - 1).Position;
    }
    if (DragMarker < project.MarkerCount && MarkerAt(DragMarker + 1).Position < DragMax) {
      DragMax = MarkerAt(DragMarker + 1).Position;
    }
  }
  FlagHover = false;
  ShowDragIndicator(x);
}

void WaveEditor_Frm::MarkerDrawPic_MouseMove(int Shift, double X, double Y) {
  const int32_t length = Length();
  if (length < 1) return;
  const int32_t p = PositionAtPixel(X, length);
  const int x = PixelOf(p);
  if (x >= 1 && x <= View().ViewPixels) MoveMouseLines(x);
  if (FlagDragging) {
    FlagDragMoved = true;
    const int32_t q = std::clamp(p, DragMin, DragMax);
    ShowDragIndicator(q);
    ShowDragWarning(q);
  } else {
    MarkerHoverTest(X, Y, Shift);
    markPickedShape_->visible = false;
    markerDrawPic_->update();
  }
  const bool onMarker = FlagDragging ? DragMarker != 0 : (FlagHover && HoverMarker != 0);
  const bool onSlide = FlagDragging ? DragMarker == 0 : (FlagHover && HoverMarker == 0);
  markerDrawPic_->setCursor(onMarker ? Qt::PointingHandCursor
                                     : (onSlide ? Qt::SizeHorCursor : Qt::ArrowCursor));
}

void WaveEditor_Frm::MarkerDrawPic_MouseUp(double X) {
  if (!FlagDragging) return;
  const int32_t length = Length();
  if (!FlagDragMoved) {
    if (DragMarker != 0) {
      View().CurrentMarker = DragMarker;
      RefreshDrawMarkers();
    }
  } else if (length >= 1 && document_ != nullptr) {
    const int32_t q = std::clamp(PositionAtPixel(X, length), DragMin, DragMax);
    if (DragMarker != 0) {
      document_->MoveMarker(DragMarker, q, "Marker Drag");
      View().CurrentMarker = DragMarker;
      Trace("MarkerDrawPic_MouseUp: Marker Drag", DragMarker, q);
    } else {
      document_->MoveSlideStart(DragSlide, q, "Slide Drag");
      Trace("MarkerDrawPic_MouseUp: Slide Drag", DragSlide, q);
    }
    Refresh_Wave_View();
  }
  FlagDragging = false;
  FlagDragMoved = false;
  markPickedShape_->visible = false;
  dragWarningLbl_->hide();
  markerDrawPic_->update();
}

void WaveEditor_Frm::ShowDragWarning(int32_t position) {
  const size_t passed = DragMarker == 0 && document_ != nullptr
                            ? document_->MarkersPassedBySlideStart(DragSlide, position).size()
                            : 0;
  if (passed == 0) {
    dragWarningLbl_->hide();
    return;
  }
  dragWarningLbl_->setText(QString("Dropping here deletes %1 marker%2 (Undo brings %3 back)")
                               .arg(passed)
                               .arg(passed == 1 ? "" : "s")
                               .arg(passed == 1 ? "it" : "them"));
  dragWarningLbl_->adjustSize();
  // Beside the indicator, on the side with room.
  const int x = PixelOf(position);
  const int width = dragWarningLbl_->width();
  const int left = x + 8 + width <= markerDrawPic_->width() ? x + 8 : std::max(x - 8 - width, 0);
  dragWarningLbl_->move(left, (markerDrawPic_->height() - dragWarningLbl_->height()) / 2);
  dragWarningLbl_->show();
  dragWarningLbl_->raise();
}

void WaveEditor_Frm::MarkerPop2AddMnu_Click(int32_t Index) {
  if (document_ == nullptr) return;
  const ProjectData& project = Project();
  int32_t slide = 0;
  for (int32_t i = 1; i <= project.SlideEntryCount - 1; ++i) {
    if (SlideStart(i) <= RightClickPos && RightClickPos < SlideEndPosition(i, Length())) slide = i;
  }
  if (slide == 0) return;
  MarkerInfo marker;
  marker.Position = RightClickPos;
  marker.Slide = slide;
  marker.Kind = Index == 1 ? kClickMarker : kAutoMarker;
  document_->AddMarkers({marker}, Index == 1 ? "Add Click" : "Add Auto");
  Refresh_Wave_View();
}

void WaveEditor_Frm::MarkerPopDeleteMnu_Click() {
  if (document_ == nullptr || PopupMarker < 1 || PopupMarker > Project().MarkerCount) return;
  document_->DeleteMarkers({PopupMarker}, "Delete Marker");
  Refresh_Wave_View();
}

void WaveEditor_Frm::EditNextMarker_Mnu_Click(int32_t Index) {
  const int32_t count = Project().MarkerCount;
  if (count < 1) return;
  int32_t& current = View().CurrentMarker;
  if (Index == 1) current = current >= count ? 1 : current + 1;
  if (Index == 2) current = current <= 1 ? count : current - 1;
  RefreshDrawMarkers();
}

}  // namespace quorvane
