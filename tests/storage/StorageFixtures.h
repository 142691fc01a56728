// What the storage tests share: a fresh session folder, block list, editor state and
// project for every case, a recording window, and source WAV files described as
// BlockOrgFile blocks the way the WAV reader describes them.
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
    ++clearDialogShown;
    return clearChoice;
  }

  std::string menuCaption;
  bool menuEnabled = false;
  bool buttonEnabled = false;
  std::string buttonToolTip;
  int formatMenuRefreshes = 0;
  std::vector<std::string> shownEntries;
  int clearDialogShown = 0;
  UndoClearChoice clearChoice;
};

class StorageTest : public ::testing::Test {
 protected:
  StorageTest();
  ~StorageTest() override;

  // Temporary block files now in the session folder.
  int TempFilesOnDisk() const;

  TempFolder folder;
  TempFolder outside;  // a folder that is not the session folder
  RecordingInteraction ui;
  RecordingWindow window;
};

// A WAV file's data chunk, and where it starts.
struct WavFile {
  std::string path;
  int32_t channels = 0;
  int32_t bits = 0;
  int32_t dataOffset = 0;  // 0-based byte offset of the first sample
  int32_t frames = 0;
};

// Writes a PCM WAV file. `samples` holds the channels interleaved; for 8 bits each value
// is written as value + 128.
WavFile WriteWav(const std::string& path, int32_t channels, int32_t bits,
                 const std::vector<int16_t>& samples);

// Describes the file as the WAV reader does: one BlockOrgFile block per run of
// `blockFrames` frames and channel, left/right pairs registered. The carriers adopt them.
void DescribeWav(const WavFile& file, int32_t blockFrames, BlockCarrBuffClass& left,
                 BlockCarrBuffClass& right);

// A carrier of memory blocks holding the values, in blocks of at most `blockLength`.
void FillCarrier(BlockCarrBuffClass& carrier, const std::vector<int16_t>& values,
                 int32_t blockLength);

// Every sample of a carrier through WaveLR.
std::vector<int16_t> CarrierSamples(BlockCarrBuffClass& carrier);

// Fills an emptied document the way loading does (no undo item, not marked changed):
// stereo when `right` is not empty, 16 bits, 44,100 Hz.
void LoadDocument(FileMemoClass& document, BlockCarrBuffClass& left, BlockCarrBuffClass& right);
void LoadDocument(FileMemoClass& document, const std::vector<int16_t>& left,
                  const std::vector<int16_t>& right, int32_t blockLength);

// Every sample of one channel (1 left, 2 right), read without loading.
std::vector<int16_t> ChannelSamples(FileMemoClass& document, int32_t channel);

// A carrier of memory blocks holding the values.
BlockCarrBuffClass CarrierOf(const std::vector<int16_t>& values, int32_t blockLength = 1000);

// Slides starting at the given positions (the last one is the end entry).
void SetSlideStarts(const std::vector<int32_t>& starts);
std::vector<int32_t> SlideStarts();

// Markers at the given positions (click markers of slide 1).
void SetMarkers(const std::vector<int32_t>& positions);
std::vector<int32_t> MarkerPositions();

// A recognisable test signal.
int16_t Signal(int32_t channel, int32_t frame);
std::vector<int16_t> SignalRun(int32_t channel, int32_t first, int32_t count);

}  // namespace quorvane::testing
