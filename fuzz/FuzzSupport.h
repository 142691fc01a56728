// What both fuzz targets share: in place of the window, an interaction that answers every
// message with its default button and keeps nothing (the program's own would write every
// message to standard error) and a document window that ignores its calls; a folder of the
// run's own with a fresh session in it for every input; and the check that an emptied
// document left nothing in the block list.
#pragma once

#include <errno.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "core/Environment.h"
#include "core/Interaction.h"
#include "storage/BlockList.h"
#include "storage/DocumentWindow.h"
#include "storage/EditorState.h"

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

// Stops the run with what went wrong, under the target's name.
[[noreturn]] inline void Fail(const std::string& what) {
  std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, what.c_str());
  std::fflush(stderr);
  std::abort();
}

// The run's own folder, made once and removed at exit, with the program's messages and
// document window quieted. Every input creates and deletes a few files; on ext4 that slows
// down as deleted inodes pile up (after ten minutes, creating files took most of the time),
// so memory is preferred: FUZZ_TMPDIR, else /dev/shm, else TMPDIR, else /tmp.
inline const std::string& FuzzFolder() {
  static const std::string folder = [] {
    std::string place = "/tmp";
    for (const char* name : {"FUZZ_TMPDIR", "", "TMPDIR"}) {
      const char* value = *name ? std::getenv(name) : "/dev/shm";
      if (value && *value && ::access(value, W_OK | X_OK) == 0) {
        place = value;
        break;
      }
    }
    std::string pattern = place + "/quorvane-fuzz-XXXXXX";
    if (!::mkdtemp(pattern.data())) Fail("cannot make a folder from " + pattern);
    return pattern;
  }();
  static const bool prepared = [] {
    std::atexit([] {
      std::error_code ignored;
      std::filesystem::remove_all(FuzzFolder(), ignored);
    });
    static QuietInteraction interaction;
    SetUserInterface(&interaction);
    static QuietWindow window;
    SetDocumentWindow(&window);
    return true;
  }();
  (void)prepared;
  return folder;
}

// What a fresh session sets up, done again for every input: the settings file and the
// temporary files in the run's folder, the session folder its "fm1", a tiny memory budget
// so that blocks go out to temporary files early.
inline void StartFuzzSession(int32_t memoryBudget) {
  const std::string& root = FuzzFolder();
  ResetEnvironment();
  Env().AppPath = root;
  Env().SystemTempPath = root;
  Env().TempRoot = root;
  Env().SessionFolder = root + "/fm1";
  Env().SettingsFile = root + "/quorvane-audio.ini";
  Env().MemoryBudget = memoryBudget;
  std::filesystem::create_directory(Env().SessionFolder);
  ResetBlockList();
  ResetEditorState();
}

// What the block list still holds once every document is emptied; empty when nothing.
inline std::string WhatTheBlockListStillHolds() {
  if (BlocksInUse() != 0) {
    return std::to_string(BlocksInUse()) + " blocks are still in use after the reset";
  }
  for (int32_t entry = 1; entry < OriginalFileCount(); ++entry) {
    if (OriginalFile(entry).UseCount != 0) return "a source file is still in use after the reset";
  }
  for (int32_t slot = 1; slot < TempFileCount(); ++slot) {
    if (TempFile(slot).UseCount != 0) return "a temporary file is still in use after the reset";
  }
  if (MemoryInUse() != 0) return "sample memory is still counted after the reset";
  return "";
}

}  // namespace quorvane
