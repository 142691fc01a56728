// Thousands of random edits, undos and redos on a stereo document under a tiny memory budget, so
// that blocks are written out and loaded back all the time, each step checked against a
// plain model of both channels, the format, the slide boundaries and the markers, and
// against the block list's own bookkeeping. Fixed seeds: a failure repeats.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <random>
#include <thread>
#include <tuple>

#include "core/Environment.h"
#include "core/ProjectTables.h"
#include "storage/BlockList.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "storage/PeakRuns.h"
#include "tests/storage/StorageFixtures.h"

namespace quorvane::testing {
namespace {

using Samples = std::vector<int16_t>;

struct Model {
  Samples channel[2];                              // left, right
  std::array<int32_t, 3> format = {2, 16, 44100};  // channels, bits, rate
  std::vector<int32_t> slides;
  std::vector<MarkerInfo> markers;
  std::array<int32_t, 4> view = {};  // SelStart, SelEnd, ViewStart, ViewLength
};

// What tells markers apart (position, kind, slide), in order: the table's order is not kept.
std::vector<std::tuple<int32_t, int32_t, int32_t>> Keys(const std::vector<MarkerInfo>& markers) {
  std::vector<std::tuple<int32_t, int32_t, int32_t>> keys;
  for (const MarkerInfo& m : markers) keys.emplace_back(m.Position, m.Kind, m.Slide);
  std::ranges::sort(keys);
  return keys;
}

class StorageModel : public StorageTest {
 protected:
  BlockCarrBuffClass RandomCarrier(int32_t count, int32_t channel, Samples& values) {
    const int way = Random(1, 10);
    if (way <= 4 || Length(0) < count) {
      // Fresh audio in memory blocks, as recording or an effect makes it.
      values.resize(static_cast<size_t>(count));
      for (auto& value : values) value = static_cast<int16_t>(Random(-32768, 32767));
      return CarrierOf(values, Random(50, 900));
    }
    BlockCarrBuffClass carrier;
    if (way <= 8) {
      // A copy of part of the document, sharing its blocks where they lie in files.
      const int32_t from = Random(1, Length(0) - count + 1);
      BlockCarrBuffClass parts[2];
      document_.WaveCollectData(from, from + count - 1, channel, parts[0], parts[1]);
      values = Stretch(model_.channel[channel - 1], from, from + count - 1);
      return std::move(parts[channel - 1]);
    }
    // Silence with a few samples written into it.
    carrier.ReDimSize(count);
    values.assign(static_cast<size_t>(count), 0);
    for (int i = Random(0, 5); i > 0; --i) {
      const int32_t at = Random(1, count);
      values[static_cast<size_t>(at) - 1] = static_cast<int16_t>(Random(-32768, 32767));
      carrier.WaveLR(at, values[static_cast<size_t>(at) - 1]);
    }
    return carrier;
  }

  // Where no marker lies when the edit moves markers: undoing an insert removes the markers
  // from the insertion point on, which a model that restores the state before does not copy.
  int32_t InsertPosition(int32_t workChn) {
    for (;;) {
      const int32_t at = Random(1, Length(workChn) + 1);
      if (!MovesSlides(workChn) ||
          std::none_of(model_.markers.begin(), model_.markers.end(),
                       [&](const MarkerInfo& marker) { return marker.Position == at; })) {
        return at;
      }
    }
  }

  void Begin(const std::string& name) {
    EditorState& editor = Editor();
    editor.SelStart = model_.view[0] = Random(0, 1000);
    editor.SelEnd = model_.view[1] = editor.SelStart + Random(0, 1000);
    editor.ViewStart = model_.view[2] = Random(1, 1000);
    editor.ViewLength = model_.view[3] = Random(0, 50000);
    history_.emplace_back(model_, name);
    future_.clear();
  }

