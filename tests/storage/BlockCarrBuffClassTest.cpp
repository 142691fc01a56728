#include "storage/BlockCarrBuffClass.h"

#include <gtest/gtest.h>

#include "core/Environment.h"
#include "tests/storage/StorageFixtures.h"

namespace quorvane::testing {
namespace {

using CarrierSize = StorageTest;
using CarrierAccess = StorageTest;

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
  carrier.ReDimSize(1'000'000);
  const auto blocks = BlocksOf(carrier);
  ASSERT_EQ(blocks.size(), 2u);
  EXPECT_EQ(BlockTable[blocks[0]].Length, 524'288);
  EXPECT_EQ(BlockTable[blocks[1]].Length, 475'712);
  EXPECT_EQ(BlockTable[blocks[1]].Start, 524'289);
  EXPECT_EQ(BlockTable[blocks[1]].Kind, BlockSilence);
  for (const int32_t position : {1, 524'288, 524'289, 1'000'000})
    EXPECT_EQ(carrier.WaveLR(position), 0);
  EXPECT_EQ(MemoryInUse, 0);
}

TEST_F(CarrierSize, ShrinkingInsideTheSecondBlockKeepsTheFirstAndFreesTheRest) {
  BlockCarrBuffClass carrier = CarrierOf(SignalRun(0, 0, 300), 100);
  const auto before = BlocksOf(carrier);
  carrier.ReDimSize(150);
  const auto after = BlocksOf(carrier);
  ASSERT_EQ(after.size(), 2u);
  EXPECT_EQ(after[0], before[0]);
  EXPECT_EQ(BlockTable[after[1]].Length, 50);
  EXPECT_EQ(BlocksInUse(), 2);
  EXPECT_EQ(CarrierSamples(carrier), SignalRun(0, 0, 150));
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

TEST_F(CarrierAccess, QuickReadsOverThreeKindsMatchSampleReadsAndChangeNoBlock) {
  BlockCarrBuffClass source, unused;
  DescribeWav(outside.File("m.wav"), 1, 16, SignalRun(1, 0, 100), 100, source, unused);
  BlockCarrBuffClass memory = CarrierOf(SignalRun(2, 0, 100));
  BlockCarrBuffClass onDisk = CarrierOf(SignalRun(3, 0, 100));
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
  std::vector<int16_t> quick(301, 7);
  carrier.QuickBuffGet(51, quick);
  EXPECT_EQ(BlockTable[blocks[0]].Kind, BlockFile);
  EXPECT_EQ(BlockTable[blocks[1]].Kind, BlockOrgFile);
  EXPECT_EQ(quick[0], 7);
  for (int32_t i = 1; i <= 250; ++i) EXPECT_EQ(quick[i], carrier.WaveLR(50 + i)) << i;
  EXPECT_EQ(quick[251], 7);  // past the end nothing is written
}

TEST_F(CarrierAccess, ReadingLoadsFileBlocksAndWritingMakesThemPrivateMemory) {
  BlockCarrBuffClass carrier = CarrierOf(SignalRun(0, 0, 200), 100);
  const auto blocks = BlocksOf(carrier);
  SaveBlockCopy(blocks[0]);
  ASSERT_TRUE(SwapOutBlock(blocks[0]));
  EXPECT_EQ(carrier.WaveLR(5), Signal(0, 4));
  EXPECT_EQ(BlockTable[blocks[0]].Kind, BlockMemFile);
  carrier.WaveLR(5, 1234);
  EXPECT_EQ(BlockTable[blocks[0]].Kind, BlockMemory);
  EXPECT_EQ(carrier.WaveLR(5), 1234);
  carrier.ReDimSize(300);
  carrier.WaveLR(250, -5);
  EXPECT_EQ(BlockTable[BlocksOf(carrier)[2]].Kind, BlockMemory);
  EXPECT_EQ(carrier.WaveLR(251), 0);
}

TEST_F(CarrierAccess, TheBlockBeingReadIsNotWrittenOutFirst) {
  Env().MemoryBudget = 1000;
  BlockCarrBuffClass carrier = CarrierOf(SignalRun(0, 0, 500), 100);
  const auto blocks = BlocksOf(carrier);
  EXPECT_EQ(carrier.WaveLR(150), Signal(0, 149));  // the second block, freshly stamped
  NewBlock(100, BlockMemory);
  EXPECT_EQ(BlockTable[blocks[0]].Kind, BlockFile);
  EXPECT_EQ(BlockTable[blocks[1]].Kind, BlockMemory);
  EXPECT_EQ(BlockTable[blocks[2]].Kind, BlockFile);
}

}  // namespace
}  // namespace quorvane::testing
