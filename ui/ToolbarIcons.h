// Icons of the toolbar buttons: the desktop's icon theme where it has one, else a small
// drawing of our own, so no button is ever empty.
#pragma once

#include <QIcon>
#include <QString>

namespace quorvane {

// The icon for a button key ("PlayNew", "ZoomIn", "Undo", ...).
QIcon ToolbarIcon(const QString& key);

}  // namespace quorvane