  void ModelInsert(int32_t at, int32_t workChn, const Samples* values, bool movesSlides) {
    for (int32_t c = 0; c < 2; ++c) {
      if (workChn != 2 - c) {
        Samples& channel = model_.channel[c];
        channel.insert(channel.begin() + at - 1, values[c].begin(), values[c].end());
      }
    }
    if (!movesSlides) return;
    const auto length = static_cast<int32_t>(values[workChn == 2 ? 1 : 0].size());
    bool passed = false;
    for (int32_t& start : model_.slides) {
      if (start == at && !passed) {
        passed = true;
      } else if (start > at || passed) {
        start += length;
      }
    }
    for (MarkerInfo& marker : model_.markers) marker.Position += marker.Position > at ? length : 0;
  }

  void ModelDelete(int32_t at, int32_t workChn, int32_t count, bool movesSlides) {
    for (int32_t c = 0; c < 2; ++c) {
      if (workChn != 2 - c) {
        Samples& channel = model_.channel[c];
        channel.erase(channel.begin() + at - 1, channel.begin() + at - 1 + count);
      }
    }
    if (!movesSlides) return;
    const int32_t end = at + count - 1;
    for (int32_t& start : model_.slides) start = start > end ? start - count : std::min(start, at);
    std::erase_if(model_.markers,
                  [&](const MarkerInfo& m) { return m.Position >= at && m.Position <= end; });
    for (MarkerInfo& marker : model_.markers) marker.Position -= marker.Position > end ? count : 0;
  }

  void End() {  // the padding that ends every operation on a stereo document
    if (model_.format[0] != 2) return;
    const size_t length = std::max(model_.channel[0].size(), model_.channel[1].size());
    for (Samples& channel : model_.channel) channel.resize(length, 0);
  }

  void Edit() {
    const int32_t workChn = Random(0, 3) == 0 ? Random(1, 2) : 0;
    const int kind = Length(workChn) < 10 ? 0 : Random(0, 2);
    const std::string name = std::vector<std::string>{"Paste", "Delete", "Replace"}[kind];
    Begin(name);
    const BlockCarrBuffClass* carriers[2] = {};
    BlockCarrBuffClass made[2];
    Samples values[2];
    if (kind != 1) {
      const int32_t count = Random(1, 1500);
      for (int32_t c = 0; c < 2; ++c) {
        if (workChn == 2 - c) continue;
        made[c] = RandomCarrier(count, c + 1, values[c]);
        carriers[c] = &made[c];
      }
    }
    if (kind == 0) {
      const int32_t at = InsertPosition(workChn);
      document_.WaveDataInsert(at, workChn, carriers[0], carriers[1], name, true);
      ModelInsert(at, workChn, values, MovesSlides(workChn));
    } else if (kind == 1) {
      const int32_t at = Random(1, Length(workChn));
      const int32_t count = Random(1, std::min(2000, Length(workChn) - at + 1));
      document_.WaveDataDelete(at, workChn, count, name, true);
      ModelDelete(at, workChn, count, MovesSlides(workChn));
    } else {
      const int32_t at = Random(1, Length(workChn));
      document_.WaveDataReplace(at, workChn, carriers[0], carriers[1], name, true);
      for (int32_t c = 1; c <= 2; ++c) {
        if (workChn == 3 - c) continue;
        const auto count = static_cast<int32_t>(values[c - 1].size());
        ModelDelete(at, c, std::min(count, Length(c) - at + 1), false);
      }
      ModelInsert(at, workChn, values, false);
    }
    End();
  }

  void Move() {  // cut a stretch and paste it elsewhere as one operation
    Begin("Move");
    const int32_t from = Random(1, Length(0));
    const int32_t count = Random(1, std::min(2000, Length(0) - from + 1));
    BlockCarrBuffClass parts[2];
    document_.WaveCollectData(from, from + count - 1, 0, parts[0], parts[1]);
    const Samples values[2] = {Stretch(model_.channel[0], from, from + count - 1),
                               Stretch(model_.channel[1], from, from + count - 1)};
    document_.WaveDataDelete(from, 0, count, "Move", false);
    ModelDelete(from, 0, count, MovesSlides(0));
    const int32_t to = InsertPosition(0);
    document_.WaveDataInsert(to, 0, &parts[0], &parts[1], "Move", true);
    ModelInsert(to, 0, values, MovesSlides(0));
    End();
  }

