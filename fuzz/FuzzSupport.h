// What both fuzz targets share: in place of the window, an interaction that answers every
// message with its default button and keeps nothing (the program's own would write every
// message to standard error) and a document window that ignores its calls; and the check
// that an emptied document left nothing in the block list.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/Interaction.h"
#include "storage/BlockList.h"
#include "storage/DocumentWindow.h"

namespace quorvane {

class QuietInteraction : public Interaction {
 public:
  MessageAnswer MsgBox(const MessageRequest& request) override { return DefaultAnswer(request); }
  std::optional<std::string> InputBox(const std::string&, const std::string&,
                                      const std::string& defaultText) override {
    return defaultText;
  }
  void SetBusy(bool) override {}
  ProgressDisplay& Progress() override { return progress_; }

 private:
  SilentProgressDisplay progress_;
};

class QuietWindow : public DocumentWindow {
 public:
  void SetUndoMenuItem(const std::string&, bool) override {}
  void SetUndoButton(bool, const std::string&) override {}
  void SetMenu_To_DefaultFormat() override {}
  UndoClearChoice ShowUndoClearFrm(const std::vector<std::string>&) override { return {}; }
};

// What the block list still holds once every document is emptied; empty when nothing.
inline std::string WhatTheBlockListStillHolds() {
  if (BlocksInUse() != 0) {
    return std::to_string(BlocksInUse()) + " blocks are still in use after the reset";
  }
  for (size_t entry = 1; entry < OrgFileTable.size(); ++entry) {
    if (OrgFileTable[entry].UseCount != 0) return "a source file is still in use after the reset";
  }
  for (size_t slot = 1; slot < TempFileTable.size(); ++slot) {
    if (TempFileTable[slot].UseCount != 0)
      return "a temporary file is still in use after the reset";
  }
  if (MemoryInUse != 0) return "sample memory is still counted after the reset";
  return "";
}

}  // namespace quorvane
