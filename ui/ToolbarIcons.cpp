#include "ui/ToolbarIcons.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <functional>
#include <map>

namespace quorvane {

namespace {

const std::map<QString, QString>& ThemeNames() {
  static const std::map<QString, QString> names = {
      {"PlayNew", "media-playback-start"},
      {"PlaySlid", "media-skip-forward"},
      {"Pause", "media-playback-pause"},
      {"Continue", "media-playback-start"},
      {"Stop", "media-playback-stop"},
      {"Loop", "media-playlist-repeat"},
      {"Record", "media-record"},
      {"Open", "document-open"},
      {"Save", "document-save"},
      // No theme names one slide of a timeline: "ZoomSlid" is always drawn, with the red
      // flag that marks a slide's start.
      {"ZoomIn", "zoom-in"},
      {"ZoomOut", "zoom-out"},
      {"ZoomSel", "zoom-select"},
      {"ZoomAll", "zoom-fit-best"},
      {"Undo", "edit-undo"},
      {"Redo", "edit-redo"},
      {"Cut", "edit-cut"},
      {"Copy", "edit-copy"},
      {"Paste", "edit-paste"},
      {"Delete", "edit-delete"},
  };
  return names;
}

// A magnifier with a clear lens; `inside` draws what the lens shows, in the lens's own
// square (2, 2) to (15, 15).
void DrawMagnifier(QPainter& p, const std::function<void(QPainter&)>& inside) {
  const QColor dark(40, 40, 40);
  p.setPen(QPen(dark, 2));
  p.setBrush(Qt::white);
  p.drawEllipse(QRectF(2, 2, 13, 13));
  p.setPen(QPen(dark, 3, Qt::SolidLine, Qt::RoundCap));
  p.drawLine(QPointF(14, 14), QPointF(19.5, 19.5));
  p.setPen(QPen(dark, 1.6, Qt::SolidLine, Qt::FlatCap));
  p.setBrush(Qt::NoBrush);
  inside(p);
}

// The drawing is made in 22 by 22 device-independent pixels on a pixmap of the given pixel
// ratio, so it stays sharp on a scaled screen.
QPixmap DrawnIcon(const QString& key, qreal ratio) {
  QPixmap pixmap(QSize(22, 22) * ratio);
  pixmap.setDevicePixelRatio(ratio);
  pixmap.fill(Qt::transparent);
  QPainter p(&pixmap);
  p.setRenderHint(QPainter::Antialiasing);
  const QColor dark(40, 40, 40);
  p.setPen(Qt::NoPen);
  p.setBrush(dark);
  if (key == "PlayNew" || key == "PlaySlid" || key == "Continue") {
    p.setBrush(QColor(0, 128, 0));
    p.drawPolygon(QPolygonF({QPointF(6, 4), QPointF(18, 11), QPointF(6, 18)}));
    if (key == "PlaySlid") p.fillRect(QRectF(2, 4, 2, 14), QColor(255, 0, 0));
  } else if (key == "Pause") {
    p.drawRect(QRectF(6, 4, 4, 14));
    p.drawRect(QRectF(13, 4, 4, 14));
  } else if (key == "Stop") {
    p.drawRect(QRectF(5, 5, 12, 12));
  } else if (key == "Record") {
    p.setBrush(QColor(210, 0, 0));
    p.drawEllipse(QRectF(4, 4, 14, 14));
  } else if (key == "PunchIn") {
    // Recording from a point in the timeline.
    p.fillRect(QRectF(3, 3, 2, 16), QColor(255, 0, 0));
    p.setBrush(QColor(210, 0, 0));
    p.drawEllipse(QRectF(8, 5, 12, 12));
  } else if (key == "Loop") {
    p.setPen(QPen(dark, 2));
    p.setBrush(Qt::NoBrush);
    p.drawArc(QRectF(4, 5, 14, 12), 30 * 16, 300 * 16);
    p.setPen(Qt::NoPen);
    p.setBrush(dark);
    p.drawPolygon(QPolygonF({QPointF(15, 2), QPointF(20, 7), QPointF(14, 9)}));
  } else if (key == "Open") {
    p.setBrush(QColor(220, 180, 60));
    p.drawRect(QRectF(2, 6, 18, 13));
    p.drawRect(QRectF(2, 4, 8, 3));
  } else if (key == "Save") {
    p.setBrush(QColor(50, 80, 160));
    p.drawRect(QRectF(3, 3, 16, 16));
    p.setBrush(Qt::white);
    p.drawRect(QRectF(6, 3, 10, 6));
  } else if (key == "ZoomIn") {
    DrawMagnifier(p, [](QPainter& lens) {
      lens.drawLine(QPointF(5, 8.5), QPointF(12, 8.5));
      lens.drawLine(QPointF(8.5, 5), QPointF(8.5, 12));
    });
  } else if (key == "ZoomOut") {
    DrawMagnifier(p, [](QPainter& lens) { lens.drawLine(QPointF(5, 8.5), QPointF(12, 8.5)); });
  } else if (key == "ZoomSel") {
    // A selected stretch between its two edges.
    DrawMagnifier(p, [](QPainter& lens) {
      lens.fillRect(QRectF(6, 5.5, 5, 6), QColor(64, 64, 0));
      lens.drawLine(QPointF(5.5, 4.5), QPointF(5.5, 12.5));
      lens.drawLine(QPointF(11.5, 4.5), QPointF(11.5, 12.5));
    });
  } else if (key == "ZoomSlid") {
    // A slide's flag.
    DrawMagnifier(p, [](QPainter& lens) {
      lens.fillRect(QRectF(6, 4.5, 2, 8.5), QColor(255, 0, 0));
      lens.fillRect(QRectF(8, 4.5, 4, 3.5), QColor(255, 0, 0));
    });
  } else if (key == "ZoomAll") {
    // Both ends of the timeline.
    DrawMagnifier(p, [](QPainter& lens) {
      lens.drawLine(QPointF(4.5, 8.5), QPointF(12.5, 8.5));
      lens.drawPolyline(QPolygonF({QPointF(6.5, 6.5), QPointF(4.5, 8.5), QPointF(6.5, 10.5)}));
      lens.drawPolyline(QPolygonF({QPointF(10.5, 6.5), QPointF(12.5, 8.5), QPointF(10.5, 10.5)}));
    });
  } else if (key == "Undo") {
    p.setPen(QPen(dark, 2));
    p.setBrush(Qt::NoBrush);
    p.drawArc(QRectF(5, 6, 13, 12), 270 * 16, 270 * 16);
    p.setPen(Qt::NoPen);
    p.setBrush(dark);
    p.drawPolygon(QPolygonF({QPointF(2, 12), QPointF(9, 8), QPointF(9, 15)}));
  } else if (key == "Redo") {
    p.setPen(QPen(dark, 2));
    p.setBrush(Qt::NoBrush);
    p.drawArc(QRectF(4, 6, 13, 12), 270 * 16, -270 * 16);
    p.setPen(Qt::NoPen);
    p.setBrush(dark);
    p.drawPolygon(QPolygonF({QPointF(20, 12), QPointF(13, 8), QPointF(13, 15)}));
  } else if (key == "Cut") {
    p.setPen(QPen(dark, 2));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(QRectF(3, 13, 6, 6));
    p.drawEllipse(QRectF(13, 13, 6, 6));
    p.drawLine(QPointF(8, 13), QPointF(16, 2));
    p.drawLine(QPointF(14, 13), QPointF(6, 2));
  } else if (key == "Copy" || key == "Paste") {
    p.setPen(QPen(dark, 1.5));
    p.setBrush(Qt::white);
    if (key == "Paste") {
      p.setBrush(QColor(200, 160, 90));
      p.drawRect(QRectF(3, 4, 13, 16));
      p.setBrush(Qt::white);
      p.drawRect(QRectF(9, 9, 10, 11));
    } else {
      p.drawRect(QRectF(3, 3, 10, 12));
      p.drawRect(QRectF(9, 8, 10, 12));
    }
  } else if (key == "Delete") {
    p.setPen(QPen(QColor(200, 0, 0), 3));
    p.drawLine(QPointF(5, 5), QPointF(17, 17));
    p.drawLine(QPointF(17, 5), QPointF(5, 17));
  } else {
    p.setPen(dark);
    p.drawText(QRectF(0, 0, 22, 22), Qt::AlignCenter, key.left(2));
  }
  return pixmap;
}

}  // namespace

QIcon ToolbarIcon(const QString& key) {
  const auto found = ThemeNames().find(key);
  if (found != ThemeNames().end() && QIcon::hasThemeIcon(found->second)) {
    return QIcon::fromTheme(found->second);
  }
  QIcon icon;
  for (const qreal ratio : {1.0, 1.5, 2.0, 3.0}) icon.addPixmap(DrawnIcon(key, ratio));
  return icon;
}

}  // namespace quorvane