  void Effect() {  // collect a stretch, change it sample by sample, put it back
    Begin("Volume");
    const int32_t at = Random(1, Length(0));
    const int32_t count = Random(1, std::min(2000, Length(0) - at + 1));
    BlockCarrBuffClass parts[2];
    document_.WaveCollectData(at, at + count - 1, 0, parts[0], parts[1]);
    for (int32_t c = 0; c < 2; ++c) {
      for (int32_t i = 1; i <= count; i += Random(1, 3)) {
        const auto changed =
            static_cast<int16_t>(c == 0 ? parts[c].WaveLR(i) / 2 : ~parts[c].WaveLR(i));
        parts[c].WaveLR(i, changed);
        model_.channel[c][static_cast<size_t>(at + i) - 2] = changed;
      }
    }
    document_.WaveDataReplace(at, 0, &parts[0], &parts[1], "Volume", true);
    End();
  }

  void MarkerEdit() {
    ProjectData& project = Project();
    const int kind = Random(project.MarkerCount == 0 ? 1 : 0, 3);
    if (kind == 0) {  // delete: recorded, then the last marker takes its place
      Begin("Delete Marker");
      const int32_t number = Random(1, project.MarkerCount);
      const MarkerInfo removed = project.Markers[number];
      document_.MarkerOneChanged(2, number, "Delete Marker", true);
      project.Markers[number] = project.Markers[project.MarkerCount];
      RemoveMarker(project.MarkerCount);
      model_.markers.erase(
          std::find_if(model_.markers.begin(), model_.markers.end(),
                       [&](const MarkerInfo& m) { return SameMarker(m, removed); }));
    } else if (kind == 1 && Length(0) > 0) {  // add: appended, then recorded
      Begin("Add Click");
      const MarkerInfo marker{Random(1, 2), 0.0F, Random(1, Length(0)), Random(1, 4)};
      AddMarker(marker);
      document_.MarkerOneChanged(1, project.MarkerCount, "Add Click", true);
      model_.markers.push_back(marker);
    } else if (kind == 2) {  // drag a slide boundary between its neighbours
      Begin("Slide Drag");
      const int32_t slide = Random(2, project.SlideCount);
      document_.SlidesBeingChanged("Slide Drag", true);
      project.Slides[slide].Start =
          Random(project.Slides[slide - 1].Start, project.Slides[slide + 1].Start);
      model_.slides[static_cast<size_t>(slide) - 1] = project.Slides[slide].Start;
    } else {
      Begin("Format");
      const int32_t values[3] = {Random(0, 9) < 7 ? 2 : Random(0, 1), 8 * Random(0, 2),
                                 std::vector<int32_t>{0, 22050, 48000}[Random(0, 2)]};
      document_.WaveDataChangeFmt(values[0], values[1], values[2], "Format");
      for (int i = 0; i < 3; ++i) model_.format[i] = values[i] != 0 ? values[i] : model_.format[i];
    }
  }

  // Undo or redo: the model takes the state saved on one side and saves its own on the
  // other; the selection and view come back as they were when the operation began.
  void UndoOrRedo(bool undo) {
    auto& from = undo ? history_ : future_;
    auto& to = undo ? future_ : history_;
    const size_t messages = ui.messages.size();
    undo ? document_.Undo() : document_.Redo();
    if (undo && from.empty()) {
      ASSERT_EQ(ui.Texts().back(), "Undo Failed");
      return future_.clear();
    }
    ASSERT_EQ(ui.messages.size(), messages) << ui.messages.back().text;
    if (from.empty()) return;
    to.emplace_back(model_, from.back().second);
    model_ = from.back().first;
    from.pop_back();
    const EditorState& editor = Editor();
    EXPECT_EQ((std::array{editor.SelStart, editor.SelEnd, editor.ViewStart, editor.ViewLength}),
              model_.view);
  }

