#include "ui/ElidedLabel.h"

#include <QPainter>

namespace quorvane {

ElidedLabel::ElidedLabel(const QString& text, const QString& widest, QWidget* parent)
    : QLabel(text, parent), widest_(widest) {
  setFrameStyle(QFrame::Panel | QFrame::Sunken);
  setMargin(2);
}

int ElidedLabel::Extra() const { return 2 * (frameWidth() + margin()); }

QSize ElidedLabel::sizeHint() const {
  return {fontMetrics().horizontalAdvance(widest_) + Extra(), QLabel::sizeHint().height()};
}

QSize ElidedLabel::minimumSizeHint() const {
  return {fontMetrics().horizontalAdvance("...") + Extra(), QLabel::minimumSizeHint().height()};
}

void ElidedLabel::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  drawFrame(&painter);
  const QRect room = contentsRect().adjusted(margin(), 0, -margin(), 0);
  painter.setPen(palette().color(foregroundRole()));
  painter.drawText(room, Qt::AlignLeft | Qt::AlignVCenter,
                   fontMetrics().elidedText(text(), Qt::ElideRight, room.width()));
}

}  // namespace quorvane
