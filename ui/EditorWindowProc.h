// Keeps the editor window at least 400 by 300 pixels, whatever size it is asked to take.
#pragma once

class QWidget;

namespace quorvane {

void InstallEditorWindowProc(QWidget& window);

}  // namespace quorvane
