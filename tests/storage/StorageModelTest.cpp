// Thousands of random edits and undos on a stereo document with a tiny memory budget, so
// that blocks are written out and loaded back all the time, each step checked against a
// plain model of both channels, the format, the slide boundaries and the markers, and
// against the bookkeeping of the block list. Fixed seeds: a failure repeats.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <sstream>
#include <tuple>

#include "core/Environment.h"
#include "core/ProjectTables.h"
#include "storage/BlockList.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "tests/storage/StorageFixtures.h"

namespace quorvane::testing {
namespace {

using Samples = std::vector<int16_t>;

struct Model {
  Samples left;
  Samples right;
  int32_t channels = 2;
  int32_t bits = 16;
  int32_t freq = 44100;
  std::vector<int32_t> slides;  // Slides[1..SlideEntryCount].Start
  std::vector<MarkerInfo> markers;
  int32_t selStart = 0;
  int32_t selEnd = 0;
  int32_t viewStart = 1;
  int32_t viewLength = 0;
};

struct Operation {
  Model before;  // what undo brings back
  std::string name;
};

bool MarkerLess(const MarkerInfo& a, const MarkerInfo& b) {
  return std::tie(a.Position, a.Kind, a.Slide) < std::tie(b.Position, b.Kind, b.Slide);
}

std::vector<MarkerInfo> SortedMarkers(std::vector<MarkerInfo> markers) {
  std::sort(markers.begin(), markers.end(), MarkerLess);
  return markers;
}

std::vector<MarkerInfo> TableMarkers() {
  return std::vector<MarkerInfo>(Project().Markers.begin() + 1,
                                 Project().Markers.begin() + 1 + Project().MarkerCount);
}

class StorageModel : public StorageTest {
 protected:
  void Run(uint32_t seed, int steps);

 private:
  int32_t Random(int32_t low, int32_t high) {
    return std::uniform_int_distribution<int32_t>(low, high)(random_);
  }
  bool Chance(int percent) { return Random(1, 100) <= percent; }
  Samples RandomSamples(int32_t count);
  // A carrier of `count` samples made one of several ways, with the samples it holds.
  BlockCarrBuffClass RandomCarrier(int32_t count, int32_t channel, Samples& values);
  int32_t MinLength() const {
    return static_cast<int32_t>(std::min(model_.left.size(), model_.right.size()));
  }
  bool MovesSlides(int32_t workChn) const { return model_.channels != 2 || workChn == 0; }
  int32_t InsertPosition(int32_t workChn, int32_t limit);

  void BeginOperation(const std::string& name);
  void PadModel();
  void ModelInsert(int32_t position, int32_t workChn, const Samples& left, const Samples& right,
                   bool movesSlides);
  void ModelDelete(int32_t position, int32_t workChn, int32_t count, bool movesSlides);

  void Insert();
  void Delete();
  void Replace(bool effect);
  void ChannelOnly();
  void Move();
  void ChangeFormat();
  void MarkerEdit();
  void DoUndo();
  void ClearOldest();

  void Check(int step);
  void CheckBookkeeping();

