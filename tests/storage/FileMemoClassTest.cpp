#include "storage/FileMemoClass.h"

#include <gtest/gtest.h>

#include "core/Environment.h"
#include "storage/BlockList.h"
#include "storage/EditorState.h"
#include "tests/storage/StorageFixtures.h"

namespace quorvane::testing {
namespace {

using WaveDocumentEdit = StorageTest;
using WaveDocumentRead = StorageTest;
using WaveDocumentDeathTest = StorageTest;

std::vector<int16_t> Joined(std::vector<int16_t> a, const std::vector<int16_t>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// A stereo document whose blocks lie in a source WAV file, as after loading.
void LoadFromWav(FileMemoClass& document, const std::string& path, int32_t frames) {
  std::vector<int16_t> interleaved;
  for (int32_t i = 0; i < frames; ++i) {
    interleaved.push_back(Signal(0, i));
    interleaved.push_back(Signal(1, i));
  }
  BlockCarrBuffClass left, right;
  DescribeWav(path, 2, 16, interleaved, 1000, left, right);
  LoadDocument(document, left, right);
}

TEST_F(WaveDocumentEdit, InsertingAtTheEndAppendsAtOnePrependsAtABlockStartSplitsNothing) {
  FileMemoClass document;
  LoadDocument(document, SignalRun(0, 0, 300), SignalRun(1, 0, 300), 100);
  const auto before = document.LeftChannel().Blocks();
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 50));
  document.WaveDataInsert(101, 0, &clip, &clip, "Paste", true);
  EXPECT_EQ(document.LeftChannel().Blocks()[2], before[1]);
  document.WaveDataInsert(351, 0, &clip, &clip, "Paste", true);
  document.WaveDataInsert(1, 0, &clip, &clip, "Paste", true);
  const auto expected =
      Joined(Joined(Joined(Joined(SignalRun(2, 0, 50), SignalRun(0, 0, 100)), SignalRun(2, 0, 50)),
                    SignalRun(0, 100, 200)),
             SignalRun(2, 0, 50));
  EXPECT_EQ(ChannelSamples(document, 1), expected);
  EXPECT_EQ(document.WavWaveINos, 450);
  EXPECT_TRUE(Editor().WaveChanged);
}

TEST_F(WaveDocumentEdit, CuttingAndPastingSourceFileAudioReadsNothing) {
  FileMemoClass document;
  LoadFromWav(document, outside.File("source.wav"), 5000);
  BlockCarrBuffClass left, right;
  document.WaveCollectData(500, 1499, 0, left, right);
  document.WaveDataDelete(500, 0, 1000, "Cut", true);
  document.WaveDataInsert(2500, 0, &left, &right, "Paste", true);
  EXPECT_EQ(MemoryInUse, 0);
  const auto expected = Joined(
      Joined(Joined(SignalRun(1, 0, 499), SignalRun(1, 1499, 2000)), SignalRun(1, 499, 1000)),
      SignalRun(1, 3499, 1501));
  EXPECT_EQ(ChannelSamples(document, 2), expected);
  // Five blocks, two split by the cut, one by the paste, and the two pasted ones.
  EXPECT_EQ(document.LeftChannel().Blocks().size(), 8u);
}

TEST_F(WaveDocumentEdit, InsertingIntoTheLeftChannelOnlyPadsTheRightWithSilence) {
  FileMemoClass document;
  LoadDocument(document, SignalRun(0, 0, 10'000), SignalRun(1, 0, 10'000), 4000);
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 1000));
  document.WaveDataInsert(5001, 1, &clip, nullptr, "Paste", true);
  EXPECT_EQ(document.LeftChannel().Length(), 11'000);
  EXPECT_EQ(ChannelSamples(document, 2),
            Joined(SignalRun(1, 0, 10'000), std::vector<int16_t>(1000, 0)));
  EXPECT_EQ(BlockTable[document.RightChannel().Blocks().back()].Kind, BlockSilence);
  ASSERT_EQ(document.UndoItemCount(), 2);
  EXPECT_EQ(document.UndoItems()[0].Kind, kUndoInsert);
  const UndoItem& padding = document.UndoItems()[1];
  EXPECT_EQ(padding.Kind, kUndoPadding);
  EXPECT_EQ(padding.Position, 10'001);
  EXPECT_EQ(padding.Channel, 2);
  EXPECT_EQ(padding.Length, 1000);
  EXPECT_TRUE(padding.IsLastOperation);
}

TEST_F(WaveDocumentEdit, DeletingEverythingLeavesEmptyLists) {
  FileMemoClass document;
  LoadDocument(document, SignalRun(0, 0, 300), SignalRun(1, 0, 300), 100);
  document.WaveDataDelete(1, 0, 300, "Delete", true);
  EXPECT_TRUE(document.LeftChannel().Blocks().empty());
  EXPECT_TRUE(document.RightChannel().Blocks().empty());
  EXPECT_EQ(document.WavWaveINos, 0);
  EXPECT_EQ(document.UndoItems().back().LeftBlocks.size(), 3u);  // kept for undo
}

TEST_F(WaveDocumentEdit, ReplacingNearTheEndWithALongerCarrierDeletesOnlyToTheEnd) {
  FileMemoClass document;
  LoadDocument(document, SignalRun(0, 0, 300), SignalRun(1, 0, 300), 100);
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 80));
  document.WaveDataReplace(251, 0, &clip, &clip, "Volume", true);
  EXPECT_EQ(ChannelSamples(document, 1), Joined(SignalRun(0, 0, 250), SignalRun(2, 0, 80)));
  ASSERT_EQ(document.UndoItemCount(), 3);  // a delete per channel, then the insert
  EXPECT_EQ(document.UndoItems()[1].Channel, 2);
  EXPECT_EQ(document.UndoItems()[1].Length, 50);
  EXPECT_FALSE(document.UndoItems()[1].IsLastOperation);
  EXPECT_TRUE(document.UndoItems()[2].IsLastOperation);
}

TEST_F(WaveDocumentEdit, AFormatChangeKeepsWhatIsGivenAsZero) {
  FileMemoClass document;
  LoadDocument(document, SignalRun(0, 0, 10), {}, 10);
  document.WaveDataChangeFmt(2, 8, 0, "Stereo");
  EXPECT_EQ(document.WavFmtChannel, 2);
  EXPECT_EQ(document.WavFmtBits, 8);
  EXPECT_EQ(document.WavFmtFreq, 44100);
  EXPECT_EQ(window.menuCaption, "Undo [Stereo]");
  EXPECT_EQ(ChannelSamples(document, 1), SignalRun(0, 0, 10));
}

TEST_F(WaveDocumentRead, QuickBuffersAndSingleSamplesLoadNothing) {
  FileMemoClass document;
  LoadFromWav(document, outside.File("source.wav"), 3000);
  std::vector<int16_t> left;
  std::vector<int16_t> right(3, 5);
  document.QuickBuffGet(901, 200, 1, left, right);
  EXPECT_EQ(std::vector<int16_t>(left.begin() + 1, left.end()), SignalRun(0, 900, 200));
  EXPECT_EQ(right, std::vector<int16_t>(201, 0));
  document.QuickBuffGet(2995, 10, 0, left, right);
  EXPECT_EQ(right[6], Signal(1, 2999));
  EXPECT_EQ(right[7], 0);
  EXPECT_EQ(document.WaveR(3000), Signal(1, 2999));
  EXPECT_EQ(document.WaveL(3001), 0);
  EXPECT_EQ(MemoryInUse, 0);
  // Plain buffers load what they read.
  document.WaveCollectBuff(999, 1002, 2, left, right);
  EXPECT_EQ(left, std::vector<int16_t>{0});
  EXPECT_EQ(right, SignalRun(1, 998, 4));
  EXPECT_EQ(BlockTable[document.RightChannel().Blocks()[1]].Kind, BlockMemory);
  EXPECT_EQ(BlockTable[document.RightChannel().Blocks()[2]].Kind, BlockOrgFile);
}

TEST_F(WaveDocumentRead, CollectedForPlayEveryBlockLiesInAFile) {
  FileMemoClass document;
  LoadFromWav(document, outside.File("source.wav"), 3000);
  const BlockCarrBuffClass memory = CarrierOf(SignalRun(2, 0, 500), 250);
  document.WaveDataInsert(1001, 1, &memory, nullptr, "Record", true);  // pads the right
  BlockCarrBuffClass left, right;
  document.WaveCollectData_ForPlay(800, 3500, 0, left, right);
  for (BlockCarrBuffClass* carrier : {&left, &right}) {
    std::vector<int32_t> blocks;
    carrier->BuffBlocksGet(blocks);
    for (const int32_t block : blocks) EXPECT_NE(BlockTable[block].Kind, BlockMemory);
    for (const int32_t block : blocks) EXPECT_NE(BlockTable[block].Kind, BlockSilence);
  }
  EXPECT_EQ(left.WaveLR(202), Signal(2, 0));
  EXPECT_EQ(right.WaveLR(2701), 0);
  EXPECT_FALSE(ui.progress.shown);
  EXPECT_FLOAT_EQ(ui.progress.values.back(), 1.0F);
}

#if defined(QUORVANE_CHECKS) && QUORVANE_CHECKS
TEST_F(WaveDocumentDeathTest, PositionsOutsideTheDocumentStopCheckedBuilds) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  FileMemoClass document;
  LoadDocument(document, SignalRun(0, 0, 100), {}, 100);
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 10));
  EXPECT_DEATH(document.WaveDataInsert(102, 1, &clip, nullptr, "Paste", true),
               "inserting outside a channel");
  EXPECT_DEATH(document.WaveDataDelete(90, 1, 12, "Delete", true), "deleting outside a channel");
}
#endif

}  // namespace
}  // namespace quorvane::testing
