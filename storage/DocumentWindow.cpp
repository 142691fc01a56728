#include "storage/DocumentWindow.h"

#include "storage/EditorContext.h"

namespace quorvane {

namespace {

class NoWindow : public DocumentWindow {
 public:
  void SetUndoMenuItem(const std::string&, bool) override {}
  void SetUndoButton(bool, const std::string&) override {}
  void SetMenu_To_DefaultFormat() override {}
  UndoClearChoice ShowUndoClearFrm(const std::vector<std::string>&) override { return {}; }
};

}  // namespace

DocumentWindow& TheDocumentWindow() {
  static NoWindow noWindow;
  DocumentWindow* const installed = Context().Window;
  return installed != nullptr ? *installed : noWindow;
}

void SetDocumentWindow(DocumentWindow* window) { Context().Window = window; }

}  // namespace quorvane
