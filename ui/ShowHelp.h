// F1: the user manual, in the desktop's browser, or in a window of the program's own where
// the desktop has no browser.
#pragma once

#include <string>

class QWidget;

namespace quorvane {

// The manual installed beside the program (../share/doc/quorvane-audio/manual.html), or the
// one in the source tree for a program run from its build folder.
std::string ManualPath();

// Whether the desktop can show a web page: xdg-open is on the path and a program is set for
// HTML (or $BROWSER names one, which xdg-open honours).
bool BrowserFound();

// Opens the manual in the browser, else in the manual window of `owner`; false when there
// is no manual.
bool ShowHelp(QWidget& owner);

// The manual window of `owner` (made on first use, reused after, gone with its owner),
// showing the manual. A window of the owner's own, so that a modal dialog asking for help
// does not block it.
QWidget* ShowManualWindow(const std::string& manual, QWidget& owner);

}  // namespace quorvane
