// What the storage tests share: a fresh session folder, block list, editor state and
// project for every case, a recording window, source WAV files described as BlockOrgFile
// blocks the way the WAV reader describes them, and a recognisable test signal.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "storage/BlockCarrBuffClass.h"
#include "storage/DocumentWindow.h"
#include "storage/FileMemoClass.h"
#include "tests/support/RecordingInteraction.h"
#include "tests/support/TempFolder.h"

namespace quorvane::testing {

class RecordingWindow : public DocumentWindow {
 public:
  void SetUndoMenuItem(const std::string& caption, bool enabled) override {
    menuCaption = caption;
    menuEnabled = enabled;
  }
  void SetUndoButton(bool enabled, const std::string& toolTip) override {
    buttonEnabled = enabled;
    buttonToolTip = toolTip;
  }
  void SetMenu_To_DefaultFormat() override { ++formatMenuRefreshes; }
  UndoClearChoice ShowUndoClearFrm(const std::vector<std::string>& AvailList) override {
    shownEntries = AvailList;
    return clearChoice;
  }

  std::string menuCaption;
  bool menuEnabled = false;
  bool buttonEnabled = false;
  std::string buttonToolTip;
  int formatMenuRefreshes = 0;
  std::vector<std::string> shownEntries;
  UndoClearChoice clearChoice;
};

class StorageTest : public ::testing::Test {
 protected:
  StorageTest();
  ~StorageTest() override;
  int TempFilesOnDisk() const;  // temporary block files in the session folder

  TempFolder folder;   // the session folder
  TempFolder outside;  // a folder that is not
  RecordingInteraction ui;
  RecordingWindow window;
};

// Writes a PCM WAV file of interleaved samples (8-bit values are written as value + 128)
// and describes it as the WAV reader does: a BlockOrgFile block per run of `blockFrames`
// frames and channel, left/right pairs registered; the carriers adopt the blocks.
void DescribeWav(const std::string& path, int32_t channels, int32_t bits,
                 const std::vector<int16_t>& samples, int32_t blockFrames, BlockCarrBuffClass& left,
                 BlockCarrBuffClass& right);

// A carrier of memory blocks of at most `blockLength` samples holding the values.
BlockCarrBuffClass CarrierOf(const std::vector<int16_t>& values, int32_t blockLength = 1000);
std::vector<int16_t> CarrierSamples(BlockCarrBuffClass& carrier);  // through WaveLR

// Fills an emptied document as loading does (no undo item, not marked changed): stereo
// when `right` is not empty, 16 bits, 44,100 Hz.
void LoadDocument(FileMemoClass& document, BlockCarrBuffClass& left, BlockCarrBuffClass& right);
void LoadDocument(FileMemoClass& document, const std::vector<int16_t>& left,
                  const std::vector<int16_t>& right, int32_t blockLength);
// Every sample of channel 1 (left) or 2 (right), read without loading.
std::vector<int16_t> ChannelSamples(FileMemoClass& document, int32_t channel);

void SetSlideStarts(const std::vector<int32_t>& starts);  // the last is the end entry
std::vector<int32_t> SlideStarts();
void SetMarkers(const std::vector<int32_t>& positions);  // click markers of slide 1
std::vector<int32_t> MarkerPositions();

int16_t Signal(int32_t channel, int32_t frame);
std::vector<int16_t> SignalRun(int32_t channel, int32_t first, int32_t count);

}  // namespace quorvane::testing
