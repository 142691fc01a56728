// Storage engine figures on a one-hour stereo 16-bit 44.1 kHz document whose blocks lie in
// a real WAV file, with the memory budget of this machine. Every figure is printed beside
// the figure of its peer, measured in the same run, and their ratio (figure / peer). The
// program fails when a figure misses its limit.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "bench/BenchSupport.h"
#include "core/BatchInteraction.h"
#include "core/Environment.h"
#include "core/MemoryBudget.h"
#include "core/ProjectTables.h"
#include "platform/FileHandle.h"
#include "platform/MemoryStatus.h"
#include "storage/BlockCarrBuffClass.h"
#include "storage/BlockList.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"

namespace quorvane {
namespace {

using bench::Clock;
using bench::Figure;
using bench::Limit;
using bench::Milliseconds;
using bench::PeakResidentBytes;
using bench::Percentile;
using bench::ReadWholeFile;
using bench::ResetPeakResident;

constexpr int32_t kRate = 44'100;
constexpr int32_t kHourFrames = 3600 * kRate;
constexpr int32_t kClipFrames = 10 * kRate;

// Messages would mean a fault: count them, and show them as the batch tool does.
class CountingInteraction : public BatchInteraction {
 public:
  CountingInteraction() : BatchInteraction(std::cerr) {}
  MessageAnswer MsgBox(const MessageRequest& request) override {
    ++messages;
    return BatchInteraction::MsgBox(request);
  }
  int messages = 0;
};

int16_t Tone(int32_t channel, int32_t frame) {
  return static_cast<int16_t>(((frame * (channel ? 13 : 7)) % 20000) - 10000);
}

// Describes the data chunk the way the WAV reader does: runs of FileBlockLen / 2 frames,
// a BlockOrgFile block per channel and run, left/right pairs registered.
void LoadHourDocument(FileMemoClass& document, const std::string& path) {
  const int32_t fileBlockLen = BlockCarrBuffClass::BlockSizeForBudget(Env().MemoryBudget);
  const int32_t runFrames = fileBlockLen / 2;
  const int32_t entry = RegisterOriginalFile(path, 2, 16);
  std::vector<int32_t> left;
  std::vector<int32_t> right;
  for (int32_t i = 0; i < kHourFrames; i += runFrames) {
    const int32_t frames = std::min(runFrames, kHourFrames - i);
    for (int32_t channel = 0; channel < 2; ++channel) {
      (channel == 0 ? left : right)
          .push_back(AddOriginalFileRun(entry, 44 + i * 4 + channel * 2 + 1, i + 1, frames));
    }
    RegisterChannelPair(left.back(), right.back());
  }
  BlockCarrBuffClass leftCarrier;
  BlockCarrBuffClass rightCarrier;
  leftCarrier.BuffBlocksPutFresh(left);
  rightCarrier.BuffBlocksPutFresh(right);
  document.StorageReset();
  document.WavFmtChannel = 2;
  document.WavFmtBits = 16;
  document.WavFmtFreq = kRate;
  document.OrgRoFileInUse = entry;
  document.SwitchUndoOff = true;
  document.WaveDataInsert(1, 0, &leftCarrier, &rightCarrier, "", true);
  document.SwitchUndoOff = false;
}

// Ten seconds of recorded audio: memory blocks written sample by sample.
void RecordedClip(BlockCarrBuffClass& carrier, int32_t channel) {
  carrier.ReDimSize(kClipFrames);
  for (int32_t position = 1; position <= kClipFrames; ++position) {
    carrier.WaveLR(position, Tone(channel + 2, position));
  }
}

// ---- Sequential sample reads -------------------------------------------------------

void SequentialReads() {
  const int32_t samples = 600 * kRate;
  BlockCarrBuffClass carrier;
  std::vector<int32_t> blocks;
  for (int32_t start = 1; start <= samples; start += carrier.BlockSize()) {
    const int32_t block = NewBlock(std::min(carrier.BlockSize(), samples - start + 1), BlockMemory);
    SetBlockStart(block, start);
    for (int32_t i = 0; i < RecordOf(block).Length; ++i) {
      WritableSamples(block)[static_cast<size_t>(i)] = Tone(0, start + i);
    }
    blocks.push_back(block);
  }
  carrier.BuffBlocksPutFresh(blocks);

  std::vector<double> ours;
  int64_t checksum = 0;
  for (int pass = 0; pass < 5; ++pass) {
    const auto started = Clock::now();
    int64_t sum = 0;
    for (int32_t position = 1; position <= samples; ++position) sum += carrier.WaveLR(position);
    ours.push_back(Milliseconds(Clock::now() - started));
    checksum += sum;
  }
  std::vector<int16_t> source(static_cast<size_t>(samples));
  std::vector<int16_t> target(static_cast<size_t>(samples));
  for (int32_t i = 0; i < samples; ++i) source[static_cast<size_t>(i)] = Tone(0, i + 1);
  std::vector<double> peer;
  for (int pass = 0; pass < 5; ++pass) {
    const auto started = Clock::now();
    std::memcpy(target.data(), source.data(), source.size() * sizeof(int16_t));
    peer.push_back(Milliseconds(Clock::now() - started));
    checksum += target[static_cast<size_t>(pass)];
  }
  const double oursRate = samples / (Percentile(ours, 0.5) / 1000.0);
  const double peerRate = samples / (Percentile(peer, 0.5) / 1000.0);
  Figure("sequential WaveLR reads, 10 min of memory blocks", oursRate / 1e6, "Msamples/s",
         "memcpy of the same bytes", peerRate / 1e6, "Msamples/s");
  if (checksum == 42) std::cout << "";  // keeps the sums alive
}

// ---- Display reads -------------------------------------------------------------------

void DisplayReads(FileMemoClass& document, const std::string& wavPath) {
  ReadWholeFile(wavPath);  // the file in the page cache
  constexpr int32_t kColumns = 2300;
  const int32_t step = document.WavWaveINos / kColumns;
  std::vector<int16_t> left;
  std::vector<int16_t> right;
  std::vector<double> ours;
  for (int pass = 0; pass < 21; ++pass) {
    const auto started = Clock::now();
    for (int32_t column = 0; column < kColumns; ++column) {
      document.QuickBuffGet(1 + column * step, 1, 0, left, right);
    }
    ours.push_back(Milliseconds(Clock::now() - started));
  }
  FileHandle file(::open(wavPath.c_str(), O_RDONLY));
  std::vector<double> peer;
  int32_t checksum = 0;
  for (int pass = 0; pass < 21; ++pass) {
    const auto started = Clock::now();
    for (int32_t column = 0; column < kColumns; ++column) {
      int16_t frame[2];
      if (::pread(file.Descriptor(), frame, 4, 44 + static_cast<off_t>(column) * step * 4) == 4) {
        checksum += frame[0];
      }
    }
    peer.push_back(Milliseconds(Clock::now() - started));
  }
  const double median = Percentile(ours, 0.5);
  Figure("QuickBuffGet, 2,300 positions over the hour, both channels", median, "ms",
         "pread of the same frames", Percentile(peer, 0.5), "ms");
  Limit(median < 5.0, "QuickBuffGet of 2,300 positions under 5 ms");
  int32_t resident = 0;
  for (const int32_t block : document.LeftChannel().Blocks()) {
    resident += IsResidentKind(RecordOf(block).Kind) ? 1 : 0;
  }
  Limit(resident == 0, "display reads load no block");
  if (checksum == 42) std::cout << "";
}

// ---- Edits and their undo --------------------------------------------------------------

struct EditTimes {
  std::vector<double> insert, erase, replace, undoInsert, undoErase, undoReplace;
};

void Edits(FileMemoClass& document, double soxMilliseconds) {
  std::mt19937 random(2024);
  const auto position = [&](int32_t high) {
    return std::uniform_int_distribution<int32_t>(1, high)(random);
  };
  // A pasted clip (copied from the document: blocks on the source file) and a recorded one
  // (memory blocks).
  BlockCarrBuffClass pastedLeft;
  BlockCarrBuffClass pastedRight;
  const int32_t from = position(kHourFrames - kClipFrames);
  document.WaveCollectData(from, from + kClipFrames - 1, 0, pastedLeft, pastedRight);
  BlockCarrBuffClass recordedLeft;
  BlockCarrBuffClass recordedRight;
  RecordedClip(recordedLeft, 0);
  RecordedClip(recordedRight, 1);

  EditTimes times;
  const auto timed = [](std::vector<double>& into, auto&& edit) {
    const auto started = Clock::now();
    edit();
    into.push_back(Milliseconds(Clock::now() - started));
  };
  for (int round = 0; round < 300; ++round) {
    const bool recorded = round % 2 == 1;
    const BlockCarrBuffClass& left = recorded ? recordedLeft : pastedLeft;
    const BlockCarrBuffClass& right = recorded ? recordedRight : pastedRight;
    const int32_t length = document.WavWaveINos;
    const int32_t at = position(length + 1);
    timed(times.insert, [&] { document.WaveDataInsert(at, 0, &left, &right, "Paste", true); });
    timed(times.undoInsert, [&] { document.Undo(); });
    const int32_t cut = position(length - kClipFrames + 1);
    timed(times.erase, [&] { document.WaveDataDelete(cut, 0, kClipFrames, "Delete", true); });
    timed(times.undoErase, [&] { document.Undo(); });
    const int32_t over = position(length);
    timed(times.replace,
          [&] { document.WaveDataReplace(over, 0, &left, &right, "Replace", true); });
    timed(times.undoReplace, [&] { document.Undo(); });
  }
  const struct {
    const char* name;
    const std::vector<double>* values;
  } rows[] = {{"insert 10 s", &times.insert},   {"undo insert 10 s", &times.undoInsert},
              {"delete 10 s", &times.erase},    {"undo delete 10 s", &times.undoErase},
              {"replace 10 s", &times.replace}, {"undo replace 10 s", &times.undoReplace}};
  for (const auto& row : rows) {
    const double median = Percentile(*row.values, 0.5);
    const double p99 = Percentile(*row.values, 0.99);
    Figure(std::string(row.name) + " median", median, "ms", "sox cutting 10 s", soxMilliseconds,
           "ms");
    Figure(std::string(row.name) + " 99th percentile", p99, "ms", "sox cutting 10 s",
           soxMilliseconds, "ms");
    Limit(median < 1.0 && p99 < 1.0, std::string(row.name) + " under 1 ms");
  }
}

void EditsInARow(FileMemoClass& document, double soxMilliseconds) {
  std::mt19937 random(99);
  const auto chance = [&](int percent) {
    return std::uniform_int_distribution<int>(1, 100)(random) <= percent;
  };
  const auto position = [&](int32_t high) {
    return std::uniform_int_distribution<int32_t>(1, std::max(high, 1))(random);
  };
  BlockCarrBuffClass recordedLeft;
  BlockCarrBuffClass recordedRight;
  RecordedClip(recordedLeft, 0);
  RecordedClip(recordedRight, 1);
  const int64_t budget = Env().MemoryBudget;
  int64_t highest = 0;
  int overBudget = 0;
  const auto started = Clock::now();
  for (int edit = 0; edit < 1000; ++edit) {
    const int32_t length = document.WavWaveINos;
    const int kind = std::uniform_int_distribution<int>(0, 5)(random);
    if (kind == 0 || kind == 1) {
      // Paste a stretch of the document, or insert recorded audio.
      BlockCarrBuffClass left;
      BlockCarrBuffClass right;
      if (chance(50)) {
        const int32_t from = position(length - kClipFrames);
        document.WaveCollectData(from, from + kClipFrames - 1, 0, left, right);
        document.WaveDataInsert(position(length + 1), 0, &left, &right, "Paste", true);
      } else {
        document.WaveDataInsert(position(length + 1), 0, &recordedLeft, &recordedRight, "Record",
                                true);
      }
    } else if (kind == 2) {
      document.WaveDataDelete(position(length - kClipFrames), 0, kClipFrames, "Delete", true);
    } else if (kind == 3) {
      document.WaveDataReplace(position(length), 0, &recordedLeft, &recordedRight, "Volume", true);
    } else if (kind == 4) {
      document.WaveDataInsert(position(length + 1), 1, &recordedLeft, nullptr, "Record", true);
    } else {
      document.Undo();
    }
    highest = std::max(highest, MemoryInUse());
    if (MemoryInUse() > budget) ++overBudget;
  }
  const double perEdit = Milliseconds(Clock::now() - started) / 1000.0;
  Figure("1,000 random edits: highest MemoryInUse after an operation",
         static_cast<double>(highest) / 1e6, "MB", "memory budget",
         static_cast<double>(budget) / 1e6, "MB");
  Limit(overBudget == 0, "MemoryInUse never above the budget after an operation");
  const int64_t peak = PeakResidentBytes();  // of the whole run so far
  Figure("1,000 random edits: peak resident memory of the process", static_cast<double>(peak) / 1e6,
         "MB", "budget + 60 MB", static_cast<double>(budget + 60'000'000) / 1e6, "MB");
  Limit(peak < budget + 60'000'000, "peak resident memory under the budget + 60 MB");
  Figure("1,000 random edits: time per edit", perEdit, "ms", "sox cutting 10 s", soxMilliseconds,
         "ms");
}

}  // namespace
}  // namespace quorvane

