#include "devices/DsPlayClass.h"

#include "core/Environment.h"
#include "core/Interaction.h"

namespace quorvane {

namespace {

bool HoldsSourceFile(const BlockCarrBuffClass& carrier) {
  std::vector<int32_t> blocks;
  carrier.BuffBlocksGet(blocks);
  for (const int32_t block : blocks) {
    if (RecordOf(block).Kind == BlockOrgFile) return true;
  }
  return false;
}

}  // namespace

DsPlayClass::DsPlayClass(bool loop) {
  Dll.MsgBoxOb = [this](const std::string& message, const std::string& title) {
    Dll_MsgBoxOb(message, title);
  };
  Dll.MemoryLimit(Env().MemoryBudget);
  Dll.TempFolder(Env().SessionFolder);
  Dll.LoopFlag(loop);
}

void DsPlayClass::ReleasePlayingFiles(bool OnlyOriginal) {
  if (OnlyOriginal && !HoldsSourceFile(PlayCarrierL) && !HoldsSourceFile(PlayCarrierR)) return;
  Dll.ReleaseFiles();
  if (DisablePauseButton) DisablePauseButton();
}

void DsPlayClass::Dll_MsgBoxOb(const std::string& message, const std::string& title) {
  if (message == "S2") return;
  UserInterface().Message(message, MessageIcon::None, title);
}

}  // namespace quorvane
