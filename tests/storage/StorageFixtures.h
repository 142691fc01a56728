// What the storage tests share: a fresh session for every case, source WAV files
// described as BlockOrgFile blocks the way the WAV reader describes them, carriers and
// documents of given samples, slides and markers, and a recognisable test signal.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "core/ProjectTables.h"
#include "storage/BlockCarrBuffClass.h"
#include "storage/BlockList.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "tests/support/SessionFixture.h"
#include "tests/support/WaveBuilder.h"

namespace quorvane::testing {

class StorageTest : public SessionTest {
 protected:
  // Temporary block files in the session folder (".pk": the summaries of files).
  auto TempFilesOnDisk(const char* extension = ".tmp") const {
    return std::ranges::count_if(
        std::filesystem::directory_iterator(session.Path()),
        [extension](const auto& entry) { return entry.path().extension() == extension; });
  }
};

// Writes a PCM WAV file of interleaved samples (8-bit values are written as value + 128)
// and describes it as the WAV reader does: a BlockOrgFile block per run of `blockFrames`
// frames and channel, left/right pairs registered; the carriers adopt the blocks.
inline void DescribeWav(const std::string& path, int32_t channels, int32_t bits,
                        const std::vector<int16_t>& samples, int32_t blockFrames,
                        BlockCarrBuffClass& left, BlockCarrBuffClass& right) {
  const int32_t sampleBytes = bits / 8;
  const int32_t frames = static_cast<int32_t>(samples.size()) / channels;
  std::ofstream(path, std::ios::binary | std::ios::trunc)
      << PcmWave(channels, 44100, bits, samples);

  const int32_t entry = RegisterOriginalFile(path, channels, bits);
  std::vector<int32_t> blocks[2];
  for (int32_t i = 0; i < frames; i += blockFrames) {
    for (int32_t channel = 0; channel < channels; ++channel) {
      blocks[channel].push_back(AddOriginalFileRun(entry,
                                                   44 + (i * channels + channel) * sampleBytes + 1,
                                                   i + 1, std::min(blockFrames, frames - i)));
    }
    if (channels == 2) RegisterChannelPair(blocks[0].back(), blocks[1].back());
  }
  left.BuffBlocksPutFresh(blocks[0]);
  right.BuffBlocksPutFresh(blocks[1]);
}

// A memory block holding the values, starting at position `start`.
inline int32_t MemoryBlock(const std::vector<int16_t>& values, int32_t start = 1) {
  const int32_t block = NewBlock(static_cast<int32_t>(values.size()), BlockMemory);
  std::copy(values.begin(), values.end(), WritableSamples(block).begin());
  SetBlockStart(block, start);
  return block;
}

// A carrier of memory blocks of at most `blockLength` samples holding the values.
inline BlockCarrBuffClass CarrierOf(const std::vector<int16_t>& values,
                                    int32_t blockLength = 1000) {
  std::vector<int32_t> blocks;
  for (size_t i = 0; i < values.size(); i += static_cast<size_t>(blockLength)) {
    const auto first = values.begin() + static_cast<std::ptrdiff_t>(i);
    const size_t length = std::min(values.size() - i, size_t(blockLength));
    blocks.push_back(MemoryBlock({first, first + static_cast<std::ptrdiff_t>(length)},
                                 static_cast<int32_t>(i) + 1));
  }
  BlockCarrBuffClass carrier;
  carrier.BuffBlocksPutFresh(blocks);
  return carrier;
}

inline std::vector<int32_t> BlocksOf(const BlockCarrBuffClass& carrier) {
  std::vector<int32_t> blocks;
  carrier.BuffBlocksGet(blocks);
  return blocks;
}

// Every sample of a carrier, through WaveLR.
inline std::vector<int16_t> CarrierSamples(BlockCarrBuffClass& carrier) {
  std::vector<int16_t> values;
  for (int32_t position = 1; position <= carrier.WaveINos; ++position) {
    values.push_back(carrier.WaveLR(position));
  }
  return values;
}

// Fills an emptied document as loading does (no undo item, not marked changed): stereo
// when `right` is not empty, 16 bits, 44,100 Hz.
inline void LoadDocument(FileMemoClass& document, BlockCarrBuffClass& left,
                         BlockCarrBuffClass& right) {
  document.StorageReset();
  document.WavFmtChannel = right.WaveINos > 0 ? 2 : 1;
  document.WavFmtBits = 16;
  document.WavFmtFreq = 44100;
  document.SwitchUndoOff = true;
  document.WaveDataInsert(1, document.WavFmtChannel == 2 ? 0 : 1, &left, &right, "", true);
  document.SwitchUndoOff = false;
  Editor().WaveChanged = false;
}

inline void LoadDocument(FileMemoClass& document, const std::vector<int16_t>& left,
                         const std::vector<int16_t>& right, int32_t blockLength) {
  BlockCarrBuffClass leftCarrier = CarrierOf(left, blockLength);
  BlockCarrBuffClass rightCarrier = CarrierOf(right, blockLength);
  LoadDocument(document, leftCarrier, rightCarrier);
}

// Every sample of channel 1 (left) or 2 (right), read through QuickBuffGet, which loads
// nothing.
inline std::vector<int16_t> QuickSamples(FileMemoClass& document, int32_t channel) {
  const ChannelBlockList& list = channel == 1 ? document.LeftChannel() : document.RightChannel();
  std::vector<int16_t> buffers[2];
  document.QuickBuffGet(1, list.Length(), channel, buffers[0], buffers[1]);
  return std::vector<int16_t>(buffers[channel - 1].begin() + 1, buffers[channel - 1].end());
}

// Slide starts, the last one the end entry; click markers of slide 1.
inline void SetSlideStarts(const std::vector<int32_t>& starts) {
  ProjectData& project = Project();
  project.SlideCount = static_cast<int32_t>(starts.size()) - 1;
  project.SlideEntryCount = static_cast<int32_t>(starts.size());
  project.Slides.assign(starts.size() + 1, SlideInfo{});
  for (size_t i = 0; i < starts.size(); ++i) project.Slides[i + 1].Start = starts[i];
}

inline std::vector<int32_t> SlideStarts() {
  std::vector<int32_t> starts;
  for (int32_t i = 1; i <= Project().SlideEntryCount; ++i)
    starts.push_back(Project().Slides[i].Start);
  return starts;
}

inline void SetMarkers(const std::vector<int32_t>& positions) {
  Project().Markers.assign(1, MarkerInfo{});
  Project().MarkerCount = 0;
  for (const int32_t position : positions) AddMarker(MarkerInfo{kClickMarker, 0.0F, position, 1});
}

inline std::vector<int32_t> MarkerPositions() {
  std::vector<int32_t> positions;
  for (int32_t i = 1; i <= Project().MarkerCount; ++i)
    positions.push_back(Project().Markers[i].Position);
  return positions;
}

// A recognisable signal: sample `frame` of `channel`.
inline int16_t Signal(int32_t channel, int32_t frame) {
  return static_cast<int16_t>((frame * 37 + channel * 5003) % 30011 - 15000);
}

inline std::vector<int16_t> SignalRun(int32_t channel, int32_t first, int32_t count) {
  std::vector<int16_t> values;
  for (int32_t i = 0; i < count; ++i) values.push_back(Signal(channel, first + i));
  return values;
}

}  // namespace quorvane::testing
