// libFuzzer target for the WAV reader. Each input is written to a file and loaded with
// FileLoadWave, as a file opened by the user would be: PCM is described in place, anything
// else goes through our FFmpeg decoder first. Every sample of the document is then read in
// runs with WaveCollectBuff, compared with the bytes of the file the document describes,
// and peeked at a few positions with WaveL/WaveR; its cue points are read too. Finally the document
// and the block list are emptied, and the harness stops the run when the input left anything
// behind: a block, a file use, a file in the session folder or an open file descriptor.
#include <dirent.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "core/Environment.h"
#include "core/Interaction.h"
#include "core/ProjectTables.h"
#include "formats/OpenSaveAcmClass.h"
#include "formats/OpenSaveClass.h"
#include "fuzz/FuzzSupport.h"
#include "platform/WaveCuePoints.h"
#include "storage/BlockList.h"
#include "storage/DocumentWindow.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"

namespace quorvane {
namespace {

// Larger inputs are refused: they only make every execution slower.
constexpr size_t kLargestInput = 1 << 20;
// A tiny budget, so that reading even a seed of a few KB swaps blocks out to temporary
// files (that starts once five blocks are in memory).
constexpr int32_t kMemoryBudget = 1024;
// The reader cuts files into runs of 2 * FileBlockLen bytes, one block per channel each:
// 512 bytes give a small input many blocks (the program's runs are 1 MiB).
constexpr int32_t kFileBlockLen = 256;
// Frames per WaveCollectBuff call, chosen so that calls straddle block boundaries.
constexpr int32_t kCollectRun = 1000;

int CountEntries(const std::string& folder) {
  DIR* dir = ::opendir(folder.c_str());
  if (!dir) Fail("cannot list " + folder);
  int count = 0;
  while (const dirent* entry = ::readdir(dir)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") ++count;
  }
  ::closedir(dir);
  return count;
}

// Less one for the descriptor that lists them.
int OpenDescriptors() { return CountEntries("/proc/self/fd") - 1; }

std::vector<std::string> EntriesOf(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  return names;
}

std::string ReadWholeFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The file each input is written to, and the open descriptors when the input started.
std::string InputPath() { return FuzzFolder() + "/input.wav"; }
int g_descriptors = 0;

void StartSession() {
  // Decoding is waited for as the program waits, only with shorter pauses.
  SetProgramAcmPollTiming({std::chrono::milliseconds(0), std::chrono::milliseconds(1)});
  StartFuzzSession(kMemoryBudget);
  SetProjectDefaults(FuzzFolder());
}

int16_t SampleAt(const std::string& bytes, size_t at, int32_t bits) {
  if (at + static_cast<size_t>(bits / 8) > bytes.size()) Fail("a sample lies past the file's end");
  const auto byte = [&](size_t i) { return static_cast<uint8_t>(bytes[at + i]); };
  if (bits == 8) return static_cast<int16_t>(byte(0) - 128);
  return static_cast<int16_t>(static_cast<uint16_t>(byte(0) | (byte(1) << 8)));
}

// Reads the loaded document every way the editor reads it, and compares.
void ReadEverySample(FileMemoClass& document) {
  const int32_t length = document.WavWaveINos;
  const int32_t channels = document.WavFmtChannel;
  const int32_t bits = document.WavFmtBits;
  if (channels != 1 && channels != 2)
    Fail("a loaded document has " + std::to_string(channels) + " channels");
  if (bits != 8 && bits != 16) Fail("a loaded document has " + std::to_string(bits) + " bits");
  if (length < 0) Fail("a loaded document has a negative length");
  if (length == 0) return;

  const auto& leftBlocks = document.LeftChannel().Blocks();
  if (leftBlocks.empty()) Fail("a document with samples has no left blocks");
  if (document.LeftChannel().Length() != length)
    Fail("the left channel's length is not the document's");
  if (channels == 2 && document.RightChannel().Length() != length) {
    Fail("the right channel's length is not the document's");
  }

  // The file the document describes, and where its samples start.
  const int32_t entry = document.OrgRoFileInUse;
  if (entry < 1 || entry >= OriginalFileCount()) {
    Fail("the document names no source file");
  }
  const std::string source = ReadWholeFile(OriginalFile(entry).FileName);
  const BlockRecord& first = RecordOf(leftBlocks.front());
  if (first.Kind != BlockOrgFile || first.FilePosition < 1)
    Fail("the first block is not in the file");
  const size_t dataStart = static_cast<size_t>(first.FilePosition) - 1;
  const size_t sampleBytes = static_cast<size_t>(bits / 8);
  const size_t frameBytes = sampleBytes * static_cast<size_t>(channels);

  const int32_t workChannel = channels == 2 ? 0 : 1;
  std::vector<int16_t> left(static_cast<size_t>(length));
  std::vector<int16_t> right(static_cast<size_t>(length));
  std::vector<int16_t> runLeft;
  std::vector<int16_t> runRight;
  for (int32_t from = 1; from <= length; from += kCollectRun) {
    const int32_t to = std::min(length, from + kCollectRun - 1);
    document.WaveCollectBuff(from, to, workChannel, runLeft, runRight);
    const size_t count = static_cast<size_t>(to - from + 1);
    if (runLeft.size() != count || (channels == 2 && runRight.size() != count)) {
      Fail("WaveCollectBuff returned the wrong number of samples");
    }
    std::copy(runLeft.begin(), runLeft.end(), left.begin() + (from - 1));
    if (channels == 2) std::copy(runRight.begin(), runRight.end(), right.begin() + (from - 1));
  }

  for (size_t i = 0; i < left.size(); ++i) {
    const size_t at = dataStart + i * frameBytes;
    if (left[i] != SampleAt(source, at, bits)) {
      Fail("left sample " + std::to_string(i + 1) + " differs from the file");
    }
    if (channels == 2 && right[i] != SampleAt(source, at + sampleBytes, bits)) {
      Fail("right sample " + std::to_string(i + 1) + " differs from the file");
    }
  }

  const int32_t probes[] = {1, 2, length / 3, length / 2, length - 1, length};
  for (const int32_t position : probes) {
    if (position < 1 || position > length) continue;
    const size_t index = static_cast<size_t>(position) - 1;
    if (document.WaveL(position) != left[index]) Fail("WaveL disagrees with WaveCollectBuff");
    if (channels == 2 && document.WaveR(position) != right[index]) {
      Fail("WaveR disagrees with WaveCollectBuff");
    }
  }
  if (document.WaveL(length + 1) != 0 || document.WaveR(length + 1) != 0) {
    Fail("a sample past the end is not silence");
  }

  std::vector<int16_t> quickLeft;
  std::vector<int16_t> quickRight;
  const int32_t window = std::min(length, 4 * kCollectRun);
  const int32_t windowStart = length - window + 1;
  document.QuickBuffGet(windowStart, window, workChannel, quickLeft, quickRight);
  for (int32_t k = 1; k <= window; ++k) {
    const size_t index = static_cast<size_t>(windowStart + k - 2);
    if (quickLeft[static_cast<size_t>(k)] != left[index] ||
        (channels == 2 && quickRight[static_cast<size_t>(k)] != right[index])) {
      Fail("QuickBuffGet disagrees with WaveCollectBuff");
    }
  }
}

// Empties the document and the block list, and fails when the input left anything.
void EndSession(FileMemoClass& document) {
  document.StorageReset();
  const std::string held = WhatTheBlockListStillHolds();
  if (!held.empty()) Fail(held);
  const std::vector<std::string> left = EntriesOf(Env().SessionFolder);
  if (!left.empty()) Fail("the input left " + left.front() + " in the session folder");
  ReleaseAllFiles();
  ResetBlockList();
  // Counted within one input: libFuzzer opens descriptors of its own between inputs
  // (the pipes to the symbolizer).
  if (OpenDescriptors() > g_descriptors) {
    std::string open;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code ignored;
      open += "\n  " + entry.path().filename().string() + " -> " +
              std::filesystem::read_symlink(entry.path(), ignored).string();
    }
    Fail("the input left a file descriptor open; open now:" + open);
  }
}

}  // namespace
}  // namespace quorvane

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace quorvane;
  if (size > kLargestInput) return -1;
  const std::string input = InputPath();
  {
    std::ofstream out(input, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    if (!out) Fail("cannot write " + input);
  }
  g_descriptors = OpenDescriptors();
  StartSession();
  {
    FileMemoClass document;
    OpenSaveClass reader;
    reader.FileBlockLen = kFileBlockLen;
    if (reader.FileLoadWave(document, input)) ReadEverySample(document);
    // The cue points an inserted file brings as markers are read from the same bytes: each
    // takes 24 of them, whatever count the chunk claims.
    if (ReadWaveCuePoints(input).Points.size() > size / 24) {
      Fail("more cue points than the file has room for");
    }
    EndSession(document);
  }
  return 0;
}
