#include "storage/DocumentWindow.h"

namespace quorvane {

namespace {

class NoWindow : public DocumentWindow {
 public:
  void SetUndoMenuItem(const std::string&, bool) override {}
  void SetUndoButton(bool, const std::string&) override {}
  void SetMenu_To_DefaultFormat() override {}
  UndoClearChoice ShowUndoClearFrm(const std::vector<std::string>&) override { return {}; }
};

DocumentWindow* g_window = nullptr;

}  // namespace

DocumentWindow& TheDocumentWindow() {
  static NoWindow noWindow;
  return g_window ? *g_window : noWindow;
}

void SetDocumentWindow(DocumentWindow* window) { g_window = window; }

}  // namespace quorvane
