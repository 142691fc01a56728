#include "editing/TextClipboard.h"

namespace quorvane {

namespace {

InProcessClipboard g_inProcess;
TextClipboard* g_clipboard = &g_inProcess;

}  // namespace

TextClipboard& SystemClipboard() { return *g_clipboard; }

void SetSystemClipboard(TextClipboard* clipboard) {
  g_clipboard = clipboard ? clipboard : &g_inProcess;
}

}  // namespace quorvane