  std::mt19937 random_;
  FileMemoClass document_;
  Model model_;
  std::vector<Operation> history_;
  std::string lastName_;
};

Samples StorageModel::RandomSamples(int32_t count) {
  Samples values(static_cast<size_t>(count));
  for (auto& value : values) value = static_cast<int16_t>(Random(-32768, 32767));
  return values;
}

BlockCarrBuffClass StorageModel::RandomCarrier(int32_t count, int32_t channel, Samples& values) {
  BlockCarrBuffClass carrier;
  const int way = Random(1, 10);
  if (way <= 4 || MinLength() < count) {
    // Fresh audio in memory blocks, as a recording or an effect makes it.
    values = RandomSamples(count);
    FillCarrier(carrier, values, Random(50, 900));
  } else if (way <= 8) {
    // A copy of part of the document, sharing its blocks where they lie in files.
    const int32_t from = Random(1, MinLength() - count + 1);
    BlockCarrBuffClass left;
    BlockCarrBuffClass right;
    document_.WaveCollectData(from, from + count - 1, channel, left, right);
    carrier = std::move(channel == 1 ? left : right);
    const Samples& source = channel == 1 ? model_.left : model_.right;
    values.assign(source.begin() + from - 1, source.begin() + from - 1 + count);
  } else {
    // Silence with a few samples written into it.
    carrier.ReDimSize(count);
    values.assign(static_cast<size_t>(count), 0);
    for (int i = Random(0, 5); i > 0; --i) {
      const int32_t position = Random(1, count);
      const auto value = static_cast<int16_t>(Random(-32768, 32767));
      carrier.WaveLR(position, value);
      values[static_cast<size_t>(position) - 1] = value;
    }
  }
  return carrier;
}

// A position at most `limit` where no marker lies when the edit moves markers: undoing an
// insert removes the markers from the insertion point on, which the model does not copy.
int32_t StorageModel::InsertPosition(int32_t workChn, int32_t limit) {
  for (;;) {
    const int32_t position = Random(1, limit);
    if (!MovesSlides(workChn)) return position;
    const bool onMarker = std::any_of(model_.markers.begin(), model_.markers.end(),
                                      [&](const MarkerInfo& m) { return m.Position == position; });
    if (!onMarker) return position;
  }
}

void StorageModel::BeginOperation(const std::string& name) {
  Editor().SelStart = Random(0, 1000);
  Editor().SelEnd = Editor().SelStart + Random(0, 1000);
  Editor().ViewStart = Random(1, 1000);
  Editor().ViewLength = Random(0, 50000);
  model_.selStart = Editor().SelStart;
  model_.selEnd = Editor().SelEnd;
  model_.viewStart = Editor().ViewStart;
  model_.viewLength = Editor().ViewLength;
  history_.push_back(Operation{model_, name});
  lastName_ = name;
}

void StorageModel::PadModel() {
  if (model_.channels != 2) return;
  const size_t length = std::max(model_.left.size(), model_.right.size());
  model_.left.resize(length, 0);
  model_.right.resize(length, 0);
}

void StorageModel::ModelInsert(int32_t position, int32_t workChn, const Samples& left,
                               const Samples& right, bool movesSlides) {
  const auto at = [&](Samples& channel) {
    return channel.begin() + static_cast<std::ptrdiff_t>(position) - 1;
  };
  if (workChn != 2) model_.left.insert(at(model_.left), left.begin(), left.end());
  if (workChn != 1) model_.right.insert(at(model_.right), right.begin(), right.end());
  if (!movesSlides) return;
  const int32_t length = static_cast<int32_t>(workChn == 2 ? right.size() : left.size());
  bool passed = false;
  for (int32_t& start : model_.slides) {
    if (start == position && !passed) {
      passed = true;
    } else if (start > position || passed) {
      start += length;
    }
  }
  for (MarkerInfo& marker : model_.markers) {
    if (marker.Position > position) marker.Position += length;
  }
}

void StorageModel::ModelDelete(int32_t position, int32_t workChn, int32_t count, bool movesSlides) {
  const auto erase = [&](Samples& channel) {
    channel.erase(channel.begin() + position - 1, channel.begin() + position - 1 + count);
  };
  if (workChn != 2) erase(model_.left);
  if (workChn != 1) erase(model_.right);
  if (!movesSlides) return;
  const int32_t end = position + count - 1;
  for (int32_t& start : model_.slides) {
    if (start >= position && start <= end) {
      start = position;
    } else if (start > end) {
      start -= count;
    }
  }
  std::vector<MarkerInfo> kept;
  for (MarkerInfo marker : model_.markers) {
    if (marker.Position >= position && marker.Position <= end) continue;
    if (marker.Position > end) marker.Position -= count;
    kept.push_back(marker);
  }
  model_.markers = kept;
}

void StorageModel::Insert() {
  BeginOperation("Paste");
  const int32_t count = Random(1, 1500);
  Samples left;
  Samples right;
  const BlockCarrBuffClass leftCarrier = RandomCarrier(count, 1, left);
  const BlockCarrBuffClass rightCarrier = RandomCarrier(count, 2, right);
  const int32_t position = InsertPosition(0, MinLength() + 1);
  document_.WaveDataInsert(position, 0, &leftCarrier, &rightCarrier, "Paste", true);
  ModelInsert(position, 0, left, right, MovesSlides(0));
  PadModel();
}

void StorageModel::Delete() {
  BeginOperation("Delete");
  const int32_t position = Random(1, MinLength());
  const int32_t count = Random(1, std::min(2000, MinLength() - position + 1));
  document_.WaveDataDelete(position, 0, count, "Delete", true);
  ModelDelete(position, 0, count, MovesSlides(0));
  PadModel();
}

void StorageModel::Replace(bool effect) {
  const std::string name = effect ? "Volume" : "Replace";
  BeginOperation(name);
  const int32_t position = Random(1, MinLength());
  Samples left;
  Samples right;
  BlockCarrBuffClass leftCarrier;
  BlockCarrBuffClass rightCarrier;
  if (effect) {
    // Collect a stretch, change it sample by sample, put it back.
    const int32_t count = Random(1, std::min(2000, MinLength() - position + 1));
    document_.WaveCollectData(position, position + count - 1, 0, leftCarrier, rightCarrier);
    left.assign(model_.left.begin() + position - 1, model_.left.begin() + position - 1 + count);
    right.assign(model_.right.begin() + position - 1, model_.right.begin() + position - 1 + count);
    for (int32_t i = 1; i <= count; i += Random(1, 3)) {
      left[static_cast<size_t>(i) - 1] = static_cast<int16_t>(leftCarrier.WaveLR(i) / 2);
      leftCarrier.WaveLR(i, left[static_cast<size_t>(i) - 1]);
      right[static_cast<size_t>(i) - 1] = static_cast<int16_t>(~rightCarrier.WaveLR(i));
      rightCarrier.WaveLR(i, right[static_cast<size_t>(i) - 1]);
    }
  } else {
    const int32_t count = Random(1, 1500);
    leftCarrier = RandomCarrier(count, 1, left);
    rightCarrier = RandomCarrier(count, 2, right);
  }
  document_.WaveDataReplace(position, 0, &leftCarrier, &rightCarrier, name, true);
  const int32_t count = static_cast<int32_t>(left.size());
  for (int32_t channel : {1, 2}) {
    Samples& target = channel == 1 ? model_.left : model_.right;
    const int32_t removed = std::min(count, static_cast<int32_t>(target.size()) - position + 1);
    ModelDelete(position, channel, removed, false);
  }
  ModelInsert(position, 0, left, right, false);
  PadModel();
}

void StorageModel::ChannelOnly() {
  const int32_t channel = Random(1, 2);
  Samples& target = channel == 1 ? model_.left : model_.right;
  const int32_t length = static_cast<int32_t>(target.size());
  const int kind = length < 10 ? 0 : Random(0, 2);
  const std::string name = kind == 0 ? "Record" : kind == 1 ? "Cut" : "Amplify";
  BeginOperation(name);
  if (kind == 1) {
    const int32_t position = Random(1, length);
    const int32_t count = Random(1, std::min(2000, length - position + 1));
    document_.WaveDataDelete(position, channel, count, name, true);
    ModelDelete(position, channel, count, MovesSlides(channel));
  } else {
    Samples values;
    const BlockCarrBuffClass carrier = RandomCarrier(Random(1, 2000), channel, values);
    const Samples none;
    if (kind == 0) {
      const int32_t position = InsertPosition(channel, length + 1);
      document_.WaveDataInsert(position, channel, channel == 1 ? &carrier : nullptr,
                               channel == 2 ? &carrier : nullptr, name, true);
      ModelInsert(position, channel, channel == 1 ? values : none, channel == 2 ? values : none,
                  MovesSlides(channel));
    } else {
      const int32_t position = Random(1, length);
      document_.WaveDataReplace(position, channel, channel == 1 ? &carrier : nullptr,
                                channel == 2 ? &carrier : nullptr, name, true);
      const int32_t removed = std::min(static_cast<int32_t>(values.size()), length - position + 1);
      ModelDelete(position, channel, removed, false);
      ModelInsert(position, channel, channel == 1 ? values : none, channel == 2 ? values : none,
                  false);
    }
  }
  PadModel();
}

void StorageModel::Move() {
  // Cut a stretch and paste it elsewhere as one user operation.
  BeginOperation("Move");
  const int32_t from = Random(1, MinLength());
  const int32_t count = Random(1, std::min(2000, MinLength() - from + 1));
  BlockCarrBuffClass left;
  BlockCarrBuffClass right;
  document_.WaveCollectData(from, from + count - 1, 0, left, right);
  const Samples leftValues(model_.left.begin() + from - 1, model_.left.begin() + from - 1 + count);
  const Samples rightValues(model_.right.begin() + from - 1,
                            model_.right.begin() + from - 1 + count);
  document_.WaveDataDelete(from, 0, count, "Move", false);
  ModelDelete(from, 0, count, MovesSlides(0));
  const int32_t to = InsertPosition(0, MinLength() + 1);
  document_.WaveDataInsert(to, 0, &left, &right, "Move", true);
  ModelInsert(to, 0, leftValues, rightValues, MovesSlides(0));
  PadModel();
}

void StorageModel::ChangeFormat() {
  BeginOperation("Format");
  const int32_t channels = Chance(70) ? 2 : Random(0, 1);
  const int32_t bits = std::vector<int32_t>{0, 8, 16}[static_cast<size_t>(Random(0, 2))];
  const int32_t freq =
      std::vector<int32_t>{0, 22050, 44100, 48000}[static_cast<size_t>(Random(0, 3))];
  document_.WaveDataChangeFmt(channels, bits, freq, "Format");
  if (channels != 0) model_.channels = channels;
  if (bits != 0) model_.bits = bits;
  if (freq != 0) model_.freq = freq;
}

void StorageModel::MarkerEdit() {
  const int kind = model_.markers.empty() ? 0 : Random(0, 2);
  if (kind == 0 && MinLength() > 0) {
    BeginOperation("Add Click");
    const MarkerInfo marker{Random(1, 2), 0.0F, Random(1, MinLength()), Random(1, 4)};
    AddMarker(marker);
    document_.MarkerOneChanged(1, Project().MarkerCount, "Add Click", true);
    model_.markers.push_back(marker);
  } else if (kind == 1) {
    BeginOperation("Delete Marker");
    const int32_t number = Random(1, Project().MarkerCount);
    const MarkerInfo removed = Project().Markers[number];
    document_.MarkerOneChanged(2, number, "Delete Marker", true);
    Project().Markers[number] = Project().Markers[Project().MarkerCount];
    RemoveMarker(Project().MarkerCount);
    const auto found = std::find_if(model_.markers.begin(), model_.markers.end(),
                                    [&](const MarkerInfo& m) { return SameMarker(m, removed); });
    model_.markers.erase(found);
  } else {
    BeginOperation("Slide Drag");
    const int32_t slide = Random(2, Project().SlideCount);
    const int32_t low = Project().Slides[slide - 1].Start;
    const int32_t high = Project().Slides[slide + 1].Start;
    document_.SlidesBeingChanged("Slide Drag", true);
    Project().Slides[slide].Start = Random(low, high);
    model_.slides[static_cast<size_t>(slide) - 1] = Project().Slides[slide].Start;
  }
}

void StorageModel::DoUndo() {
  const size_t messages = ui.messages.size();
  document_.Undo();
  if (history_.empty()) {
    ASSERT_EQ(ui.messages.size(), messages + 1);
    EXPECT_EQ(ui.messages.back().text, "Undo Failed");
    EXPECT_EQ(Editor().SelStart, 0);
    return;
  }
  ASSERT_EQ(ui.messages.size(), messages) << ui.messages.back().text;
  model_ = history_.back().before;
  history_.pop_back();
  lastName_ = history_.empty() ? "" : history_.back().name;
  EXPECT_EQ(Editor().SelStart, model_.selStart);
  EXPECT_EQ(Editor().SelEnd, model_.selEnd);
  EXPECT_EQ(Editor().ViewStart, model_.viewStart);
  EXPECT_EQ(Editor().ViewLength, model_.viewLength);
}

void StorageModel::ClearOldest() {
  if (history_.empty()) return;
  window.clearChoice = UndoClearChoice{kUndoClearFirstOne, -1};
  document_.UndoClearFiles_UserAssisted();
  history_.erase(history_.begin());
  if (history_.empty()) lastName_.clear();
}

void StorageModel::CheckBookkeeping() {
  // Every block is owned exactly once: by a channel or by an undo item.
  std::vector<int32_t> owned;
  for (const ChannelBlockList* channel : {&document_.LeftChannel(), &document_.RightChannel()}) {
    int32_t start = 1;
    for (const int32_t block : channel->Blocks()) {
      ASSERT_EQ(BlockTable[block].Start, start);
      ASSERT_GT(BlockTable[block].Length, 0);
      start += BlockTable[block].Length;
      owned.push_back(block);
    }
    ASSERT_EQ(start - 1, channel->Length());
  }
  for (const UndoItem& item : document_.UndoItems()) {
    owned.insert(owned.end(), item.LeftBlocks.begin(), item.LeftBlocks.end());
    owned.insert(owned.end(), item.RightBlocks.begin(), item.RightBlocks.end());
  }
  std::sort(owned.begin(), owned.end());
  ASSERT_EQ(std::adjacent_find(owned.begin(), owned.end()), owned.end()) << "a block owned twice";
  ASSERT_EQ(static_cast<int32_t>(owned.size()), BlocksInUse()) << "blocks leaked";

  int64_t memory = 0;
  std::vector<int32_t> tempUses(TempFileTable.size(), 0);
  std::vector<int32_t> originalUses(OrgFileTable.size(), 0);
  for (size_t block = 1; block < BlockTable.size(); ++block) {
    const BlockRecord& record = BlockTable[block];
    if (IsResidentKind(record.Kind)) {
      memory += 2 * static_cast<int64_t>(record.Length);
      ASSERT_EQ(record.Data.size(), static_cast<size_t>(record.Length));
    } else {
      ASSERT_TRUE(record.Data.empty());
    }
    if (record.Kind == BlockMemFile || record.Kind == BlockFile) ++tempUses[record.FileRef];
    if (record.Kind == BlockOrgFile) ++originalUses[record.FileRef];
  }
  ASSERT_EQ(memory, MemoryInUse);
  for (size_t slot = 1; slot < TempFileTable.size(); ++slot) {
    ASSERT_EQ(TempFileTable[slot].UseCount, tempUses[slot]) << "slot " << slot;
    if (tempUses[slot] > 0) {
      ASSERT_FALSE(TempFileTable[slot].FileName.empty());
    }
  }
  for (size_t entry = 1; entry < OrgFileTable.size(); ++entry) {
    ASSERT_EQ(OrgFileTable[entry].UseCount, originalUses[entry]) << "entry " << entry;
  }
}

void StorageModel::Check(int step) {
  ASSERT_EQ(document_.LeftChannel().Length(), static_cast<int32_t>(model_.left.size()));
  ASSERT_EQ(document_.RightChannel().Length(), static_cast<int32_t>(model_.right.size()));
  ASSERT_EQ(document_.WavWaveINos,
            static_cast<int32_t>(std::max(model_.left.size(), model_.right.size())));
  const int32_t length = document_.WavWaveINos;
  if (step % 7 == 0) {
    // Through loading: every block read becomes resident, the budget writes others out.
    Samples left;
    Samples right;
    document_.WaveCollectBuff(1, length, 0, left, right);
    left.resize(model_.left.size());
    right.resize(model_.right.size());
    ASSERT_EQ(left, model_.left);
    ASSERT_EQ(right, model_.right);
  } else {
    // Where the samples lie, without loading.
    ASSERT_EQ(ChannelSamples(document_, 1), model_.left);
    ASSERT_EQ(ChannelSamples(document_, 2), model_.right);
  }
  if (step % 13 == 0 && length > 0) {
    const int32_t position = Random(1, length);
    ASSERT_EQ(document_.WaveL(position),
              position <= static_cast<int32_t>(model_.left.size()) ? model_.left[position - 1] : 0);
    ASSERT_EQ(document_.WaveR(position), position <= static_cast<int32_t>(model_.right.size())
                                             ? model_.right[position - 1]
                                             : 0);
  }
  if (step % 17 == 0 && MinLength() > 0) {
    // What the player gets: every block in a file, the right samples.
    const int32_t from = Random(1, MinLength());
    const int32_t to = Random(from, MinLength());
    BlockCarrBuffClass left;
    BlockCarrBuffClass right;
    document_.WaveCollectData_ForPlay(from, to, 0, left, right);
    std::vector<int32_t> blocks;
    left.BuffBlocksGet(blocks);
    for (const int32_t block : blocks) ASSERT_NE(BlockTable[block].Kind, BlockMemory);
    const Samples expected(model_.right.begin() + from - 1, model_.right.begin() + to);
    ASSERT_EQ(CarrierSamples(right), expected);
  }
  ASSERT_EQ(document_.WavFmtChannel, model_.channels);
  ASSERT_EQ(document_.WavFmtBits, model_.bits);
  ASSERT_EQ(document_.WavFmtFreq, model_.freq);
  ASSERT_EQ(SlideStarts(), model_.slides);
  ASSERT_EQ(SortedMarkers(TableMarkers()).size(), model_.markers.size());
  const auto actual = SortedMarkers(TableMarkers());
  const auto expected = SortedMarkers(model_.markers);
  for (size_t i = 0; i < actual.size(); ++i) ASSERT_TRUE(SameMarker(actual[i], expected[i])) << i;
  ASSERT_EQ(window.menuCaption, lastName_.empty() ? "Undo [Nothing]" : "Undo [" + lastName_ + "]");
  CheckBookkeeping();
}

void StorageModel::Run(uint32_t seed, int steps) {
  random_.seed(seed);
  Env().MemoryBudget = 16'000;  // 8,000 samples: a few dozen blocks at most stay resident

  // The document starts as a stereo source file described block by block.
  const int32_t frames = 8000;
  model_.left = RandomSamples(frames);
  model_.right = RandomSamples(frames);
  Samples interleaved;
  for (int32_t i = 0; i < frames; ++i) {
    interleaved.push_back(model_.left[static_cast<size_t>(i)]);
    interleaved.push_back(model_.right[static_cast<size_t>(i)]);
  }
  BlockCarrBuffClass left;
  BlockCarrBuffClass right;
  DescribeWav(WriteWav(outside.File("source.wav"), 2, 16, interleaved), 1000, left, right);
  LoadDocument(document_, left, right);
  left = BlockCarrBuffClass();
  right = BlockCarrBuffClass();
  SetSlideStarts({1, 2000, 4000, 6000, frames + 1});
  model_.slides = SlideStarts();
  for (int i = 0; i < 12; ++i) {
    const MarkerInfo marker{Random(1, 2), 0.0F, Random(1, frames), Random(1, 4)};
    AddMarker(marker);
    model_.markers.push_back(marker);
  }
  ASSERT_NO_FATAL_FAILURE(Check(1));

  for (int step = 1; step <= steps; ++step) {
    std::ostringstream where;
    where << "seed " << seed << ", step " << step;
    SCOPED_TRACE(where.str());
    const int32_t length = MinLength();
    const int choice = Random(1, 100);
    if (length < 100) {
      Insert();
    } else if (choice <= 12) {
      length > 20'000 ? Delete() : Insert();
    } else if (choice <= 22) {
      Delete();
    } else if (choice <= 30) {
      Replace(false);
    } else if (choice <= 36) {
      Replace(true);
    } else if (choice <= 46) {
      ChannelOnly();
    } else if (choice <= 51) {
      Move();
    } else if (choice <= 55) {
      ChangeFormat();
    } else if (choice <= 62) {
      MarkerEdit();
    } else if (choice <= 97) {
      ASSERT_NO_FATAL_FAILURE(DoUndo());
    } else {
      ClearOldest();
    }
    ASSERT_NO_FATAL_FAILURE(Check(step));
  }
  // Undo everything that is left, back to the loaded document.
  while (!history_.empty()) ASSERT_NO_FATAL_FAILURE(DoUndo());
  ASSERT_NO_FATAL_FAILURE(Check(0));
  document_.StorageReset();
  EXPECT_EQ(BlocksInUse(), 0);
  EXPECT_EQ(MemoryInUse, 0);
  EXPECT_EQ(TempFilesOnDisk(), 0);
}

TEST_F(StorageModel, RandomEditsAndUndosSeed1) { Run(1, 1000); }
TEST_F(StorageModel, RandomEditsAndUndosSeed2) { Run(20240607, 1000); }
TEST_F(StorageModel, RandomEditsAndUndosSeed3) { Run(777, 1000); }

}  // namespace
}  // namespace quorvane::testing
