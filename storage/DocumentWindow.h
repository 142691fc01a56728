// What the wave document needs of the editor window: the undo and redo menu entries and
// toolbar buttons, the format menu refresh after a format change is undone, and the clear-undo-data
// dialog. The window implements it and installs itself; without a window these do nothing.
#pragma once

#include <string>
#include <vector>

#include "storage/UndoClearChoice.h"

namespace quorvane {

class DocumentWindow {
 public:
  virtual ~DocumentWindow() = default;
  virtual void SetUndoMenuItem(const std::string& caption, bool enabled) = 0;
  virtual void SetUndoButton(bool enabled, const std::string& toolTip) = 0;
  // The redo menu item and toolbar button, both captioned "Redo [name]".
  virtual void SetRedoItem(const std::string& /*caption*/, bool /*enabled*/) {}
  virtual void SetMenu_To_DefaultFormat() = 0;
  // Shows UndoClearFrm modally with these entries in AvailList.
  virtual UndoClearChoice ShowUndoClearFrm(const std::vector<std::string>& AvailList) = 0;
};

// The installed window, or a stand-in that does nothing.
DocumentWindow& TheDocumentWindow();
void SetDocumentWindow(DocumentWindow* window);  // nullptr removes it

}  // namespace quorvane
