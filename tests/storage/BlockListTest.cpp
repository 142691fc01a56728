// The block list (blocks in memory, in temporary files and in source files, under the
// memory budget) and the carriers that hold runs of blocks.
#include "storage/BlockCarrBuffClass.h"
#include "storage/BlockList.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "core/Environment.h"
#include "tests/storage/StorageFixtures.h"

namespace quorvane::testing {
namespace {

using BlockList = StorageTest;
using Carrier = StorageTest;

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

TEST_F(BlockList, BudgetWritesOutTheTwoLeastRecentlyUsedOfSixAndKeepsFour) {
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

TEST_F(BlockList, BudgetKeepsTheFourMostRecentEvenAboveTheBudgetAndResynchronises) {
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

TEST_F(BlockList, SplitAtTheStartOrOnePastTheEndCreatesNothing) {
  const int32_t block = MemoryBlock(SignalRun(0, 0, 100));
  int32_t head = -1, tail = -1;
  SplitBlock(block, 1, head, tail);
  SplitBlock(block, 101, head, tail);
  EXPECT_EQ(head, 0);
  EXPECT_EQ(tail, 0);
  EXPECT_EQ(BlocksInUse(), 1);
  EXPECT_EQ(ui.Texts(), std::vector<std::string>(2, "Error - Could not brake a block"));
}

TEST_F(BlockList, SplitSourceFileAndSilenceBlocksSplitWithoutReading) {
  const auto samples = SignalRun(0, 0, 2000);
  BlockCarrBuffClass left, right;
  DescribeWav(files.File("s.wav"), 2, 16, samples, 1000, left, right);
  int32_t head = 0, tail = 0;
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

TEST_F(BlockList, LoadOneChannelOfAStereoPairFillsBothAndRemovesThePair) {
  const auto samples = SignalRun(0, 0, 2000);
  BlockCarrBuffClass left, right;
  DescribeWav(files.File("s.wav"), 2, 16, samples, 1000, left, right);
  LoadBlock(BlocksOf(left)[0]);
  EXPECT_EQ(ChannelPairTable.size(), 1u);
  EXPECT_EQ(MemoryInUse, 4000);
  EXPECT_EQ(OrgFileTable[1].UseCount, 0);
  std::filesystem::remove(files.File("s.wav"));  // the right block needs it no more
  EXPECT_EQ(BlockTable[BlocksOf(right)[0]].Kind, BlockMemory);
  EXPECT_EQ(right.WaveLR(1000), samples[1999]);
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(BlockList, LoadEightBitUnpairedStereoReadsItsOwnChannelMinus128) {
  std::vector<int16_t> samples;
  for (int i = 0; i < 600; ++i) samples.push_back(static_cast<int16_t>(i % 256 - 128));
  BlockCarrBuffClass left, right;
  DescribeWav(files.File("e.wav"), 2, 8, samples, 300, left, right);
  ChannelPairTable.resize(1);
  LoadBlock(BlocksOf(right)[0]);
  EXPECT_EQ(BlockTable[BlocksOf(right)[0]].Data[10], samples[21]);
  EXPECT_EQ(BlockTable[BlocksOf(left)[0]].Kind, BlockOrgFile);
  EXPECT_EQ(PeekSample(BlocksOf(left)[0], 3), samples[4]);
}

TEST_F(BlockList, LoadPeekingAFileBlockChangesNothingAndWritingDetachesIt) {
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

TEST_F(BlockList, FilesFreeingTheLastBlockOfAFileDeletesItOnlyInTheTemporaryFolder) {
  {
    BlockCarrBuffClass a, b, c, d;
    DescribeWav(session.File("decoded.wav"), 1, 16, SignalRun(0, 0, 100), 60, a, b);
    DescribeWav(files.File("track.wav"), 1, 16, SignalRun(0, 0, 100), 60, c, d);
  }
  EXPECT_FALSE(std::filesystem::exists(session.File("decoded.wav")));
  EXPECT_TRUE(std::filesystem::exists(files.File("track.wav")));
  EXPECT_TRUE(OrgFileTable[1].FileName.empty());
  EXPECT_EQ(MemoryInUse, 0);  // nothing was read on the way out
  EXPECT_EQ(BlocksInUse(), 0);
}

TEST_F(BlockList, FilesReleasingAFileByNameLoadsItsBlocks) {
  BlockCarrBuffClass left, right;
  DescribeWav(files.File("Track.wav"), 1, 16, SignalRun(0, 0, 100), 30, left, right);
  ReleaseOriginalFileByName(files.File("TRACK.WAV"));
  for (const int32_t block : BlocksOf(left)) EXPECT_EQ(BlockTable[block].Kind, BlockMemory);
  EXPECT_TRUE(OrgFileTable[1].FileName.empty());
  std::filesystem::remove(files.File("Track.wav"));
  EXPECT_EQ(CarrierSamples(left), SignalRun(0, 0, 100));
}

TEST_F(BlockList, FilesSetAsideMoveIntoTheSessionFolderAndTheirBlocksFollowUnloaded) {
  const std::string name = files.File("Track.wav");
  {
    BlockCarrBuffClass left, right;
    DescribeWav(name, 1, 16, SignalRun(0, 0, 100), 30, left, right);
    SetOriginalFileAside(name);
    EXPECT_TRUE(std::filesystem::exists(name)) << "the file stays until it is replaced";
    std::filesystem::remove(name);
    const std::string moved = OrgFileTable[1].FileName;
    EXPECT_EQ(std::filesystem::path(moved).parent_path(), Env().SessionFolder);
    for (const int32_t block : BlocksOf(left)) EXPECT_EQ(BlockTable[block].Kind, BlockOrgFile);
    EXPECT_EQ(MemoryInUse, 0);
    // A new file at the old name changes nothing the blocks read.
    BlockCarrBuffClass other, unused;
    DescribeWav(name, 1, 16, SignalRun(9, 0, 100), 30, other, unused);
    std::vector<int16_t> read(101);
    left.QuickBuffGet(1, read);
    EXPECT_EQ(std::vector<int16_t>(read.begin() + 1, read.end()), SignalRun(0, 0, 100));
    left.BuffBlocksPutFresh({});
    // The moved file goes once no block reads it; the new one stays.
    EXPECT_FALSE(std::filesystem::exists(moved));
    EXPECT_TRUE(std::filesystem::exists(name));
  }
  // A file no block reads is only let go of.
  SetOriginalFileAside(name);
  EXPECT_TRUE(std::filesystem::exists(name));
  // A file whose name differs in case alone is another file: it stays, its blocks load.
  BlockCarrBuffClass upper, unused;
  DescribeWav(files.File("TRACK.WAV"), 1, 16, SignalRun(0, 0, 100), 30, upper, unused);
  SetOriginalFileAside(name);
  EXPECT_TRUE(std::filesystem::exists(files.File("TRACK.WAV")));
  for (const int32_t block : BlocksOf(upper)) EXPECT_EQ(BlockTable[block].Kind, BlockMemory);
}

TEST_F(BlockList, DescriptorSilenceIsABlankNameAndComesBackAlike) {
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

TEST_F(BlockList, DescriptorNamesArePackedFourBytesToAnElement) {
  std::vector<int32_t> blocks;
  for (const char* name : {"ab", "abcdef"}) {
    blocks.push_back(AddOriginalFileRun(RegisterOriginalFile(name, 2, 16), 45, 1, 30));
  }
  // "ab": 2 / 4 + 2 = 2.5 gives 2; "abcdef": 3.5 gives 4 (halves to even).
  const int32_t abcd = 'a' | ('b' << 8) | ('c' << 16) | ('d' << 24);
  EXPECT_EQ(BlocksToDescriptor(blocks),
            (std::vector<int32_t>{21, 2, 2, 2,    'a' | ('b' << 8), 30, 4,  1, 45, 2,
                                  16, 4, 6, abcd, 'e' | ('f' << 8), 0,  30, 4, 1,  45,
                                  2,  16}));
}

TEST_F(BlockList, DescriptorFileBlocksComeBackOnTheirFilesOrTakenOver) {
  BlockCarrBuffClass left, right;
  DescribeWav(files.File("x.wav"), 2, 16, SignalRun(0, 0, 400), 200, left, right);
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
  EXPECT_TRUE(std::filesystem::exists(files.File("x.wav")));
}

TEST_F(BlockList, FaultAVanishedTemporaryFileReadsAsSilenceWithOneMessage) {
  const int32_t block = MemoryBlock(SignalRun(0, 0, 100));
  SaveBlockCopy(block);
  int32_t head = 0, tail = 0;
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

TEST_F(BlockList, FaultAVanishedSourceFileReadsAsSilenceWithOneMessage) {
  BlockCarrBuffClass left, right;
  DescribeWav(files.File("gone.wav"), 2, 16, SignalRun(0, 0, 400), 200, left, right);
  std::filesystem::remove(files.File("gone.wav"));
  std::vector<int16_t> quick(4, 9);
  left.QuickBuffGet(1, quick);
  EXPECT_EQ(quick, (std::vector<int16_t>{9, 0, 0, 0}));
  EXPECT_EQ(CarrierSamples(right), std::vector<int16_t>(200, 0));
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_NE(ui.messages[0].text.find(files.File("gone.wav")), std::string::npos);
}

TEST_F(BlockList, FaultAFailedWriteOutKeepsTheBlockInMemory) {
  const int32_t block = MemoryBlock(SignalRun(0, 0, 1000));
  // The next temporary name leads to a device that is always full.
  const std::string next = session.File("tm" + std::to_string(Env().TempNameCounter + 1) + ".tmp");
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

TEST_F(BlockList, FaultImpossibleRequestsAreReported) {
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

TEST_F(Carrier, BlockSizeFollowsTheMemoryBudget) {
  EXPECT_EQ(BlockCarrBuffClass::BlockSizeForBudget(67'108'864), 3'355'440);
  EXPECT_EQ(BlockCarrBuffClass::BlockSizeForBudget(10'000'000), 524'288);
  // 70,000,050 / 20 = 3,500,002.5: halves go to even, then down to a multiple of 4.
  EXPECT_EQ(BlockCarrBuffClass::BlockSizeForBudget(70'000'050), 3'500'000);
}

TEST_F(Carrier, GrowingAppendsSilenceBlocksOfTheBlockSize) {
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

TEST_F(Carrier, ShrinkingInsideTheSecondBlockKeepsTheFirstAndFreesTheRest) {
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

TEST_F(Carrier, ZeroSizeIsRefusedWithAMessage) {
  BlockCarrBuffClass carrier;
  carrier.ReDimSize(10);
  carrier.ReDimSize(0);
  EXPECT_EQ(carrier.WaveINos, 10);
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_EQ(ui.messages[0].text, "Error:\r\nCan not create buffer with zero size");
  EXPECT_EQ(ui.messages[0].caption, "Timeline Audio Editor");
}

TEST_F(Carrier, QuickReadsOverThreeKindsMatchSampleReadsAndChangeNoBlock) {
  BlockCarrBuffClass source, unused;
  DescribeWav(files.File("m.wav"), 1, 16, SignalRun(1, 0, 100), 100, source, unused);
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

TEST_F(Carrier, ReadingLoadsFileBlocksAndWritingMakesThemPrivateMemory) {
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

TEST_F(Carrier, TheBlockBeingReadIsNotWrittenOutFirst) {
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
