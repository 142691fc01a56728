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

void PictureBox::Clear() {
  // The image follows the widget's size at every clearing: a hidden widget learns its new
  // size only when it is shown, after the drawing that already used it.
  // An image shared with a copy someone keeps gets a new one rather than a copy of its own
  // that is filled over at once.
  const QSize size = this->size().expandedTo(QSize(1, 1));
  if (image_.size() != size || !image_.isDetached()) image_ = QPixmap(size);
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
  painter.drawPixmap(event->rect(), image_, event->rect());
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
  if (image_.size() != event->size().expandedTo(QSize(1, 1))) Clear();
  QWidget::resizeEvent(event);
}

}  // namespace quorvane
