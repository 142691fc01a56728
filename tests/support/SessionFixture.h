// A fresh session for tests of the storage engine and the layers above it: a session
// folder, the block list, the editor state, the project tables, a recording interaction and
// a recording document window, all reset for every case.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "storage/DocumentWindow.h"
#include "storage/FileMemoClass.h"
#include "tests/support/RecordingInteraction.h"
#include "tests/support/TempFolder.h"

namespace quorvane::testing {

// A document window that records what the document shows it and answers the undo-clearing
// dialog with `clearChoice`.
class RecordingWindow : public DocumentWindow {
 public:
  void SetUndoMenuItem(const std::string& caption, bool enabled) override {
    menuCaption = caption;
    menuEnabled = enabled;
  }
  void SetUndoButton(bool, const std::string& toolTip) override { buttonToolTip = toolTip; }
  void SetRedoItem(const std::string& caption, bool) override { redoCaption = caption; }
  void SetMenu_To_DefaultFormat() override { ++formatMenuRefreshes; }
  UndoClearChoice ShowUndoClearFrm(const std::vector<std::string>& entries) override {
    shownEntries = entries;
    return clearChoice;
  }

  std::string menuCaption;
  bool menuEnabled = false;
  std::string buttonToolTip;
  std::string redoCaption = "Redo [Nothing]";
  int formatMenuRefreshes = 0;
  std::vector<std::string> shownEntries;
  UndoClearChoice clearChoice;
};

// Everything a session starts from, for every case: the environment with this session
// folder, an empty block list, fresh editor state and project tables, the recording window.
// At the end every file the block list holds is released.
class SessionTest : public ::testing::Test {
 protected:
  SessionTest();
  ~SessionTest() override;

  // The samples of a channel (1 left, 2 right) of a document, read without loading.
  static std::vector<int16_t> ChannelSamples(const FileMemoClass& document, int channel);

  TempFolder session;  // the session folder
  TempFolder files;    // where a test keeps its own files, and the program folder
  RecordingInteraction ui;
  RecordingWindow menu;
};

// Interleaves one or two channels.
std::vector<int16_t> Interleave(const std::vector<int16_t>& left,
                                const std::vector<int16_t>& right);

// A ramp of `count` values starting at `first`, stepping by `step`, wrapping in 16 bits.
std::vector<int16_t> Ramp(size_t count, int first = 0, int step = 1);

std::vector<int16_t> Zeros(size_t count);

// `count` 8-bit sample values (-128..127) that change from one sample to the next.
std::vector<int16_t> EightBitPattern(size_t count, int seed = 0);

// The samples from..to (1-based, inclusive) of a channel.
std::vector<int16_t> Stretch(const std::vector<int16_t>& samples, int32_t from, int32_t to);

// Stretches of samples one after another.
std::vector<int16_t> Joined(const std::vector<std::vector<int16_t>>& parts);

}  // namespace quorvane::testing
