#include "ui/EditorWindowProc.h"

#include <QEvent>
#include <QResizeEvent>
#include <QWidget>

namespace quorvane {

namespace {

constexpr int kMinimumWidth = 400;
constexpr int kMinimumHeight = 300;

// Raises any size below the minimum, as the size change arrives, and lets the event go on.
class EditorWindowProc : public QObject {
 public:
  using QObject::QObject;

  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() == QEvent::Resize) {
      auto* window = static_cast<QWidget*>(watched);
      const QSize size = static_cast<QResizeEvent*>(event)->size();
      if (size.width() < kMinimumWidth || size.height() < kMinimumHeight) {
        window->resize(std::max(size.width(), kMinimumWidth),
                       std::max(size.height(), kMinimumHeight));
      }
    }
    return false;
  }
};

}  // namespace

void InstallEditorWindowProc(QWidget& window) {
  window.setMinimumSize(kMinimumWidth, kMinimumHeight);
  window.installEventFilter(new EditorWindowProc(&window));
}

}  // namespace quorvane
