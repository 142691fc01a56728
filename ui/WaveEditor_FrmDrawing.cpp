// The window's drawing: the wave pictures with their selection, zero and quarter lines and
// waveform, the time scale, the marker strip with its band and flags, the scroll bar, the
// cursor mark and the labels. Only the positions the view draws are read from the document.
#include <QComboBox>
#include <QLabel>
#include <QPainter>
#include <QScrollBar>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

#include "core/Interaction.h"
#include "core/Numbers.h"
#include "core/ProjectTables.h"
#include "core/ScaleTime.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "ui/ViewGeometry.h"
#include "ui/ViewState.h"
#include "ui/WaveEditor_Frm.h"

namespace quorvane {

namespace {

constexpr int kParkedX = -20;
const QColor kGridGrey(192, 192, 192);
const QColor kSelectionBackground(64, 64, 0);
const QColor kWaveOutside(0, 0, 100);
const QColor kWaveInside(0, 0, 255);
const QColor kSlideFace(255, 0, 0);
const QColor kClickFace(80, 80, 255);
const QColor kAutoFace(0, 128, 0);
const QColor kBevelLight(224, 224, 224);
const QColor kBevelDark(128, 128, 128);
const QColor kBand(51, 94, 168);
const QColor kStripForeground(0, 0, 192);
constexpr uint32_t kCurrentSlideText = Rgb(224, 224, 224);
constexpr uint32_t kOtherSlideText = Rgb(0, 0, 192);

QColor FromRgb(uint32_t rgb) {
  return QColor(static_cast<int>(rgb & 0xFF), static_cast<int>((rgb >> 8) & 0xFF),
                static_cast<int>((rgb >> 16) & 0xFF));
}

QFont StripFont() {
  QFont font("DejaVu Sans");
  font.setPixelSize(10);
  return font;
}

// A box with both corners included, as the flags are specified.
void FillBox(QPainter& painter, int x1, int y1, int x2, int y2, const QColor& colour) {
  painter.fillRect(
      QRect(QPoint(std::min(x1, x2), std::min(y1, y2)), QPoint(std::max(x1, x2), std::max(y1, y2))),
      colour);
}

// A line with both ends included. Level and upright ones (all the flags' and the scale's)
// are filled as boxes one pixel wide: the same pixels as the one-pixel pen, at a third of
// the cost, which counts with hundreds of flags in a redraw.
void Line(QPainter& painter, int x1, int y1, int x2, int y2, const QColor& colour) {
  if (x1 == x2 || y1 == y2) {
    FillBox(painter, x1, y1, x2, y2, colour);
    return;
  }
  painter.setPen(colour);
  painter.drawLine(x1, y1, x2, y2);
}

// Text with its top-left corner at (x, top).
void TextAt(QPainter& painter, int x, int top, const QString& text, const QColor& colour) {
  painter.setPen(colour);
  painter.drawText(x, top + painter.fontMetrics().ascent(), text);
}

bool ValidSlide(int32_t index) { return index >= 1 && index <= Project().SlideEntryCount; }

}  // namespace

int32_t WaveEditor_Frm::Length() const { return document_ ? document_->WavWaveINos : 0; }

void WaveEditor_Frm::LayoutWaveArea() {
  const bool stereo = document_ != nullptr && document_->WavFmtChannel >= 2;
  const int top = scalePic_->y() + scalePic_->height() - 1 + markerDrawPic_->height();
  const int height = std::max(hScroll_->y() - top + 2, 2);
  const int width = scalePic_->width();
  PictureBox* left = Wave_Pic(1);
  PictureBox* right = Wave_Pic(2);
  if (!stereo) {
    left->setGeometry(0, top, width, height);
    right->hide();
  } else {
    left->setGeometry(0, top, width, height / 2);
    const int rightTop = left->height() + top - 2;
    right->setGeometry(0, rightTop, width, top + height - rightTop);
    right->show();
  }
  hScroll_->raise();
  // Wave_Pic_Resize: the marks are as tall as their picture.
  for (int index = 1; index <= 2; ++index) {
    const auto slot = static_cast<size_t>(index);
    const int h = Wave_Pic(index)->height();
    blinkPosShp_[slot]->bounds.setHeight(h);
    playPosShp_[slot]->bounds.setHeight(h);
    mouseLine_[slot]->bounds.setHeight(h);
  }
}

void WaveEditor_Frm::Refresh_Wave_View() {
  if (central_ == nullptr) return;
  LayoutWaveArea();
  const bool stereo = document_ != nullptr && document_->WavFmtChannel >= 2;
  const int pictures = stereo ? 2 : 1;
  for (int index = 1; index <= 2; ++index) Wave_Pic(index)->Clear();

  EditorState& editor = Editor();
  ViewState& view = View();
  const int32_t length = Length();
  if (length < 1) {
    editor.ViewStart = 1;
    view.PixelsPerSample = 1.0;
    RefreshDrawMarkers();
    RefreshScrollScale();
    PositionBlinkCursor();
    UpdateSelectionLabels(false);
    UpdateSlideInfo();
    for (int index = 1; index <= 2; ++index) Wave_Pic(index)->update();
    return;
  }

  FitViewToDocument(length);
  const int32_t last = LastDrawnPosition(length);
  PictureBox* left = Wave_Pic(1);
  view.ViewPixels = left->width();
  view.CentreY = left->height() / 2.0;
  view.AmplitudeScale =
      std::max((left->height() - 1) / (document_->WavFmtBits == 8 ? 256.0 : 65536.0), 1e-6);
  view.PixelsPerSample = (view.ViewPixels - 1.0) / editor.ViewLength;

  BusyPointer busy;
  for (int index = 1; index <= pictures; ++index) {
    PictureBox* picture = Wave_Pic(index);
    QPainter painter(&picture->Image());
    const int width = picture->width();
    const double centre = picture->height() / 2.0;
    painter.setPen(kGridGrey);
    for (const double y : {centre, 0.5 * centre, 1.5 * centre}) {
      painter.drawLine(QLineF(0, y, width, y));
    }
    const bool selectionTouches =
        editor.SelStart != 0 && ((editor.SelStart >= editor.ViewStart && editor.SelStart <= last) ||
                                 (editor.SelEnd >= editor.ViewStart && editor.SelEnd <= last) ||
                                 (editor.SelStart <= editor.ViewStart && editor.SelEnd >= last));
    if (selectionTouches) {
      FillBox(painter, PixelOf(std::max(editor.SelStart, editor.ViewStart)), 0,
              PixelOf(std::min(editor.SelEnd, last)), picture->height() - 1, kSelectionBackground);
    }
  }
  DrawWaveforms(last, WaveStep(), stereo);

  RefreshDrawMarkers();
  RefreshScrollScale();
  PositionBlinkCursor();
  UpdateSelectionLabels(false);
  UpdateSlideInfo();
  for (int index = 1; index <= 2; ++index) {
    const auto slot = static_cast<size_t>(index);
    mouseLine_[slot]->MoveToX(kParkedX);
    playPosShp_[slot]->MoveToX(kParkedX);
  }
  for (int index = 1; index <= pictures; ++index) {
    // Shared until a drag draws over the picture: the copy is made only then.
    waveBak_[static_cast<size_t>(index)] = Wave_Pic(index)->Image();
    Wave_Pic(index)->update();
  }
}

bool WaveEditor_Frm::DrawColumnPeaks(int32_t last, bool stereo) {
  const EditorState& editor = Editor();
  const ViewState& view = View();
  const double perColumn = 1.0 / view.PixelsPerSample;
  const int channels = stereo ? 2 : 1;
  std::array<std::vector<PeakPair>, 3> peaks;
  if (!document_->ColumnPeaks(stereo ? 0 : 1, editor.ViewStart, perColumn, view.ViewPixels, last,
                              peaks[1], peaks[2])) {
    return false;
  }
  for (int index = 1; index <= channels; ++index) {
    QPainter painter(&Wave_Pic(index)->Image());
    const std::vector<PeakPair>& columns = peaks[static_cast<size_t>(index)];
    for (size_t c = 0; c < columns.size(); ++c) {
      const PeakPair peak = columns[c];
      if (peak.Min > peak.Max) continue;  // past the end
      const auto position =
          static_cast<int32_t>(editor.ViewStart + std::ceil(static_cast<double>(c) * perColumn));
      const bool selected = editor.SelStart <= position && position <= editor.SelEnd;
      // One-pixel boxes: the pixels of the one-pixel line, filled at a fraction of its cost.
      const int top = static_cast<int>(std::lround(view.CentreY - peak.Max * view.AmplitudeScale));
      const int bottom =
          static_cast<int>(std::lround(view.CentreY - peak.Min * view.AmplitudeScale));
      painter.fillRect(static_cast<int>(c), top, 1, bottom - top + 1,
                       selected ? kWaveInside : kWaveOutside);
    }
  }
  return true;
}

void WaveEditor_Frm::DrawWaveforms(int32_t last, int32_t step, bool stereo) {
  const EditorState& editor = Editor();
  const ViewState& view = View();
  // Where a column covers more than one sample it shows all of them, lowest to highest.
  drawnFromPoints_ = false;
  if (view.PixelsPerSample < 1.0) {
    if (DrawColumnPeaks(last, stereo)) return;
    drawnFromPoints_ = true;  // redrawn once the summaries in view are made
  }
  // The left channel's lines start on a multiple of the step, the right one's at the view's
  // start; line k of both is read together.
  const int32_t firstLeft = FirstLeftPosition(step);
  const int32_t firstRight = std::max(editor.ViewStart, 1);
  std::array<std::vector<QLineF>, 3> inside;
  std::array<std::vector<QLineF>, 3> outside;
  const auto line = [&](int index, int32_t p, int16_t sample) {
    const double x = PixelX(p);
    const double v = sample * view.AmplitudeScale;
    const bool selected = editor.SelStart <= p && p <= editor.SelEnd;
    (selected ? inside : outside)[static_cast<size_t>(index)].emplace_back(x, view.CentreY + v, x,
                                                                           view.CentreY - v);
  };
  for (int64_t k = 0;; ++k) {
    const int64_t left = firstLeft + k * step;
    const int64_t right = firstRight + k * step;
    if (left > last) break;
    int16_t leftSample = 0;
    int16_t rightSample = 0;
    if (stereo && right <= last) {
      document_->WavePair(static_cast<int32_t>(left), static_cast<int32_t>(right), leftSample,
                          rightSample);
      line(2, static_cast<int32_t>(right), rightSample);
    } else {
      leftSample = document_->WaveL(static_cast<int32_t>(left));
    }
    ++documentReads_;
    line(1, static_cast<int32_t>(left), leftSample);
  }
  for (int index = 1; index <= (stereo ? 2 : 1); ++index) {
    const auto slot = static_cast<size_t>(index);
    QPainter painter(&Wave_Pic(index)->Image());
    painter.setPen(kWaveOutside);
    painter.drawLines(outside[slot].data(), static_cast<int>(outside[slot].size()));
    painter.setPen(kWaveInside);
    painter.drawLines(inside[slot].data(), static_cast<int>(inside[slot].size()));
  }
}

void WaveEditor_Frm::RefreshDrawScale() {
  scalePic_->Clear();
  const int32_t length = Length();
  const int32_t rate = document_ ? document_->WavFmtFreq : 0;
  if (length < 1 || rate <= 0) {
    scalePic_->update();
    return;
  }
  const EditorState& editor = Editor();
  const ViewState& view = View();
  const double spacing =
      ScaleSpacing(static_cast<double>(editor.ViewLength) / rate, view.ViewPixels);
  QPainter painter(&scalePic_->Image());
  painter.setFont(StripFont());
  const double firstTick = std::floor((static_cast<double>(editor.ViewStart) / rate) / spacing);
  const double end = static_cast<double>(editor.ViewStart + editor.ViewLength) / rate;
  bool printed = false;
  for (double tick = firstTick;; tick += 1.0) {
    const double t = tick * spacing;
    if (t > end) break;
    const int x = PixelOf(RoundHalfEven(t * rate));
    if (x > -5 && x < view.ViewPixels - 30) {
      Line(painter, x, 0, x, scalePic_->height(), kStripForeground);
      TextAt(painter, x + 3, -1, QString::fromStdString(FormatScaleTime(static_cast<float>(t))),
             kStripForeground);
      printed = true;
    }
  }
  if (!printed) {
    TextAt(painter, 3, -1,
           QString::fromStdString(
               FormatScaleTime(static_cast<float>(static_cast<double>(editor.ViewStart) / rate))),
           kStripForeground);
  }
  painter.end();
  scalePic_->update();
}

void WaveEditor_Frm::RefreshDrawMarkers() {
  FlagHover = false;
  markerDrawPic_->Clear();
  const int32_t length = Length();
  if (length < 1) {
    RefreshDrawScale();
    markHilitShape_->visible = false;
    markerDrawPic_->update();
    return;
  }
  const EditorState& editor = Editor();
  ViewState& view = View();
  ProjectData& project = Project();
  const int width = markerDrawPic_->width();
  {
    QPainter painter(&markerDrawPic_->Image());
    if (ValidSlide(view.CurrentSlide)) {
      const int32_t s = project.Slides[static_cast<size_t>(view.CurrentSlide)].Start;
      const int32_t e = SlideEndPosition(view.CurrentSlide, length);
      const int32_t viewEnd = editor.ViewStart + editor.ViewLength;
      int x1 = 0;
      int x2 = -1;
      if (s <= editor.ViewStart && e >= viewEnd) {
        x2 = width;
      } else if (s >= editor.ViewStart && e <= viewEnd) {
        x1 = PixelOf(s);
        x2 = PixelOf(e);
      } else if (s < editor.ViewStart && e > editor.ViewStart && e <= viewEnd) {
        x2 = PixelOf(e);
      } else if (s >= editor.ViewStart && s < viewEnd && e > viewEnd) {
        x1 = PixelOf(s);
        x2 = width;
      }
      if (x2 >= x1) FillBox(painter, x1, 0, x2, markerDrawPic_->height() - 1, kBand);
    }
  }
  RefreshDrawScale();

  QPainter stripPainter(&markerDrawPic_->Image());
  stripPainter.setFont(StripFont());
  stripPainter_ = &stripPainter;
  // A label is drawn only where it ends before the next flag of its row, so flags close
  // together show no labels over each other; the flags themselves are all drawn.
  const QFontMetrics metrics = stripPainter.fontMetrics();
  const auto fits = [&](int x, int offset, const QString& label, int nextFlagLeft) {
    return x + offset + metrics.horizontalAdvance(label) < nextFlagLeft;
  };
  const auto slideX = [&](int32_t i) {
    return i <= project.SlideEntryCount ? PixelOf(project.Slides[static_cast<size_t>(i)].Start)
                                        : std::numeric_limits<int32_t>::max();
  };
  for (int32_t i = 1; i <= project.SlideEntryCount; ++i) {
    const int32_t x = slideX(i);
    const uint32_t colour = i == view.CurrentSlide ? kCurrentSlideText : kOtherSlideText;
    const bool labelled =
        i != project.SlideEntryCount && fits(x, 5, QString("Slide %1").arg(i), slideX(i + 1) - 2);
    DrawMarkerFlag(x, 0, i, labelled ? static_cast<int32_t>(colour) : -1);
  }

  if (view.CurrentMarker < 1 || view.CurrentMarker > project.MarkerCount) view.CurrentMarker = 1;
  int32_t currentX = -1;
  int32_t number = 0;
  for (int32_t i = 1; i <= project.MarkerCount; ++i) {
    const MarkerInfo& marker = project.Markers[static_cast<size_t>(i)];
    number = (i > 1 && marker.Slide == project.Markers[static_cast<size_t>(i) - 1].Slide)
                 ? number + 1
                 : 1;
    const uint32_t colour = marker.Slide == view.CurrentSlide ? kCurrentSlideText : kOtherSlideText;
    const int32_t x = PixelOf(marker.Position);
    if (x >= 0 && x <= width && (marker.Kind == kClickMarker || marker.Kind == kAutoMarker)) {
      // The next flag in the marker row: the next marker's, or the end of the marker's
      // slide, whichever comes first.
      int32_t next = slideX(marker.Slide + 1) - 2;
      if (i < project.MarkerCount) {
        next = std::min(next, PixelOf(project.Markers[static_cast<size_t>(i) + 1].Position) - 1);
      }
      const QString label =
          QString(marker.Kind == kClickMarker ? "C" : "A") + QString::number(number);
      DrawMarkerFlag(x, marker.Kind, number,
                     fits(x, 4, label, next) ? static_cast<int32_t>(colour) : -1);
      if (i == view.CurrentMarker) currentX = x;
    }
  }
  stripPainter_ = nullptr;
  stripPainter.end();
  DrawFlagLines();
  if (currentX >= 0) {
    markHilitShape_->MoveToX(currentX - 1);
    markHilitShape_->visible = true;
    blinkMarkerTimer_.start();
  } else {
    markHilitShape_->visible = false;
    blinkMarkerTimer_.stop();
  }
  QString kind;
  QString position;
  if (project.MarkerCount >= 1) {
    const MarkerInfo& marker = project.Markers[static_cast<size_t>(view.CurrentMarker)];
    kind = marker.Kind == kClickMarker ? "Click" : (marker.Kind == kAutoMarker ? "Auto" : "");
    if (marker.Slide >= 1 && marker.Slide <= project.SlideCount && document_->WavFmtFreq > 0) {
      const double seconds =
          static_cast<double>(marker.Position -
                              project.Slides[static_cast<size_t>(marker.Slide)].Start) /
          document_->WavFmtFreq;
      position = QString::fromStdString(FormatScaleTime(static_cast<float>(seconds)));
    }
  }
  Label("DispMarkTypLbl")->setText(kind);
  Label("DispMarkPosLbl")->setText(position);
  markerDrawPic_->update();
}

void WaveEditor_Frm::DrawMarkerFlag(int32_t X, int32_t Kind, int32_t Number, int32_t TextColour) {
  if (X < 0 || X > markerDrawPic_->width()) return;
  // The strip's painter stays open while the whole strip is drawn; a single flag opens one.
  std::optional<QPainter> ownPainter;
  if (stripPainter_ == nullptr) {
    ownPainter.emplace(&markerDrawPic_->Image());
    ownPainter->setFont(StripFont());
  }
  QPainter& painter = stripPainter_ != nullptr ? *stripPainter_ : *ownPainter;
  QColor face;
  if (Kind == 0) {
    face = kSlideFace;
    FillBox(painter, X - 2, 2, X + 3, 27, face);
    Line(painter, X - 2, 2, X - 2, 28, kBevelLight);
    Line(painter, X - 2, 2, X + 4, 2, kBevelLight);
    Line(painter, X + 3, 3, X + 3, 27, kBevelDark);
    Line(painter, X - 1, 27, X + 4, 27, kBevelDark);
    if (TextColour != -1) {
      TextAt(painter, X + 5, 0, QString("Slide %1").arg(Number),
             FromRgb(static_cast<uint32_t>(TextColour)));
    }
  } else if (Kind == kClickMarker || Kind == kAutoMarker) {
    face = Kind == kClickMarker ? kClickFace : kAutoFace;
    FillBox(painter, X - 1, 9, X + 2, 29, face);
    Line(painter, X - 1, 9, X - 1, 30, kBevelLight);
    Line(painter, X - 1, 9, X + 3, 9, kBevelLight);
    Line(painter, X + 2, 10, X + 2, 29, kBevelDark);
    Line(painter, X, 29, X + 3, 29, kBevelDark);
    if (TextColour != -1) {
      TextAt(painter, X + 4, 11, QString("%1%2").arg(Kind == kClickMarker ? "C" : "A").arg(Number),
             FromRgb(static_cast<uint32_t>(TextColour)));
    }
  } else {
    return;
  }
  flagLines_.emplace_back(X, face);
  if (stripPainter_ == nullptr) DrawFlagLines();
}

void WaveEditor_Frm::DrawFlagLines() {
  const int pictures = document_ != nullptr && document_->WavFmtChannel >= 2 ? 2 : 1;
  for (int index = 1; index <= pictures; ++index) {
    QPainter wave(&Wave_Pic(index)->Image());
    const int bottom = Wave_Pic(index)->height();
    for (const auto& [x, colour] : flagLines_) Line(wave, x, 0, x, bottom, colour);
  }
  flagLines_.clear();
}

void WaveEditor_Frm::RefreshScrollScale() {
  ScrollUpdating = true;
  const ScrollSettings settings = ScrollBarSettings(Length(), kScrollMaximum);
  hScroll_->setEnabled(settings.enabled);
  // A bar with nothing to scroll shows a thumb over the whole track.
  hScroll_->setRange(0, settings.enabled ? kScrollMaximum : 0);
  hScroll_->setPageStep(settings.largeChange);
  hScroll_->setValue(settings.value);
  if (settings.enabled) ScrollUpdating = false;
}

void WaveEditor_Frm::PositionBlinkCursor() {
  const int x = RoundHalfEven((Editor().CursorPos - Editor().ViewStart) * View().PixelsPerSample);
  const bool shown = x >= 1 && x <= Wave_Pic(1)->width();
  for (int index = 1; index <= 2; ++index) {
    blinkPosShp_[static_cast<size_t>(index)]->MoveToX(shown ? x : kParkedX);
    Wave_Pic(index)->update();
  }
  if (shown) {
    blinkCursorTimer_.start();
  } else {
    blinkCursorTimer_.stop();
  }
}

void WaveEditor_Frm::BlinkCursorTimer_Timer() {
  blinkCursorOn_ = !blinkCursorOn_;
  for (int index = 1; index <= 2; ++index) {
    blinkPosShp_[static_cast<size_t>(index)]->border = blinkCursorOn_ ? Qt::white : Qt::black;
    Wave_Pic(index)->update();
  }
}

void WaveEditor_Frm::BlinkMarkerTimer_Timer() {
  if (!markHilitShape_->visible) return;
  blinkMarkerOn_ = !blinkMarkerOn_;
  markHilitShape_->border = blinkMarkerOn_ ? Qt::yellow : Qt::black;
  markerDrawPic_->update();
}

void WaveEditor_Frm::UpdateSlideInfo() {
  const ProjectData& project = Project();
  const int32_t slide = View().CurrentSlide;
  QString number;
  QString duration;
  if (ValidSlide(slide)) {
    number = QString("%1/%2").arg(slide).arg(project.SlideEntryCount - 1);
    const int32_t rate = document_ ? document_->WavFmtFreq : 0;
    if (rate != 0) {
      const double seconds = static_cast<double>(SlideEndPosition(slide, Length()) -
                                                 project.Slides[static_cast<size_t>(slide)].Start) /
                             rate;
      duration = QString::fromStdString(FormatScaleTime(static_cast<float>(seconds)));
    }
  }
  Label("DispSlideNoLbl")->setText(number);
  Label("DispSlideDurLbl")->setText(duration);
}

void WaveEditor_Frm::UpdateSelectionLabels(bool Dragging) {
  const int32_t rate = document_ ? document_->WavFmtFreq : 0;
  const auto text = [rate](double samples) {
    return QString::fromStdString(FormatScaleTime(static_cast<float>(samples / rate)));
  };
  if (rate == 0) {
    for (const char* name : {"SelectLbl0", "SelectLbl1", "SelectLbl2"}) Label(name)->setText("");
    return;
  }
  const EditorState& editor = Editor();
  const int32_t first = Dragging ? DragFirst : editor.SelStart;
  const int32_t last = Dragging ? DragLast : editor.SelEnd;
  if (!Dragging) Label("DispTotDurLbl")->setText(text(Length()));
  Label("SelectLbl1")->setText(text(first));
  Label("SelectLbl2")->setText(text(last));
  Label("SelectLbl0")->setText(text(static_cast<double>(last) - first + 1));
}

void WaveEditor_Frm::UpdateSlideCombo() {
  ChooserUpdating = true;
  const ProjectData& project = Project();
  slideCombo_->clear();
  for (int32_t i = 1; i <= project.SlideEntryCount - 1; ++i) {
    slideCombo_->addItem(QString("%1. %2").arg(i).arg(
        QString::fromStdString(project.Slides[static_cast<size_t>(i)].Title)));
  }
  ViewState& view = View();
  if (view.CurrentSlide < 1 || view.CurrentSlide > project.SlideEntryCount) view.CurrentSlide = 1;
  slideCombo_->setCurrentIndex(view.CurrentSlide - 1);
  ChooserUpdating = false;
}

void WaveEditor_Frm::SlideCombo_Click() {
  if (ChooserUpdating || slideCombo_->currentIndex() < 0) return;
  ViewState& view = View();
  EditorState& editor = Editor();
  view.CurrentSlide = slideCombo_->currentIndex() + 1;
  const int32_t s = Project().Slides[static_cast<size_t>(view.CurrentSlide)].Start;
  const int32_t e = SlideEndPosition(view.CurrentSlide, Length());
  if (s < editor.ViewStart + editor.ViewLength && e > editor.ViewStart) {
    RefreshDrawMarkers();
    UpdateSlideInfo();
  } else {
    editor.ViewStart = s;
    editor.ViewLength = e - s;
    Refresh_Wave_View();
  }
}

}  // namespace quorvane
