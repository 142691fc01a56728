#include "storage/FileMemoClass.h"

#include <gtest/gtest.h>

#include "core/Environment.h"
#include "storage/BlockList.h"
#include "storage/EditorState.h"
#include "tests/storage/StorageFixtures.h"

namespace quorvane::testing {
namespace {

using WaveDocumentInsert = StorageTest;
using WaveDocumentDelete = StorageTest;
using WaveDocumentReplace = StorageTest;
using WaveDocumentFormat = StorageTest;
using WaveDocumentRead = StorageTest;
using WaveDocumentCollect = StorageTest;
using WaveDocumentDeathTest = StorageTest;

std::vector<int16_t> Joined(std::vector<int16_t> a, const std::vector<int16_t>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// A stereo document whose blocks lie in a source WAV file, as after loading.
void LoadFromWav(FileMemoClass& document, const std::string& path, int32_t frames,
                 int32_t blockFrames) {
  std::vector<int16_t> interleaved;
  for (int32_t i = 0; i < frames; ++i) {
    interleaved.push_back(Signal(0, i));
    interleaved.push_back(Signal(1, i));
  }
  BlockCarrBuffClass left;
  BlockCarrBuffClass right;
  DescribeWav(WriteWav(path, 2, 16, interleaved), blockFrames, left, right);
  LoadDocument(document, left, right);
}

TEST_F(WaveDocumentInsert, PastTheEndAppendsAndAtOnePrepends) {
  FileMemoClass document;
  LoadDocument(document, SignalRun(0, 0, 300), SignalRun(1, 0, 300), 100);
  const BlockCarrBuffClass tail = CarrierOf(SignalRun(2, 0, 50));
  const BlockCarrBuffClass head = CarrierOf(SignalRun(3, 0, 40));
  document.WaveDataInsert(301, 0, &tail, &tail, "Paste", true);
  document.WaveDataInsert(1, 0, &head, &head, "Paste", true);
  const auto expected =
      Joined(Joined(SignalRun(3, 0, 40), SignalRun(0, 0, 300)), SignalRun(2, 0, 50));
  EXPECT_EQ(ChannelSamples(document, 1), expected);
  EXPECT_EQ(document.WavWaveINos, 390);
  EXPECT_TRUE(Editor().WaveChanged);
}

TEST_F(WaveDocumentInsert, AtTheFirstSampleOfABlockSplitsNothing) {
  FileMemoClass document;
  LoadDocument(document, SignalRun(0, 0, 300), SignalRun(1, 0, 300), 100);
  const auto before = document.LeftChannel().Blocks();
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 10));
  document.WaveDataInsert(101, 1, &clip, nullptr, "Paste", false);
  const auto& after = document.LeftChannel().Blocks();
  ASSERT_EQ(after.size(), 4u);
  EXPECT_EQ(after[0], before[0]);
  EXPECT_EQ(after[2], before[1]);
  EXPECT_EQ(after[3], before[2]);
  EXPECT_EQ(BlockTable[after[3]].Start, 211);
}

TEST_F(WaveDocumentInsert, IntoSourceFileAudioSplitsByReferenceAndReadsNothing) {
  FileMemoClass document;
  LoadFromWav(document, outside.File("source.wav"), 3000, 1000);
  BlockCarrBuffClass left;
  BlockCarrBuffClass right;
  document.WaveCollectData(500, 1499, 0, left, right);
  document.WaveDataInsert(2500, 0, &left, &right, "Paste", true);
  EXPECT_EQ(MemoryInUse, 0);
  // Three blocks, one split in two, plus the two copied ones.
  EXPECT_EQ(document.LeftChannel().Blocks().size(), 6u);
  auto expected = SignalRun(0, 0, 2499);
  expected = Joined(Joined(expected, SignalRun(0, 499, 1000)), SignalRun(0, 2499, 501));
  EXPECT_EQ(ChannelSamples(document, 1), expected);
  EXPECT_EQ(document.WaveR(2500), Signal(1, 499));
}

TEST_F(WaveDocumentInsert, IntoTheLeftChannelOnlyPadsTheRightWithSilence) {
  FileMemoClass document;
  LoadDocument(document, SignalRun(0, 0, 10'000), SignalRun(1, 0, 10'000), 4000);
  const BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 1000));
  document.WaveDataInsert(5001, 1, &clip, nullptr, "Paste", true);
  EXPECT_EQ(document.LeftChannel().Length(), 11'000);
  EXPECT_EQ(document.RightChannel().Length(), 11'000);
  EXPECT_EQ(document.WavWaveINos, 11'000);
  const auto right = ChannelSamples(document, 2);
  EXPECT_EQ(right, Joined(SignalRun(1, 0, 10'000), std::vector<int16_t>(1000, 0)));
  const int32_t lastBlock = document.RightChannel().Blocks().back();
  EXPECT_EQ(BlockTable[lastBlock].Kind, BlockSilence);
  ASSERT_EQ(document.UndoItemCount(), 2);
  EXPECT_EQ(document.UndoItems()[0].Kind, kUndoInsert);
  EXPECT_EQ(document.UndoItems()[1].Kind, kUndoPadding);
  EXPECT_EQ(document.UndoItems()[1].Position, 10'001);
  EXPECT_EQ(document.UndoItems()[1].Channel, 2);
  EXPECT_EQ(document.UndoItems()[1].Length, 1000);
  EXPECT_TRUE(document.UndoItems()[1].IsLastOperation);
}

TEST_F(WaveDocumentInsert, TakesCopiesOfTheCarrier) {
  FileMemoClass document;
  LoadDocument(document, SignalRun(0, 0, 100), {}, 100);
  BlockCarrBuffClass clip = CarrierOf(SignalRun(2, 0, 10));
  document.WaveDataInsert(50, 1, &clip, nullptr, "Paste", true);
  clip.WaveLR(1, 4321);
  clip = BlockCarrBuffClass();
  EXPECT_EQ(document.WaveL(50), Signal(2, 0));
  EXPECT_EQ(document.RightChannel().Length(), 0);
}

TEST_F(WaveDocumentDelete, TheWholeLengthLeavesEmptyLists) {
  FileMemoClass document;
  LoadDocument(document, SignalRun(0, 0, 300), SignalRun(1, 0, 300), 100);
  document.WaveDataDelete(1, 0, 300, "Delete", true);
  EXPECT_TRUE(document.LeftChannel().Blocks().empty());
  EXPECT_TRUE(document.RightChannel().Blocks().empty());
  EXPECT_EQ(document.WavWaveINos, 0);
  // The removed blocks moved into the undo item.
  EXPECT_EQ(document.UndoItems().back().LeftBlocks.size(), 3u);
}

TEST_F(WaveDocumentDelete, AStretchOfSourceFileAudioReadsNothing) {
  FileMemoClass document;
  LoadFromWav(document, outside.File("source.wav"), 5000, 1000);
  document.WaveDataDelete(1500, 0, 2001, "Delete", true);
  EXPECT_EQ(MemoryInUse, 0);
  EXPECT_EQ(ChannelSamples(document, 2), Joined(SignalRun(1, 0, 1499), SignalRun(1, 3500, 1500)));
  EXPECT_EQ(document.WavWaveINos, 2999);
}

TEST_F(WaveDocumentDelete, WithUndoOffTheRemovedBlocksAreFreed) {
  Editor().UndoEnabled = false;
  FileMemoClass document;
  LoadDocument(document, SignalRun(0, 0, 300), SignalRun(1, 0, 300), 100);
  const int32_t before = BlocksInUse();
  document.WaveDataDelete(101, 0, 100, "Delete", true);
  EXPECT_EQ(BlocksInUse(), before - 2);
  EXPECT_EQ(document.UndoItemCount(), 0);
  EXPECT_EQ(window.menuCaption, "Undo [Off]");
  EXPECT_FALSE(window.menuEnabled);
}

TEST_F(WaveDocumentReplace, NearTheEndWithALongerCarrierDeletesOnlyToTheEnd) {
  FileMemoClass document;
  LoadDocument(document, SignalRun(0, 0, 300), SignalRun(1, 0, 300), 100);
  const BlockCarrBuffClass left = CarrierOf(SignalRun(2, 0, 80));
  const BlockCarrBuffClass right = CarrierOf(SignalRun(3, 0, 80));
  document.WaveDataReplace(251, 0, &left, &right, "Volume", true);
  EXPECT_EQ(document.WavWaveINos, 330);
  EXPECT_EQ(ChannelSamples(document, 1), Joined(SignalRun(0, 0, 250), SignalRun(2, 0, 80)));
  EXPECT_EQ(ChannelSamples(document, 2), Joined(SignalRun(1, 0, 250), SignalRun(3, 0, 80)));
  // One delete per channel, then the insert that ends the operation.
  ASSERT_EQ(document.UndoItemCount(), 3);
  EXPECT_EQ(document.UndoItems()[0].Channel, 1);
  EXPECT_EQ(document.UndoItems()[0].Length, 50);
  EXPECT_EQ(document.UndoItems()[1].Channel, 2);
  EXPECT_FALSE(document.UndoItems()[1].IsLastOperation);
  EXPECT_EQ(document.UndoItems()[2].Kind, kUndoInsert);
  EXPECT_TRUE(document.UndoItems()[2].IsLastOperation);
}

TEST_F(WaveDocumentFormat, ZeroArgumentsKeepTheOldValues) {
  FileMemoClass document;
  LoadDocument(document, SignalRun(0, 0, 10), {}, 10);
  document.WaveDataChangeFmt(2, 8, 0, "Stereo");
  EXPECT_EQ(document.WavFmtChannel, 2);
  EXPECT_EQ(document.WavFmtBits, 8);
  EXPECT_EQ(document.WavFmtFreq, 44100);
  ASSERT_EQ(document.UndoItemCount(), 1);
  const UndoItem& item = document.UndoItems()[0];
  EXPECT_EQ(item.Kind, kUndoFormat);
  EXPECT_EQ(item.Position, 16);
  EXPECT_EQ(item.Channel, 1);
  EXPECT_EQ(item.Length, 44100);
  EXPECT_EQ(window.menuCaption, "Undo [Stereo]");
  EXPECT_EQ(ChannelSamples(document, 1), SignalRun(0, 0, 10));
}

TEST_F(WaveDocumentRead, SingleSamplesBeyondTheEndAreZero) {
  FileMemoClass document;
  LoadDocument(document, SignalRun(0, 0, 100), SignalRun(1, 0, 100), 30);
  EXPECT_EQ(document.WaveL(100), Signal(0, 99));
  EXPECT_EQ(document.WaveR(1), Signal(1, 0));
  EXPECT_EQ(document.WaveL(101), 0);
  EXPECT_EQ(document.WaveR(0), 0);
}

TEST_F(WaveDocumentRead, QuickBuffersChangeNoBlockAndZeroAnUnrequestedChannel) {
  FileMemoClass document;
  LoadFromWav(document, outside.File("source.wav"), 3000, 1000);
  std::vector<int16_t> left;
  std::vector<int16_t> right(3, 5);
  document.QuickBuffGet(901, 200, 1, left, right);
  ASSERT_EQ(left.size(), 201u);
  EXPECT_EQ(std::vector<int16_t>(left.begin() + 1, left.end()), SignalRun(0, 900, 200));
  EXPECT_EQ(right, std::vector<int16_t>(201, 0));
  EXPECT_EQ(MemoryInUse, 0);
  for (const int32_t block : document.LeftChannel().Blocks()) {
    EXPECT_EQ(BlockTable[block].Kind, BlockOrgFile);
  }
  // Past the end the buffer holds zeros.
  document.QuickBuffGet(2995, 10, 0, left, right);
  EXPECT_EQ(right[6], Signal(1, 2999));
  EXPECT_EQ(right[7], 0);
}

TEST_F(WaveDocumentCollect, PlainBuffersLoadTheBlocksTheyRead) {
  FileMemoClass document;
  LoadFromWav(document, outside.File("source.wav"), 3000, 1000);
  std::vector<int16_t> left;
  std::vector<int16_t> right;
  document.WaveCollectBuff(999, 1002, 2, left, right);
  EXPECT_EQ(left, std::vector<int16_t>{0});
  EXPECT_EQ(right, SignalRun(1, 998, 4));
  EXPECT_EQ(BlockTable[document.RightChannel().Blocks()[0]].Kind, BlockMemory);
  EXPECT_EQ(BlockTable[document.RightChannel().Blocks()[2]].Kind, BlockOrgFile);
}

TEST_F(WaveDocumentCollect, CarriersKeepTheirContentWhenTheDocumentChanges) {
  FileMemoClass document;
  LoadDocument(document, SignalRun(0, 0, 300), SignalRun(1, 0, 300), 100);
  BlockCarrBuffClass left;
  BlockCarrBuffClass right;
  document.WaveCollectData(51, 250, 0, left, right);
  EXPECT_EQ(left.WaveINos, 200);
  document.WaveDataDelete(1, 0, 300, "Cut", true);
  document.UndoInfoReset();
  EXPECT_EQ(CarrierSamples(left), SignalRun(0, 50, 200));
  EXPECT_EQ(CarrierSamples(right), SignalRun(1, 50, 200));
  EXPECT_EQ(ui.progress.timesShown, 1);
  EXPECT_FALSE(ui.progress.shown);
  EXPECT_FLOAT_EQ(ui.progress.values.back(), 1.0F);
}

TEST_F(WaveDocumentCollect, ForPlayEveryBlockLiesInAFile) {
  FileMemoClass document;
  LoadFromWav(document, outside.File("source.wav"), 3000, 1000);
  const BlockCarrBuffClass memory = CarrierOf(SignalRun(2, 0, 500), 250);
  document.WaveDataInsert(1001, 1, &memory, nullptr, "Record", true);  // pads the right
  BlockCarrBuffClass left;
  BlockCarrBuffClass right;
  document.WaveCollectData_ForPlay(800, 3500, 0, left, right);
  for (BlockCarrBuffClass* carrier : {&left, &right}) {
    std::vector<int32_t> blocks;
    carrier->BuffBlocksGet(blocks);
    for (const int32_t block : blocks) {
      const int32_t kind = BlockTable[block].Kind;
      EXPECT_TRUE(kind == BlockMemFile || kind == BlockFile || kind == BlockOrgFile) << kind;
    }
    BlocksToDescriptor(blocks);
  }
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_EQ(left.WaveLR(202), Signal(2, 0));
  EXPECT_EQ(right.WaveLR(2701), 0);
}

TEST_F(WaveDocumentCollect, StorageResetLeavesNoBlockAndNoFile) {
  Env().MemoryBudget = 1000;
  FileMemoClass document;
  LoadDocument(document, SignalRun(0, 0, 3000), SignalRun(1, 0, 3000), 100);
  document.WaveDataDelete(1, 0, 1000, "Delete", true);
  EXPECT_GT(TempFilesOnDisk(), 0);
  document.StorageReset();
  EXPECT_EQ(BlocksInUse(), 0);
  EXPECT_EQ(MemoryInUse, 0);
  EXPECT_EQ(TempFilesOnDisk(), 0);
  EXPECT_EQ(document.WavWaveINos, 0);
  EXPECT_EQ(document.UndoItemCount(), 0);
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
