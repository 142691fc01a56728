// The host's presentation window: found among the desktop's top-level windows by its
// frame class, and made the owner of the editor window so the editor stays in front of it.
#pragma once

#include <cstdint>

class QWidget;

namespace quorvane {

// The first top-level window whose class is one of the host's frame classes, tried in
// their order; 0 when there is none or the desktop cannot be searched (no X11).
uint32_t FindHostWindow();

// Makes the host's window, when there is one, the owner of `window`.
void ConnectToHostWindow(QWidget& window);

}  // namespace quorvane
