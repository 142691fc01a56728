#include "ui/PictureBox.h"

#include <QPaintEvent>
#include <QPainter>
#include <QResizeEvent>

namespace quorvane {

PictureBox::PictureBox(QWidget* parent, const QColor& background)
    : QWidget(parent), image_(1, 1), background_(background) {
  setAttribute(Qt::WA_OpaquePaintEvent);
  image_.fill(background_);
}

bool PictureBox::ImageFits() const {
  return image_.deviceIndependentSize().toSize() == size().expandedTo(QSize(1, 1)) &&
         image_.devicePixelRatio() == devicePixelRatioF();
}

void PictureBox::Clear() {
  // The image follows the widget's size at every clearing: a hidden widget learns its new
  // size only when it is shown, after the drawing that already used it. It has as many
  // pixels as the screen shows there, so that on a scaled screen lines and text are drawn
  // sharp; drawing into it counts in the widget's own pixels all the same. An image shared
  // with a copy someone keeps gets a new one rather than a copy of its own that is filled
  // over at once.
  if (!ImageFits() || !image_.isDetached()) {
    const qreal ratio = devicePixelRatioF();
    image_ = QPixmap(size().expandedTo(QSize(1, 1)) * ratio);
    image_.setDevicePixelRatio(ratio);
  }
  image_.fill(background_);
}

void PictureBox::SetBackground(const QColor& colour) {
  background_ = colour;
  Clear();
  update();
}

OverlayShape& PictureBox::AddShape(const QRect& bounds, const QColor& border, bool isLine) {
  shapes_.push_back(std::make_unique<OverlayShape>(OverlayShape{bounds, border, true, isLine}));
  return *shapes_.back();
}

void PictureBox::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  painter.setClipRegion(event->region());
  painter.drawPixmap(QPoint(0, 0), image_);
  for (const auto& shape : shapes_) {
    if (!shape->visible || shape->bounds.right() < 0) continue;
    painter.setPen(shape->border);
    painter.setBrush(Qt::NoBrush);
    if (shape->isLine) {
      painter.drawLine(shape->bounds.left(), shape->bounds.top(), shape->bounds.left(),
                       shape->bounds.bottom());
    } else {
      painter.drawRect(shape->bounds.adjusted(0, 0, -1, -1));
    }
  }
}

void PictureBox::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  if (!ImageFits()) Clear();
}

}  // namespace quorvane
