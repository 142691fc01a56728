#include "ui/ProgressShowerClass.h"

#include <QPainter>

#include "core/Numbers.h"

namespace quorvane {

ProgressShowerClass::ProgressShowerClass(QWidget& ProgDisplayPic, PictureBox& ProgBarPic)
    : panel_(ProgDisplayPic),
      bar_(ProgBarPic),
      width_(ProgBarPic.width()),
      height_(ProgBarPic.height()) {}

void ProgressShowerClass::SetCurrentProgress(float value) {
  progress_ = value;
  bar_.Clear();
  QPainter painter(&bar_.Image());
  if (value != 0.0F) {
    const uint32_t rgb = barColor1_;
    const QColor colour(static_cast<int>(rgb & 0xFF), static_cast<int>((rgb >> 8) & 0xFF),
                        static_cast<int>((rgb >> 16) & 0xFF));
    painter.fillRect(0, 0, RoundHalfEven(double{value} * width_), height_, colour);
  } else {
    painter.setPen(bar_.palette().color(QPalette::WindowText));
    painter.setFont(bar_.font());
    painter.drawText(2, 2 + painter.fontMetrics().ascent(), "Processing... Please wait...");
  }
  painter.end();
  bar_.repaint();
  panel_.repaint();
}

void ProgressShowerClass::SetIsVisible(bool visible) {
  panel_.setVisible(visible);
  if (visible) panel_.raise();
}

bool ProgressShowerClass::IsVisible() const { return panel_.isVisible(); }

}  // namespace quorvane