int main() {
  using namespace quorvane;
  CountingInteraction interaction;
  SetUserInterface(&interaction);

  const std::string work = bench::BenchFolder("storage");
  const std::string session = work + "/session";
  std::filesystem::create_directory(session);
  Env().SessionFolder = session;
  Env().MemoryBudget = MemoryBudgetFor(QueryMemoryStatus().totalBytes);
  SetProjectDefaults(work);
  const std::string wav = work + "/hour.wav";
  bench::WriteToneWav(wav, 2, kRate, 16, kHourFrames);
  ReadWholeFile(wav);

  // sox rewrites the whole file to cut ten seconds out of it.
  std::vector<double> sox;
  const int32_t cutStart = 1800 * kRate;
  for (int run = 0; run < 3; ++run) {
    const double seconds = bench::RunProgram({"sox", wav, work + "/cut.wav", "trim", "0",
                                              "=" + std::to_string(cutStart) + "s",
                                              "=" + std::to_string(cutStart + kClipFrames) + "s"})
                               .seconds;
    if (seconds < 0) {
      std::cout << "sox failed" << std::endl;
      return 2;
    }
    sox.push_back(seconds * 1000.0);
  }
  const uintmax_t cutSize = std::filesystem::file_size(work + "/cut.wav");
  std::filesystem::remove(work + "/cut.wav");
  Limit(cutSize == 44 + static_cast<uintmax_t>(kHourFrames - kClipFrames) * 4,
        "sox cut out exactly 10 s (its file has " + std::to_string(cutSize) + " bytes)");

  {
    FileMemoClass document;
    LoadHourDocument(document, wav);
    DisplayReads(document, wav);
    Edits(document, Percentile(sox, 0.5));
    EditsInARow(document, Percentile(sox, 0.5));
  }
  // Last: its two plain copies of ten minutes would otherwise set the peak resident memory
  // measured for the edits.
  SequentialReads();
  ReleaseAllFiles();
  Limit(interaction.messages == 0, std::to_string(interaction.messages) + " messages were shown");
  return bench::AllWithinLimits() ? 0 : 1;
}