  void CheckBookkeeping() {
    // Every block is owned exactly once, by a channel or by an undo item.
    std::vector<int32_t> owned;
    for (const ChannelBlockList* channel : {&document_.LeftChannel(), &document_.RightChannel()}) {
      int32_t start = 1;
      for (const int32_t block : channel->Blocks()) {
        ASSERT_EQ(RecordOf(block).Start, start);
        start += RecordOf(block).Length;
        owned.push_back(block);
      }
    }
    std::vector<UndoItem> items = document_.UndoItems();
    items.insert(items.end(), document_.RedoItems().begin(), document_.RedoItems().end());
    for (const UndoItem& item : items) {
      owned.insert(owned.end(), item.LeftBlocks.begin(), item.LeftBlocks.end());
      owned.insert(owned.end(), item.RightBlocks.begin(), item.RightBlocks.end());
    }
    std::sort(owned.begin(), owned.end());
    ASSERT_EQ(std::adjacent_find(owned.begin(), owned.end()), owned.end()) << "a block owned twice";
    ASSERT_EQ(static_cast<int32_t>(owned.size()), BlocksInUse()) << "blocks leaked";
    // Memory and file use counts are what the records say.
    int64_t memory = 0;
    std::vector<int32_t> uses[2] = {std::vector<int32_t>(size_t(TempFileCount())),
                                    std::vector<int32_t>(size_t(OriginalFileCount()))};
    for (int32_t block = 0; block < BlockRecordCount(); ++block) {
      const BlockRecord& record = RecordOf(block);
      ASSERT_EQ(record.Data.size(), IsResidentKind(record.Kind) ? size_t(record.Length) : 0u);
      memory += IsResidentKind(record.Kind) ? 2 * int64_t{record.Length} : 0;
      if (record.Kind == BlockMemFile || record.Kind == BlockFile)
        ++uses[0][size_t(record.FileRef)];
      if (record.Kind == BlockOrgFile) ++uses[1][size_t(record.FileRef)];
    }
    ASSERT_EQ(memory, MemoryInUse());
    for (int32_t slot = 1; slot < TempFileCount(); ++slot) {
      ASSERT_EQ(TempFile(slot).UseCount, uses[0][slot]) << "slot " << slot;
    }
    for (int32_t entry = 1; entry < OriginalFileCount(); ++entry) {
      ASSERT_EQ(OriginalFile(entry).UseCount, uses[1][entry]) << "entry " << entry;
    }
  }

