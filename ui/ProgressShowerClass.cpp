#include "ui/ProgressShowerClass.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPushButton>

#include "core/Numbers.h"

namespace quorvane {

namespace {

// How often an operation's question lets the window take its events.
constexpr std::chrono::milliseconds kLookInterval{50};

}  // namespace

ProgressShowerClass::ProgressShowerClass(QWidget& ProgDisplayPic, PictureBox& ProgBarPic,
                                         QPushButton& cancel)
    : panel_(ProgDisplayPic),
      bar_(ProgBarPic),
      width_(ProgBarPic.width()),
      height_(ProgBarPic.height()),
      cancel_(cancel) {
  QObject::connect(&cancel_, &QPushButton::clicked, this, [this] { cancelled_ = true; });
}

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
  if (visible && !panel_.isVisible()) cancelled_ = false;
  panel_.setVisible(visible);
  if (visible) panel_.raise();
}

bool ProgressShowerClass::CancelRequested() {
  const auto now = std::chrono::steady_clock::now();
  if (cancelled_ || now - lastLook_ < kLookInterval) return cancelled_;
  lastLook_ = now;
  qApp->installEventFilter(this);
  QApplication::processEvents();
  qApp->removeEventFilter(this);
  return cancelled_;
}

bool ProgressShowerClass::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
    case QEvent::KeyPress:
      if (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) cancelled_ = true;
      return true;
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
      return watched != &cancel_;
    case QEvent::KeyRelease:
    case QEvent::Wheel:
    case QEvent::Close:
    case QEvent::Shortcut:
    case QEvent::ShortcutOverride:
      return true;
    default:
      return false;
  }
}

bool ProgressShowerClass::IsVisible() const { return panel_.isVisible(); }

}  // namespace quorvane
