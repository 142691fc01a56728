#include "ui/PlayerLink.h"

#include <QWidget>
#include <algorithm>

namespace quorvane {

int32_t SoundWindowHandle(QWidget& window) {
  return std::max<int32_t>(1, static_cast<int32_t>(window.winId() & 0x7FFFFFFF));
}

}  // namespace quorvane
