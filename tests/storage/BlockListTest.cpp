#include "storage/BlockList.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "core/Environment.h"
#include "tests/storage/StorageFixtures.h"

namespace quorvane::testing {
namespace {

using BlockListBudget = StorageTest;
using BlockListSplit = StorageTest;
using BlockListLoad = StorageTest;
using BlockListFiles = StorageTest;
using BlockListDescriptor = StorageTest;
using BlockListFaults = StorageTest;

int32_t MemoryBlock(const std::vector<int16_t>& values) {
  const int32_t block = NewBlock(static_cast<int32_t>(values.size()), BlockMemory);
  std::copy(values.begin(), values.end(), BlockTable[block].Data.begin());
  BlockTable[block].Start = 1;
  return block;
}

std::vector<int16_t> Peek(int32_t block) {
  std::vector<int16_t> values;
  ReadBlockRange(block, 0, BlockTable[block].Length - 1, values);
  return values;
}

std::vector<int32_t> BlocksOf(const BlockCarrBuffClass& carrier) {
  std::vector<int32_t> blocks;
  carrier.BuffBlocksGet(blocks);
  return blocks;
}

TEST_F(BlockListBudget, WritesOutTheTwoLeastRecentlyUsedOfSixAndKeepsFour) {
  std::vector<int32_t> blocks;
  for (int i = 0; i < 6; ++i) {
    blocks.push_back(NewBlock(1'048'576, BlockMemory));
    BlockTable[blocks.back()].Data[1000] = static_cast<int16_t>(i + 1);
  }
  EXPECT_EQ(BlockTable[blocks[0]].Kind, BlockFile);
  EXPECT_EQ(BlockTable[blocks[1]].Kind, BlockFile);
  for (int i = 2; i < 6; ++i) EXPECT_EQ(BlockTable[blocks[i]].Kind, BlockMemory) << i;
  EXPECT_EQ(MemoryInUse, 4 * 2 * 1'048'576);
  EXPECT_EQ(TempFilesOnDisk(), 2);
  EXPECT_EQ(PeekSample(blocks[1], 1000), 2);
}

TEST_F(BlockListBudget, KeepsTheFourMostRecentEvenAboveTheBudgetAndResynchronises) {
  std::vector<int32_t> blocks;
  for (int i = 0; i < 5; ++i) blocks.push_back(NewBlock(2'000'000, BlockMemory));
  EXPECT_EQ(BlockTable[blocks[0]].Kind, BlockFile);
  for (int i = 1; i < 5; ++i) EXPECT_EQ(BlockTable[blocks[i]].Kind, BlockMemory) << i;
  EXPECT_EQ(MemoryInUse, 16'000'000);
  // The total is kept as it goes and recomputed on every hundredth check over budget.
  MemoryInUse += 4444;
  EnforceMemoryBudget();
  EXPECT_EQ(MemoryInUse, 16'004'444);
  for (int i = 0; i < 99; ++i) EnforceMemoryBudget();
  EXPECT_EQ(MemoryInUse, 16'000'000);
}

TEST_F(BlockListSplit, AtTheStartOrOnePastTheEndCreatesNothing) {
  const int32_t block = MemoryBlock(SignalRun(0, 0, 100));
  int32_t head = -1;
  int32_t tail = -1;
  SplitBlock(block, 1, head, tail);
  SplitBlock(block, 101, head, tail);
  EXPECT_EQ(head, 0);
  EXPECT_EQ(tail, 0);
  EXPECT_EQ(BlocksInUse(), 1);
  EXPECT_EQ(ui.Texts(), std::vector<std::string>(2, "Error - Could not brake a block"));
}

TEST_F(BlockListSplit, SourceFileAndSilenceBlocksSplitWithoutReading) {
  const auto samples = SignalRun(0, 0, 2000);
  BlockCarrBuffClass left, right;
  DescribeWav(outside.File("s.wav"), 2, 16, samples, 1000, left, right);
  int32_t head = 0;
  int32_t tail = 0;
  SplitBlock(BlocksOf(right)[0], 401, head, tail);
  EXPECT_EQ(BlockTable[tail].Kind, BlockOrgFile);
  EXPECT_EQ(BlockTable[tail].FilePosition, 44 + 400 * 4 + 2 + 1);
  EXPECT_EQ(OrgFileTable[1].UseCount, 4);
  EXPECT_EQ(Peek(tail)[0], samples[2 * 400 + 1]);
  SplitBlock(NewBlock(500, BlockSilence), 200, head, tail);
  EXPECT_EQ(BlockTable[tail].Kind, BlockSilence);
  EXPECT_EQ(BlockTable[tail].Length, 300);
  EXPECT_EQ(MemoryInUse, 0);
}

TEST_F(BlockListLoad, OneChannelOfAStereoPairFillsBothAndRemovesThePair) {
  const auto samples = SignalRun(0, 0, 2000);
  BlockCarrBuffClass left, right;
  DescribeWav(outside.File("s.wav"), 2, 16, samples, 1000, left, right);
  LoadBlock(BlocksOf(left)[0]);
  EXPECT_EQ(ChannelPairTable.size(), 1u);
  EXPECT_EQ(MemoryInUse, 4000);
  EXPECT_EQ(OrgFileTable[1].UseCount, 0);
  std::filesystem::remove(outside.File("s.wav"));  // the right block needs it no more
  EXPECT_EQ(BlockTable[BlocksOf(right)[0]].Kind, BlockMemory);
  EXPECT_EQ(right.WaveLR(1000), samples[1999]);
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(BlockListLoad, EightBitUnpairedStereoReadsItsOwnChannelMinus128) {
  std::vector<int16_t> samples;
  for (int i = 0; i < 600; ++i) samples.push_back(static_cast<int16_t>(i % 256 - 128));
  BlockCarrBuffClass left, right;
  DescribeWav(outside.File("e.wav"), 2, 8, samples, 300, left, right);
  ChannelPairTable.resize(1);
  LoadBlock(BlocksOf(right)[0]);
  EXPECT_EQ(BlockTable[BlocksOf(right)[0]].Data[10], samples[21]);
  EXPECT_EQ(BlockTable[BlocksOf(left)[0]].Kind, BlockOrgFile);
  EXPECT_EQ(PeekSample(BlocksOf(left)[0], 3), samples[4]);
}

TEST_F(BlockListLoad, PeekingAFileBlockChangesNothingAndWritingDetachesIt) {
  const int32_t block = MemoryBlock(SignalRun(1, 0, 64));
  SaveBlockCopy(block);
  const int32_t slot = BlockTable[block].FileRef;
  ASSERT_TRUE(SwapOutBlock(block));
  EXPECT_EQ(PeekSample(block, 11), Signal(1, 10));
  EXPECT_EQ(BlockTable[block].Kind, BlockFile);
  EXPECT_EQ(MemoryInUse, 0);
  MakeBlockWritable(block);
  EXPECT_EQ(BlockTable[block].Kind, BlockMemory);
  EXPECT_EQ(TempFileTable[slot].UseCount, 0);
  EXPECT_EQ(BlockTable[block].Data, SignalRun(1, 0, 64));
}

TEST_F(BlockListFiles, FreeingTheLastBlockOfAFileDeletesItOnlyInTheTemporaryFolder) {
  {
    BlockCarrBuffClass a, b, c, d;
    DescribeWav(folder.File("decoded.wav"), 1, 16, SignalRun(0, 0, 100), 60, a, b);
    DescribeWav(outside.File("track.wav"), 1, 16, SignalRun(0, 0, 100), 60, c, d);
  }
  EXPECT_FALSE(std::filesystem::exists(folder.File("decoded.wav")));
  EXPECT_TRUE(std::filesystem::exists(outside.File("track.wav")));
  EXPECT_TRUE(OrgFileTable[1].FileName.empty());
  EXPECT_EQ(MemoryInUse, 0);  // nothing was read on the way out
  EXPECT_EQ(BlocksInUse(), 0);
}

TEST_F(BlockListFiles, ReleasingAFileByNameLoadsItsBlocks) {
  BlockCarrBuffClass left, right;
  DescribeWav(outside.File("Track.wav"), 1, 16, SignalRun(0, 0, 100), 30, left, right);
  ReleaseOriginalFileByName(outside.File("TRACK.WAV"));
  for (const int32_t block : BlocksOf(left)) EXPECT_EQ(BlockTable[block].Kind, BlockMemory);
  EXPECT_TRUE(OrgFileTable[1].FileName.empty());
  std::filesystem::remove(outside.File("Track.wav"));
  EXPECT_EQ(CarrierSamples(left), SignalRun(0, 0, 100));
}

TEST_F(BlockListDescriptor, SilenceIsABlankNameAndComesBackAlike) {
  const int32_t silence = NewBlock(777, BlockSilence);
  BlockTable[silence].Start = 5;
  const auto descriptor = BlocksToDescriptor({silence});
  EXPECT_EQ(descriptor, (std::vector<int32_t>{10, 1, 2, 1, ' ', 777, 5, 5, 0, 0, 0}));
  const auto blocks = DescriptorToBlocks(descriptor, false);
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(BlockTable[blocks[0]].Kind, BlockSilence);
  EXPECT_EQ(BlockTable[blocks[0]].Length, 777);
  EXPECT_EQ(BlockTable[blocks[0]].Start, 5);
}

TEST_F(BlockListDescriptor, NamesArePackedFourBytesToAnElement) {
  std::vector<int32_t> blocks;
  for (const char* name : {"ab", "abcdef"}) {
    const int32_t entry = RegisterOriginalFile(name, 2, 16);
    OrgFileTable[entry].UseCount = 1;
    blocks.push_back(NewBlock(30, BlockSilence));
    BlockTable[blocks.back()].FileRef = entry;
    BlockTable[blocks.back()].FilePosition = 45;
    BlockTable[blocks.back()].Start = 1;
    BlockTable[blocks.back()].Kind = BlockOrgFile;
  }
  // "ab": 2 / 4 + 2 = 2.5 gives 2; "abcdef": 3.5 gives 4 (halves to even).
  const int32_t abcd = 'a' | ('b' << 8) | ('c' << 16) | ('d' << 24);
  EXPECT_EQ(BlocksToDescriptor(blocks),
            (std::vector<int32_t>{21, 2, 2, 2,    'a' | ('b' << 8), 30, 4,  1, 45, 2,
                                  16, 4, 6, abcd, 'e' | ('f' << 8), 0,  30, 4, 1,  45,
                                  2,  16}));
}

TEST_F(BlockListDescriptor, FileBlocksComeBackOnTheirFilesOrTakenOver) {
  BlockCarrBuffClass left, right;
  DescribeWav(outside.File("x.wav"), 2, 16, SignalRun(0, 0, 400), 200, left, right);
  const int32_t temp = MemoryBlock(SignalRun(1, 0, 30));
  SaveBlockCopy(temp);
  const auto descriptor = BlocksToDescriptor({temp, BlocksOf(right)[0]});
  const auto copies = DescriptorToBlocks(descriptor, false);
  EXPECT_EQ(TempFileTable[BlockTable[temp].FileRef].UseCount, 2);
  EXPECT_EQ(OrgFileTable[1].UseCount, 3);
  std::vector<int16_t> rightChannel;
  for (int i = 0; i < 200; ++i) rightChannel.push_back(Signal(0, 2 * i + 1));
  EXPECT_EQ(Peek(copies[0]), SignalRun(1, 0, 30));
  EXPECT_EQ(Peek(copies[1]), rightChannel);
  // Taken over, described blocks no longer lean on files another editor may delete.
  left = BlockCarrBuffClass();
  right = BlockCarrBuffClass();
  for (const int32_t block : {copies[0], copies[1], temp}) FreeBlock(block);
  const auto taken = DescriptorToBlocks(descriptor, true);
  EXPECT_EQ(BlockTable[taken[0]].Data, SignalRun(1, 0, 30));
  EXPECT_EQ(BlockTable[taken[1]].Data, rightChannel);
  EXPECT_TRUE(TempFileTable[1].FileName.empty());
  EXPECT_TRUE(OrgFileTable[1].FileName.empty());
  EXPECT_TRUE(std::filesystem::exists(outside.File("x.wav")));
}

TEST_F(BlockListFaults, AVanishedTemporaryFileReadsAsSilenceWithOneMessage) {
  const int32_t block = MemoryBlock(SignalRun(0, 0, 100));
  SaveBlockCopy(block);
  int32_t head = 0;
  int32_t tail = 0;
  SplitBlock(block, 51, head, tail);
  FreeBlock(block);
  ASSERT_TRUE(SwapOutBlock(head) && SwapOutBlock(tail));
  const std::string name = TempFileTable[BlockTable[head].FileRef].FileName;
  ASSERT_EQ(::truncate(name.c_str(), 60), 0);  // 30 samples of the head survive
  EXPECT_EQ(PeekSample(tail, 60), 0);
  LoadBlock(head);
  std::vector<int16_t> expected = SignalRun(0, 0, 30);
  expected.resize(50, 0);
  EXPECT_EQ(BlockTable[head].Data, expected);
  EXPECT_EQ(BlockTable[head].Kind, BlockMemory);
  std::filesystem::remove(name);
  LoadBlock(tail);
  EXPECT_EQ(BlockTable[tail].Data, std::vector<int16_t>(50, 0));
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_NE(ui.messages[0].text.find(name), std::string::npos);
  EXPECT_EQ(ui.messages[0].text.rfind("Error - ", 0), 0u);
}

TEST_F(BlockListFaults, AVanishedSourceFileReadsAsSilenceWithOneMessage) {
  BlockCarrBuffClass left, right;
  DescribeWav(outside.File("gone.wav"), 2, 16, SignalRun(0, 0, 400), 200, left, right);
  std::filesystem::remove(outside.File("gone.wav"));
  std::vector<int16_t> quick(4, 9);
  left.QuickBuffGet(1, quick);
  EXPECT_EQ(quick, (std::vector<int16_t>{9, 0, 0, 0}));
  EXPECT_EQ(CarrierSamples(right), std::vector<int16_t>(200, 0));
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_NE(ui.messages[0].text.find(outside.File("gone.wav")), std::string::npos);
}

TEST_F(BlockListFaults, AFailedWriteOutKeepsTheBlockInMemory) {
  const int32_t block = MemoryBlock(SignalRun(0, 0, 1000));
  // The next temporary name leads to a device that is always full.
  const std::string next = folder.File("tm" + std::to_string(Env().TempNameCounter + 1) + ".tmp");
  std::filesystem::create_symlink("/dev/full", next);
  EXPECT_FALSE(SwapOutBlock(block));
  EXPECT_EQ(BlockTable[block].Kind, BlockMemory);
  EXPECT_EQ(BlockTable[block].Data, SignalRun(0, 0, 1000));
  EXPECT_EQ(MemoryInUse, 2000);
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_NE(ui.messages[0].text.find(next), std::string::npos);
  EXPECT_TRUE(SwapOutBlock(block));  // space is back
  EXPECT_EQ(PeekSample(block, 1000), Signal(0, 999));
}

TEST_F(BlockListFaults, ImpossibleRequestsAreReported) {
  EXPECT_EQ(NewBlock(10, BlockFree), 0);
  EXPECT_EQ(NewBlock(10, BlockOrgFile), 0);
  const int32_t block = NewBlock(10, BlockSilence);
  FreeBlock(block);
  EXPECT_EQ(CopyBlock(block), 0);
  LoadBlock(block);
  EXPECT_FALSE(SwapOutBlock(block));
  std::vector<int16_t> out;
  ReadBlockRange(block, 0, 0, out);
  const int32_t memory = NewBlock(10, BlockMemory);
  auto descriptor = BlocksToDescriptor({memory});
  descriptor[6] = 7;
  EXPECT_EQ(DescriptorToBlocks(descriptor, false).size(), 1u);
  EXPECT_EQ(ui.Texts(),
            (std::vector<std::string>{
                "Error - can not make free block",
                "Error - Can not create buffer block in both (memory and file) or in Orgfile",
                "Error - free block can not be copied",
                "Error - Free block can not be copied to buffer",
                "Error - Free block can not be written to file",
                "Error - A block can not be read for quick buffer",
                "Error - Block should be written to file before converting",
                "Error - Block type can not be converted to Block",
            }));
}

}  // namespace
}  // namespace quorvane::testing
