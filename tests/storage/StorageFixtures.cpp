#include "tests/storage/StorageFixtures.h"

#include "tests/support/SessionFixture.h"
#include "tests/support/WaveBuilder.h"

#include <filesystem>
#include <fstream>

#include "core/Environment.h"
#include "core/ProjectTables.h"
#include "storage/BlockList.h"
#include "storage/EditorState.h"

namespace quorvane::testing {

StorageTest::StorageTest() { StartTestSession(folder.Path(), folder.Path(), &window); }

StorageTest::~StorageTest() { EndTestSession(); }

int StorageTest::TempFilesOnDisk() const {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
    count += entry.path().extension() == ".tmp" ? 1 : 0;
  }
  return count;
}

void DescribeWav(const std::string& path, int32_t channels, int32_t bits,
                 const std::vector<int16_t>& samples, int32_t blockFrames, BlockCarrBuffClass& left,
                 BlockCarrBuffClass& right) {
  const int32_t sampleBytes = bits / 8;
  const int32_t frames = static_cast<int32_t>(samples.size()) / channels;
  std::ofstream(path, std::ios::binary | std::ios::trunc)
      << PcmWave(channels, 44100, bits, samples);

  const int32_t entry = RegisterOriginalFile(path, channels, bits);
  std::vector<int32_t> blocks[2];
  for (int32_t i = 0; i < frames; i += blockFrames) {
    for (int32_t channel = 0; channel < channels; ++channel) {
      const int32_t block = NewBlock(std::min(blockFrames, frames - i), BlockSilence);
      BlockTable[block].FileRef = entry;
      BlockTable[block].FilePosition = 44 + (i * channels + channel) * sampleBytes + 1;
      BlockTable[block].Start = i + 1;
      BlockTable[block].Kind = BlockOrgFile;
      OrgFileTable[entry].UseCount += 1;
      blocks[channel].push_back(block);
    }
    if (channels == 2) RegisterChannelPair(blocks[0].back(), blocks[1].back());
  }
  left.BuffBlocksPutFresh(blocks[0]);
  right.BuffBlocksPutFresh(blocks[1]);
}

BlockCarrBuffClass CarrierOf(const std::vector<int16_t>& values, int32_t blockLength) {
  std::vector<int32_t> blocks;
  for (size_t i = 0; i < values.size(); i += static_cast<size_t>(blockLength)) {
    const auto length = static_cast<int32_t>(std::min(values.size() - i, size_t(blockLength)));
    const int32_t block = NewBlock(length, BlockMemory);
    BlockTable[block].Start = static_cast<int32_t>(i) + 1;
    std::copy_n(values.begin() + static_cast<std::ptrdiff_t>(i), length,
                BlockTable[block].Data.begin());
    blocks.push_back(block);
  }
  BlockCarrBuffClass carrier;
  carrier.BuffBlocksPutFresh(blocks);
  return carrier;
}

std::vector<int16_t> CarrierSamples(BlockCarrBuffClass& carrier) {
  std::vector<int16_t> values;
  for (int32_t position = 1; position <= carrier.WaveINos; ++position) {
    values.push_back(carrier.WaveLR(position));
  }
  return values;
}

void LoadDocument(FileMemoClass& document, BlockCarrBuffClass& left, BlockCarrBuffClass& right) {
  document.StorageReset();
  document.WavFmtChannel = right.WaveINos > 0 ? 2 : 1;
  document.WavFmtBits = 16;
  document.WavFmtFreq = 44100;
  document.SwitchUndoOff = true;
  document.WaveDataInsert(1, document.WavFmtChannel == 2 ? 0 : 1, &left, &right, "", true);
  document.SwitchUndoOff = false;
  Editor().WaveChanged = false;
}

void LoadDocument(FileMemoClass& document, const std::vector<int16_t>& left,
                  const std::vector<int16_t>& right, int32_t blockLength) {
  BlockCarrBuffClass leftCarrier = CarrierOf(left, blockLength);
  BlockCarrBuffClass rightCarrier = CarrierOf(right, blockLength);
  LoadDocument(document, leftCarrier, rightCarrier);
}

std::vector<int16_t> ChannelSamples(FileMemoClass& document, int32_t channel) {
  const ChannelBlockList& list = channel == 1 ? document.LeftChannel() : document.RightChannel();
  std::vector<int16_t> buffers[2];
  document.QuickBuffGet(1, list.Length(), channel, buffers[0], buffers[1]);
  return std::vector<int16_t>(buffers[channel - 1].begin() + 1, buffers[channel - 1].end());
}

void SetSlideStarts(const std::vector<int32_t>& starts) {
  ProjectData& project = Project();
  project.SlideCount = static_cast<int32_t>(starts.size()) - 1;
  project.SlideEntryCount = static_cast<int32_t>(starts.size());
  project.Slides.assign(starts.size() + 1, SlideInfo{});
  for (size_t i = 0; i < starts.size(); ++i) project.Slides[i + 1].Start = starts[i];
}

std::vector<int32_t> SlideStarts() {
  std::vector<int32_t> starts;
  for (int32_t i = 1; i <= Project().SlideEntryCount; ++i)
    starts.push_back(Project().Slides[i].Start);
  return starts;
}

void SetMarkers(const std::vector<int32_t>& positions) {
  Project().Markers.assign(1, MarkerInfo{});
  Project().MarkerCount = 0;
  for (const int32_t position : positions) AddMarker(MarkerInfo{kClickMarker, 0.0F, position, 1});
}

std::vector<int32_t> MarkerPositions() {
  std::vector<int32_t> positions;
  for (int32_t i = 1; i <= Project().MarkerCount; ++i)
    positions.push_back(Project().Markers[i].Position);
  return positions;
}

int16_t Signal(int32_t channel, int32_t frame) {
  return static_cast<int16_t>((frame * 37 + channel * 5003) % 30011 - 15000);
}

std::vector<int16_t> SignalRun(int32_t channel, int32_t first, int32_t count) {
  std::vector<int16_t> values;
  for (int32_t i = 0; i < count; ++i) values.push_back(Signal(channel, first + i));
  return values;
}

}  // namespace quorvane::testing
