#include "tests/storage/StorageFixtures.h"

#include <filesystem>
#include <fstream>

#include "core/Environment.h"
#include "core/ProjectTables.h"
#include "storage/BlockList.h"
#include "storage/EditorState.h"

namespace quorvane::testing {

StorageTest::StorageTest() {
  ResetEnvironment();
  Env().SessionFolder = folder.Path();
  Env().MemoryBudget = 10'000'000;
  ResetBlockList();
  ResetEditorState();
  SetProjectDefaults(folder.Path());
  SetDocumentWindow(&window);
}

StorageTest::~StorageTest() {
  SetDocumentWindow(nullptr);
  ReleaseAllFiles();
  ResetBlockList();
}

int StorageTest::TempFilesOnDisk() const {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
    if (entry.path().extension() == ".tmp") ++count;
  }
  return count;
}

namespace {

void PutLittleEndian(std::string& out, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

}  // namespace

WavFile WriteWav(const std::string& path, int32_t channels, int32_t bits,
                 const std::vector<int16_t>& samples) {
  const uint32_t sampleBytes = bits == 8 ? 1 : 2;
  const uint32_t dataBytes = static_cast<uint32_t>(samples.size()) * sampleBytes;
  std::string bytes = "RIFF";
  PutLittleEndian(bytes, 36 + dataBytes, 4);
  bytes += "WAVEfmt ";
  PutLittleEndian(bytes, 16, 4);
  PutLittleEndian(bytes, 1, 2);
  PutLittleEndian(bytes, static_cast<uint32_t>(channels), 2);
  PutLittleEndian(bytes, 44100, 4);
  PutLittleEndian(bytes, 44100 * sampleBytes * static_cast<uint32_t>(channels), 4);
  PutLittleEndian(bytes, sampleBytes * static_cast<uint32_t>(channels), 2);
  PutLittleEndian(bytes, static_cast<uint32_t>(bits), 2);
  bytes += "data";
  PutLittleEndian(bytes, dataBytes, 4);
  for (const int16_t value : samples) {
    if (bits == 8) {
      PutLittleEndian(bytes, static_cast<uint32_t>(value + 128), 1);
    } else {
      PutLittleEndian(bytes, static_cast<uint16_t>(value), 2);
    }
  }
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
  return WavFile{path, channels, bits, 44, static_cast<int32_t>(samples.size()) / channels};
}

void DescribeWav(const WavFile& file, int32_t blockFrames, BlockCarrBuffClass& left,
                 BlockCarrBuffClass& right) {
  const int32_t entry = RegisterOriginalFile(file.path, file.channels, file.bits);
  const int32_t sampleBytes = file.bits / 8;
  const int32_t frameBytes = sampleBytes * file.channels;
  std::vector<int32_t> leftBlocks;
  std::vector<int32_t> rightBlocks;
  for (int32_t i = 0; i < file.frames; i += blockFrames) {
    const int32_t frames = std::min(blockFrames, file.frames - i);
    const auto describe = [&](int32_t channel) {
      const int32_t block = NewBlock(frames, BlockSilence);
      BlockTable[block].FileRef = entry;
      BlockTable[block].FilePosition = file.dataOffset + i * frameBytes + channel * sampleBytes + 1;
      BlockTable[block].Start = i + 1;
      BlockTable[block].Kind = BlockOrgFile;
      return block;
    };
    leftBlocks.push_back(describe(0));
    OrgFileTable[entry].UseCount += 1;
    if (file.channels == 2) {
      rightBlocks.push_back(describe(1));
      OrgFileTable[entry].UseCount += 1;
      RegisterChannelPair(leftBlocks.back(), rightBlocks.back());
    }
  }
  left.BuffBlocksPutFresh(leftBlocks);
  right.BuffBlocksPutFresh(rightBlocks);
}

void FillCarrier(BlockCarrBuffClass& carrier, const std::vector<int16_t>& values,
                 int32_t blockLength) {
  std::vector<int32_t> blocks;
  for (size_t i = 0; i < values.size(); i += static_cast<size_t>(blockLength)) {
    const int32_t length =
        static_cast<int32_t>(std::min(values.size() - i, static_cast<size_t>(blockLength)));
    const int32_t block = NewBlock(length, BlockMemory);
    BlockTable[block].Start = static_cast<int32_t>(i) + 1;
    std::copy_n(values.begin() + static_cast<std::ptrdiff_t>(i), length,
                BlockTable[block].Data.begin());
    blocks.push_back(block);
  }
  carrier.BuffBlocksPutFresh(blocks);
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
  BlockCarrBuffClass leftCarrier;
  BlockCarrBuffClass rightCarrier;
  FillCarrier(leftCarrier, left, blockLength);
  if (!right.empty()) FillCarrier(rightCarrier, right, blockLength);
  LoadDocument(document, leftCarrier, rightCarrier);
}

std::vector<int16_t> ChannelSamples(FileMemoClass& document, int32_t channel) {
  const ChannelBlockList& list = channel == 1 ? document.LeftChannel() : document.RightChannel();
  std::vector<int16_t> left;
  std::vector<int16_t> right;
  document.QuickBuffGet(1, list.Length(), channel, left, right);
  std::vector<int16_t>& values = channel == 1 ? left : right;
  values.erase(values.begin());
  return values;
}

BlockCarrBuffClass CarrierOf(const std::vector<int16_t>& values, int32_t blockLength) {
  BlockCarrBuffClass carrier;
  FillCarrier(carrier, values, blockLength);
  return carrier;
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