  void Check(int step) {
    ASSERT_EQ(document_.WavWaveINos,
              static_cast<int32_t>(std::max(model_.channel[0].size(), model_.channel[1].size())));
    Samples read[2];
    if (step % 7 == 0) {
      // Through loading: every block read becomes resident, the budget writes others out.
      document_.WaveCollectBuff(1, document_.WavWaveINos, 0, read[0], read[1]);
      for (int32_t c = 0; c < 2; ++c) read[c].resize(model_.channel[c].size());
    } else if (step % 2 == 0) {
      // Both channels in one call, read once where they are cut alike, without loading; the
      // buffers start at their second element and run to the longer channel's end.
      document_.QuickBuffGet(1, document_.WavWaveINos, 0, read[0], read[1]);
      for (int32_t c = 0; c < 2; ++c) {
        read[c].erase(read[c].begin());
        read[c].resize(model_.channel[c].size());
      }
      // The same as frames, straight from a source where its channels lie side by side.
      const bool stereo = document_.WavFmtChannel == 2;
      if (!stereo || model_.channel[0].size() == model_.channel[1].size()) {
        Samples frames((stereo ? 2 : 1) * model_.channel[0].size());
        document_.QuickFramesGet(1, static_cast<int32_t>(model_.channel[0].size()), frames.data());
        ASSERT_EQ(frames,
                  stereo ? Interleave(model_.channel[0], model_.channel[1]) : model_.channel[0]);
      }
    } else {
      // Where the samples lie, without loading, each channel to its own end.
      read[0] = QuickSamples(document_, 1);
      read[1] = QuickSamples(document_, 2);
    }
    for (int32_t c = 0; c < 2; ++c) ASSERT_EQ(read[c], model_.channel[c]) << "channel " << c;
    if (step % 17 == 0 && Length(0) > 0) {
      // What the player gets: every block in a file, the right samples.
      const int32_t from = Random(1, Length(0));
      const int32_t to = Random(from, Length(0));
      BlockCarrBuffClass parts[2];
      document_.WaveCollectData_ForPlay(from, to, 0, parts[0], parts[1]);
      for (const int32_t block : BlocksOf(parts[0])) ASSERT_NE(RecordOf(block).Kind, BlockMemory);
      ASSERT_EQ(CarrierSamples(parts[1]),
                Samples(model_.channel[1].begin() + from - 1, model_.channel[1].begin() + to));
    }
    ASSERT_EQ((std::array{document_.WavFmtChannel, document_.WavFmtBits, document_.WavFmtFreq}),
              model_.format);
    ASSERT_EQ(SlideStarts(), model_.slides);
    ASSERT_EQ(Keys({Project().Markers.begin() + 1, Project().Markers.end()}), Keys(model_.markers));
    const std::string caption =
        history_.empty() ? "Undo [Nothing]" : "Undo [" + history_.back().second + "]";
    ASSERT_EQ(menu.menuCaption, caption);
    ASSERT_EQ(menu.menuEnabled, !history_.empty());
    ASSERT_TRUE(history_.empty() || menu.buttonToolTip == caption) << menu.buttonToolTip;
    ASSERT_EQ(menu.redoCaption,
              future_.empty() ? "Redo [Nothing]" : "Redo [" + future_.back().second + "]");
    if (step % 3 == 0) CheckColumnPeaks();
    CheckBookkeeping();
  }

  // What the waveform draws: each column's lowest and highest sample. Where a column
  // covers a few samples they are read; where it covers many, the summaries may add up to
  // a run of the document's own neighbouring samples, never audio from outside it.
  void CheckColumnPeaks() {
    const int32_t channel = Random(1, 2);
    const Samples& samples = model_.channel[channel - 1];
    const auto length = static_cast<int32_t>(samples.size());
    if (length < 1) return;
    const int32_t first = Random(1, length);
    for (const double perColumn : {2.5, 1100.0}) {
      const int32_t columns = 10;
      std::vector<PeakPair> columnsOf[2];
      const std::vector<PeakPair>& drawn = columnsOf[channel - 1];
      // Source files are summarized on a thread of their own.
      for (int wait = 0; !document_.ColumnPeaks(channel, first, perColumn, columns, length,
                                                columnsOf[0], columnsOf[1]);
           ++wait) {
        ASSERT_LT(wait, 1000) << "the summaries were never made";
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
      }
      const auto peakOver = [&](int64_t a, int64_t b) {
        PeakPair peak = kNoPeak;
        for (int64_t p = std::max<int64_t>(a, 1); p <= std::min<int64_t>(b, length); ++p) {
          Widen(peak, PeakPair{samples[size_t(p - 1)], samples[size_t(p - 1)]});
        }
        return peak;
      };
      for (int32_t c = 0; c < columns; ++c) {
        const auto a = first + static_cast<int64_t>(std::ceil(c * perColumn));
        const auto b = first + static_cast<int64_t>(std::ceil((c + 1) * perColumn)) - 1;
        const PeakPair exact = peakOver(a, b);
        const PeakPair got = drawn[size_t(c)];
        if (perColumn < kPeakRun || exact.Min > exact.Max) {
          ASSERT_EQ(std::tie(got.Min, got.Max), std::tie(exact.Min, exact.Max))
              << "column " << c << " of " << perColumn;
          continue;
        }
        const PeakPair near = peakOver(a - kPeakRun + 1, b + kPeakRun - 1);
        ASSERT_TRUE(got.Min <= exact.Min && got.Max >= exact.Max) << "column " << c;
        ASSERT_TRUE(got.Min >= near.Min && got.Max <= near.Max) << "column " << c;
      }
    }
  }

