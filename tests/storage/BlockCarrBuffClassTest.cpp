#include "storage/BlockCarrBuffClass.h"

#include <gtest/gtest.h>

#include "core/Environment.h"
#include "tests/storage/StorageFixtures.h"

namespace quorvane::testing {
namespace {

using CarrierSize = StorageTest;
using CarrierAccess = StorageTest;
using CarrierBlocks = StorageTest;

std::vector<int32_t> BlocksOf(const BlockCarrBuffClass& carrier) {
  std::vector<int32_t> blocks;
  carrier.BuffBlocksGet(blocks);
  return blocks;
}

TEST_F(CarrierSize, BlockSizeFollowsTheMemoryBudget) {
  EXPECT_EQ(BlockCarrBuffClass::BlockSizeForBudget(67'108'864), 3'355'440);
  EXPECT_EQ(BlockCarrBuffClass::BlockSizeForBudget(10'000'000), 524'288);
  // 70,000,050 / 20 = 3,500,002.5: halves go to even, then down to a multiple of 4.
  EXPECT_EQ(BlockCarrBuffClass::BlockSizeForBudget(70'000'050), 3'500'000);
}

TEST_F(CarrierSize, GrowingAppendsSilenceBlocksOfTheBlockSize) {
  BlockCarrBuffClass carrier;
  ASSERT_EQ(carrier.BlockSize(), 524'288);
  carrier.ReDimSize(1'000'000);
  const auto blocks = BlocksOf(carrier);
  ASSERT_EQ(blocks.size(), 2u);
  EXPECT_EQ(BlockTable[blocks[0]].Length, 524'288);
  EXPECT_EQ(BlockTable[blocks[1]].Length, 475'712);
  EXPECT_EQ(BlockTable[blocks[0]].Start, 1);
  EXPECT_EQ(BlockTable[blocks[1]].Start, 524'289);
  EXPECT_EQ(BlockTable[blocks[1]].Kind, BlockSilence);
  for (const int32_t position : {1, 524'288, 524'289, 1'000'000}) {
    EXPECT_EQ(carrier.WaveLR(position), 0);
  }
  EXPECT_EQ(carrier.WaveINos, 1'000'000);
  EXPECT_EQ(MemoryInUse, 0);
}

TEST_F(CarrierSize, ShrinkingInsideTheSecondBlockKeepsTheFirstAndFreesTheRest) {
  BlockCarrBuffClass carrier;
  FillCarrier(carrier, SignalRun(0, 0, 300), 100);
  const auto before = BlocksOf(carrier);
  carrier.ReDimSize(150);
  const auto after = BlocksOf(carrier);
  ASSERT_EQ(after.size(), 2u);
  EXPECT_EQ(after[0], before[0]);
  EXPECT_NE(after[1], before[1]);
  EXPECT_EQ(BlockTable[after[1]].Length, 50);
  EXPECT_EQ(BlocksInUse(), 2);
  EXPECT_EQ(MemoryInUse, 300);
  EXPECT_EQ(carrier.WaveINos, 150);
  EXPECT_EQ(CarrierSamples(carrier), SignalRun(0, 0, 150));
  carrier.ReDimSize(100);
  EXPECT_EQ(BlocksOf(carrier), std::vector<int32_t>{before[0]});
}

TEST_F(CarrierSize, ZeroSizeIsRefusedWithAMessage) {
  BlockCarrBuffClass carrier;
  carrier.ReDimSize(10);
  carrier.ReDimSize(0);
  EXPECT_EQ(carrier.WaveINos, 10);
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_EQ(ui.messages[0].text, "Error:\r\nCan not create buffer with zero size");
  EXPECT_EQ(ui.messages[0].caption, "Timeline Audio Editor");
}

TEST_F(CarrierAccess, QuickReadsMatchSampleReadsAndChangeNoBlock) {
  // Three blocks of three kinds: a temporary file, an original file, memory.
  BlockCarrBuffClass source;
  BlockCarrBuffClass unused;
  const WavFile wav = WriteWav(outside.File("mono.wav"), 1, 16, SignalRun(1, 0, 100));
  DescribeWav(wav, 100, source, unused);
  BlockCarrBuffClass memory;
  FillCarrier(memory, SignalRun(2, 0, 100), 100);
  BlockCarrBuffClass onDisk;
  FillCarrier(onDisk, SignalRun(3, 0, 100), 100);
  ASSERT_TRUE(SwapOutBlock(BlocksOf(onDisk)[0]));
  std::vector<int32_t> blocks;
  for (BlockCarrBuffClass* part : {&onDisk, &source, &memory}) {
    std::vector<int32_t> copies;
    part->BuffBlocksGetCopy(copies);
    BlockTable[copies[0]].Start = static_cast<int32_t>(blocks.size()) * 100 + 1;
    blocks.push_back(copies[0]);
  }
  BlockCarrBuffClass carrier;
  carrier.BuffBlocksPutFresh(blocks);
  std::vector<int32_t> kinds;
  for (const int32_t block : blocks) kinds.push_back(BlockTable[block].Kind);
  ASSERT_EQ(kinds, (std::vector<int32_t>{BlockFile, BlockOrgFile, BlockMemory}));

  std::vector<int16_t> quick(251, 7);
  carrier.QuickBuffGet(51, quick);
  std::vector<int32_t> kindsAfter;
  for (const int32_t block : blocks) kindsAfter.push_back(BlockTable[block].Kind);
  EXPECT_EQ(kindsAfter, kinds);
  EXPECT_EQ(quick[0], 7);
  for (int32_t i = 1; i <= 250; ++i) {
    EXPECT_EQ(quick[i], carrier.WaveLR(50 + i)) << i;
  }
  // Past the end nothing is written.
  std::vector<int16_t> tail(11, 7);
  carrier.QuickBuffGet(296, tail);
  EXPECT_EQ(tail[5], carrier.WaveLR(300));
  EXPECT_EQ(tail[6], 7);
}

TEST_F(CarrierAccess, ReadingLoadsFileBlocksAndWritingMakesPrivateMemory) {
  BlockCarrBuffClass carrier;
  FillCarrier(carrier, SignalRun(0, 0, 200), 100);
  auto blocks = BlocksOf(carrier);
  SaveBlockCopy(blocks[0]);
  ASSERT_TRUE(SwapOutBlock(blocks[0]));
  EXPECT_EQ(carrier.WaveLR(5), Signal(0, 4));
  EXPECT_EQ(BlockTable[blocks[0]].Kind, BlockMemFile);
  const int32_t slot = BlockTable[blocks[0]].FileRef;
  carrier.WaveLR(5, 1234);
  EXPECT_EQ(BlockTable[blocks[0]].Kind, BlockMemory);
  EXPECT_EQ(TempFileTable[slot].UseCount, 0);
  EXPECT_EQ(carrier.WaveLR(5), 1234);

  carrier.ReDimSize(300);
  blocks = BlocksOf(carrier);
  carrier.WaveLR(250, -5);
  EXPECT_EQ(BlockTable[blocks[2]].Kind, BlockMemory);
  EXPECT_EQ(carrier.WaveLR(250), -5);
  EXPECT_EQ(carrier.WaveLR(251), 0);
  EXPECT_EQ(carrier.WaveLR(199), Signal(0, 198));
}

TEST_F(CarrierAccess, ReadingKeepsTheBlockInUseFromBeingWrittenOut) {
  Env().MemoryBudget = 1000;
  BlockCarrBuffClass carrier;
  FillCarrier(carrier, SignalRun(0, 0, 500), 100);
  const auto blocks = BlocksOf(carrier);
  // Reading from the second block makes it the most recently used one.
  EXPECT_EQ(carrier.WaveLR(150), Signal(0, 149));
  NewBlock(100, BlockMemory);
  EXPECT_EQ(BlockTable[blocks[0]].Kind, BlockFile);
  EXPECT_EQ(BlockTable[blocks[1]].Kind, BlockMemory);
  EXPECT_EQ(BlockTable[blocks[2]].Kind, BlockFile);
  EXPECT_EQ(CarrierSamples(carrier), SignalRun(0, 0, 500));
  EXPECT_LE(MemoryInUse, Env().MemoryBudget);
}

TEST_F(CarrierBlocks, CopiesAreIndependentOfTheCarrier) {
  BlockCarrBuffClass carrier;
  FillCarrier(carrier, SignalRun(0, 0, 150), 100);
  std::vector<int32_t> copies;
  carrier.BuffBlocksGetCopy(copies);
  BlockCarrBuffClass other;
  other.BuffBlocksPutFresh(copies);
  carrier.WaveLR(120, 99);
  EXPECT_EQ(other.WaveLR(120), Signal(0, 119));
  EXPECT_EQ(other.WaveINos, 150);
  EXPECT_EQ(BlocksInUse(), 4);
}

TEST_F(CarrierBlocks, DroppingACarrierFreesItsBlocksAndUnusedFiles) {
  {
    BlockCarrBuffClass carrier;
    FillCarrier(carrier, SignalRun(0, 0, 300), 100);
    for (const int32_t block : BlocksOf(carrier)) SaveBlockCopy(block);
    EXPECT_EQ(TempFilesOnDisk(), 3);
    BlockCarrBuffClass moved = std::move(carrier);
    EXPECT_EQ(carrier.WaveINos, 0);
    EXPECT_EQ(moved.WaveINos, 300);
  }
  EXPECT_EQ(BlocksInUse(), 0);
  EXPECT_EQ(MemoryInUse, 0);
  EXPECT_EQ(TempFilesOnDisk(), 0);
}

TEST_F(CarrierBlocks, PuttingFreshBlocksFreesTheOldOnes) {
  BlockCarrBuffClass carrier;
  FillCarrier(carrier, SignalRun(0, 0, 300), 100);
  const int32_t fresh = NewBlock(40, BlockSilence);
  BlockTable[fresh].Start = 1;
  carrier.BuffBlocksPutFresh({fresh});
  EXPECT_EQ(carrier.WaveINos, 40);
  EXPECT_EQ(BlocksInUse(), 1);
  EXPECT_EQ(MemoryInUse, 0);
}

}  // namespace
}  // namespace quorvane::testing