  void Run(uint32_t seed, int steps) {
    random_.seed(seed);
    Env().MemoryBudget = 16'000;  // 8,000 samples stay resident at most
    // The document starts as a stereo source file described block by block.
    const int32_t frames = 8000;
    Samples interleaved;
    for (int32_t i = 0; i < 2 * frames; ++i) {
      interleaved.push_back(static_cast<int16_t>(Random(-32768, 32767)));
      model_.channel[i % 2].push_back(interleaved.back());
    }
    {
      BlockCarrBuffClass left, right;
      DescribeWav(files.File("source.wav"), 2, 16, interleaved, 1000, left, right);
      LoadDocument(document_, left, right);
    }
    SetSlideStarts({1, 2000, 4000, 6000, frames + 1});
    model_.slides = SlideStarts();
    for (int i = 0; i < 12; ++i) {
      model_.markers.push_back(MarkerInfo{Random(1, 2), 0.0F, Random(1, frames), Random(1, 4)});
      AddMarker(model_.markers.back());
    }

    for (int step = 1; step <= steps; ++step) {
      SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
      const int choice = Random(1, 100);
      if (Length(0) < 100 || choice <= 40) {
        Edit();
      } else if (choice <= 46) {
        Move();
      } else if (choice <= 52) {
        Effect();
      } else if (choice <= 62) {
        MarkerEdit();
      } else if (choice <= 85) {
        ASSERT_NO_FATAL_FAILURE(UndoOrRedo(true));
      } else if (choice <= 97) {
        ASSERT_NO_FATAL_FAILURE(UndoOrRedo(false));
      } else if (!history_.empty()) {  // release the oldest operation's undo data
        menu.clearChoice = UndoClearChoice{kUndoClearFirstOne, -1};
        document_.UndoClearFiles_UserAssisted();
        history_.erase(history_.begin());
      }
      ASSERT_NO_FATAL_FAILURE(Check(step));
    }
    // Undo everything that is left, back to the loaded document, redo it all and undo it
    // again, then let it all go.
    while (!history_.empty()) ASSERT_NO_FATAL_FAILURE(UndoOrRedo(true));
    ASSERT_NO_FATAL_FAILURE(Check(1));
    while (!future_.empty()) ASSERT_NO_FATAL_FAILURE(UndoOrRedo(false));
    ASSERT_NO_FATAL_FAILURE(Check(2));
    while (!history_.empty()) ASSERT_NO_FATAL_FAILURE(UndoOrRedo(true));
    ASSERT_NO_FATAL_FAILURE(Check(3));
    document_.StorageReset();
    EXPECT_EQ(BlocksInUse(), 0);
    EXPECT_EQ(MemoryInUse(), 0);
    EXPECT_EQ(TempFilesOnDisk(), 0);
    EXPECT_EQ(TempFilesOnDisk(".pk"), 0);
  }

 private:
  int32_t Random(int32_t low, int32_t high) {
    return std::uniform_int_distribution<int32_t>(low, high)(random_);
  }
  int32_t Length(int32_t workChn) const {  // what both (or the one) selected channels hold
    const auto left = static_cast<int32_t>(model_.channel[0].size());
    const auto right = static_cast<int32_t>(model_.channel[1].size());
    return workChn == 1 ? left : workChn == 2 ? right : std::min(left, right);
  }
  bool MovesSlides(int32_t workChn) const { return model_.format[0] != 2 || workChn == 0; }

  std::mt19937 random_;
  FileMemoClass document_;
  Model model_;
  std::vector<std::pair<Model, std::string>> history_;  // the state before each operation
  std::vector<std::pair<Model, std::string>> future_;   // the state after each undone one
};

TEST_F(StorageModel, RandomEditsUndosAndRedosSeed1) { Run(1, 1000); }
TEST_F(StorageModel, RandomEditsUndosAndRedosSeed2) { Run(20240607, 1000); }
TEST_F(StorageModel, RandomEditsUndosAndRedosSeed3) { Run(777, 1000); }

}  // namespace
}  // namespace quorvane::testing
