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
using BlockListMessages = StorageTest;

int32_t MemoryBlockWith(const std::vector<int16_t>& values) {
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

TEST_F(BlockListBudget, WritesOutTheTwoLeastRecentlyUsedOfSixAndKeepsFour) {
  Env().MemoryBudget = 10'000'000;
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
  // What was written out reads back.
  EXPECT_EQ(PeekSample(blocks[0], 1000), 1);
  EXPECT_EQ(PeekSample(blocks[1], 1000), 2);
  EXPECT_EQ(std::filesystem::file_size(TempFileTable[BlockTable[blocks[0]].FileRef].FileName),
            2u * 1'048'576u);
}

TEST_F(BlockListBudget, NeverWritesOutTheFourMostRecentlyUsed) {
  Env().MemoryBudget = 10'000'000;
  std::vector<int32_t> blocks;
  for (int i = 0; i < 4; ++i) blocks.push_back(NewBlock(2'000'000, BlockMemory));
  EXPECT_GT(MemoryInUse, Env().MemoryBudget);
  for (const int32_t block : blocks) EXPECT_EQ(BlockTable[block].Kind, BlockMemory);
  // Touching the oldest makes another one the least recently used.
  LoadBlock(blocks[0]);
  blocks.push_back(NewBlock(10, BlockMemory));
  EXPECT_EQ(BlockTable[blocks[0]].Kind, BlockMemory);
  EXPECT_EQ(BlockTable[blocks[1]].Kind, BlockFile);
}

TEST_F(BlockListBudget, MemoryInUseIsResynchronisedEveryHundredChecks) {
  Env().MemoryBudget = 10'000'000;
  for (int i = 0; i < 4; ++i) NewBlock(2'000'000, BlockMemory);
  const int64_t exact = MemoryInUse;
  MemoryInUse += 4444;
  EnforceMemoryBudget();
  EXPECT_EQ(MemoryInUse, exact + 4444);
  for (int i = 0; i < 99; ++i) EnforceMemoryBudget();
  EXPECT_EQ(MemoryInUse, exact);
}

TEST_F(BlockListBudget, FreeingAndCopyingKeepTheTotal) {
  const int32_t a = NewBlock(1000, BlockMemory);
  const int32_t b = CopyBlock(a);
  EXPECT_EQ(MemoryInUse, 4000);
  SaveBlockCopy(b);
  EXPECT_EQ(BlockTable[b].Kind, BlockMemFile);
  const int32_t c = CopyBlockRange(b, 101, 300);
  EXPECT_EQ(MemoryInUse, 4400);
  FreeBlock(a);
  FreeBlock(b);
  FreeBlock(c);
  EXPECT_EQ(MemoryInUse, 0);
  EXPECT_EQ(BlocksInUse(), 0);
}

TEST_F(BlockListSplit, AtTheStartOrOnePastTheEndCreatesNothing) {
  const int32_t block = NewBlock(100, BlockMemory);
  BlockTable[block].Start = 11;
  const int32_t before = BlocksInUse();
  int32_t head = -1;
  int32_t tail = -1;
  SplitBlock(block, 11, head, tail);
  SplitBlock(block, 111, head, tail);
  EXPECT_EQ(head, 0);
  EXPECT_EQ(tail, 0);
  EXPECT_EQ(BlocksInUse(), before);
  EXPECT_EQ(ui.Texts(), std::vector<std::string>(2, "Error - Could not brake a block"));
}

TEST_F(BlockListSplit, MemoryBlocksSplitIntoTwoCopies) {
  const auto values = SignalRun(0, 0, 100);
  const int32_t block = MemoryBlockWith(values);
  BlockTable[block].Start = 1001;
  int32_t head = 0;
  int32_t tail = 0;
  SplitBlock(block, 1031, head, tail);
  EXPECT_EQ(BlockTable[head].Kind, BlockMemory);
  EXPECT_EQ(BlockTable[head].Start, 1001);
  EXPECT_EQ(BlockTable[tail].Start, 1031);
  EXPECT_EQ(Peek(head), std::vector<int16_t>(values.begin(), values.begin() + 30));
  EXPECT_EQ(Peek(tail), std::vector<int16_t>(values.begin() + 30, values.end()));
  FreeBlock(block);
  EXPECT_EQ(MemoryInUse, 200);
}

TEST_F(BlockListSplit, FileBlocksShareTheirFileAtTheSplitOffset) {
  const auto values = SignalRun(0, 0, 100);
  const int32_t block = MemoryBlockWith(values);
  BlockTable[block].Start = 1;
  SaveBlockCopy(block);
  const int32_t slot = BlockTable[block].FileRef;
  int32_t head = 0;
  int32_t tail = 0;
  SplitBlock(block, 41, head, tail);
  EXPECT_EQ(BlockTable[head].Kind, BlockMemFile);
  EXPECT_EQ(BlockTable[tail].FileRef, slot);
  EXPECT_EQ(BlockTable[tail].FilePosition, 81);
  EXPECT_EQ(TempFileTable[slot].UseCount, 3);

  ASSERT_TRUE(SwapOutBlock(tail));
  int32_t tailHead = 0;
  int32_t tailTail = 0;
  SplitBlock(tail, 51, tailHead, tailTail);
  EXPECT_EQ(BlockTable[tailTail].Kind, BlockFile);
  EXPECT_EQ(BlockTable[tailTail].FilePosition, 101);
  EXPECT_EQ(Peek(tailTail), std::vector<int16_t>(values.begin() + 50, values.end()));
  EXPECT_EQ(Peek(tailHead), std::vector<int16_t>(values.begin() + 40, values.begin() + 50));
}

TEST_F(BlockListSplit, OriginalAndSilenceBlocksSplitWithoutLoading) {
  const auto samples = SignalRun(0, 0, 2000);
  const WavFile wav = WriteWav(folder.File("stereo.wav"), 2, 16, samples);
  BlockCarrBuffClass left;
  BlockCarrBuffClass right;
  DescribeWav(wav, 1000, left, right);
  std::vector<int32_t> rightBlocks;
  right.BuffBlocksGet(rightBlocks);
  int32_t head = 0;
  int32_t tail = 0;
  SplitBlock(rightBlocks[0], 401, head, tail);
  EXPECT_EQ(BlockTable[tail].Kind, BlockOrgFile);
  EXPECT_EQ(MemoryInUse, 0);
  std::vector<int16_t> expected;
  for (int i = 400; i < 1000; ++i) expected.push_back(samples[2 * i + 1]);
  EXPECT_EQ(Peek(tail), expected);

  const int32_t silence = NewBlock(500, BlockSilence);
  SplitBlock(silence, 200, head, tail);
  EXPECT_EQ(BlockTable[head].Kind, BlockSilence);
  EXPECT_EQ(BlockTable[tail].Length, 300);
  EXPECT_EQ(MemoryInUse, 0);
}

TEST_F(BlockListLoad, OneChannelOfAStereoPairFillsBothAndRemovesThePair) {
  const auto samples = SignalRun(0, 0, 2000);
  const WavFile wav = WriteWav(folder.File("stereo.wav"), 2, 16, samples);
  BlockCarrBuffClass left;
  BlockCarrBuffClass right;
  DescribeWav(wav, 1000, left, right);
  std::vector<int32_t> l;
  std::vector<int32_t> r;
  left.BuffBlocksGet(l);
  right.BuffBlocksGet(r);
  ASSERT_EQ(ChannelPairTable.size(), 2u);
  LoadBlock(l[0]);
  EXPECT_EQ(BlockTable[l[0]].Kind, BlockMemory);
  EXPECT_EQ(BlockTable[r[0]].Kind, BlockMemory);
  EXPECT_EQ(ChannelPairTable.size(), 1u);
  EXPECT_EQ(MemoryInUse, 4000);
  EXPECT_EQ(OrgFileTable[1].UseCount, 0);
  // The right block needs the file no more.
  std::filesystem::remove(wav.path);
  std::vector<int16_t> expected;
  for (int i = 0; i < 1000; ++i) expected.push_back(samples[2 * i + 1]);
  EXPECT_EQ(right.WaveLR(1000), expected[999]);
  EXPECT_EQ(BlockTable[r[0]].Data, expected);
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(BlockListLoad, UnpairedStereoAndEightBitBlocksReadTheirOwnChannel) {
  std::vector<int16_t> samples;
  for (int i = 0; i < 600; ++i) samples.push_back(static_cast<int16_t>(i % 256 - 128));
  const WavFile wav = WriteWav(folder.File("eight.wav"), 2, 8, samples);
  BlockCarrBuffClass left;
  BlockCarrBuffClass right;
  DescribeWav(wav, 300, left, right);
  ChannelPairTable.resize(1);
  std::vector<int32_t> r;
  right.BuffBlocksGet(r);
  LoadBlock(r[0]);
  std::vector<int16_t> expected;
  for (int i = 0; i < 300; ++i) expected.push_back(samples[2 * i + 1]);
  EXPECT_EQ(BlockTable[r[0]].Data, expected);
  std::vector<int32_t> l;
  left.BuffBlocksGet(l);
  EXPECT_EQ(BlockTable[l[0]].Kind, BlockOrgFile);
  EXPECT_EQ(PeekSample(l[0], 3), samples[4]);
}

TEST_F(BlockListLoad, MakeBlockWritableDetachesFromTheTemporaryFile) {
  const int32_t block = MemoryBlockWith(SignalRun(0, 0, 50));
  SaveBlockCopy(block);
  const int32_t slot = BlockTable[block].FileRef;
  ASSERT_TRUE(SwapOutBlock(block));
  EXPECT_EQ(MemoryInUse, 0);
  MakeBlockWritable(block);
  EXPECT_EQ(BlockTable[block].Kind, BlockMemory);
  EXPECT_EQ(BlockTable[block].FileRef, 0);
  EXPECT_EQ(TempFileTable[slot].UseCount, 0);
  EXPECT_EQ(BlockTable[block].Data, SignalRun(0, 0, 50));

  const int32_t silence = NewBlock(20, BlockSilence);
  MakeBlockWritable(silence);
  EXPECT_EQ(BlockTable[silence].Kind, BlockMemory);
  EXPECT_EQ(MemoryInUse, 140);
}

TEST_F(BlockListLoad, PeekingAFileBlockChangesNothing) {
  const int32_t block = MemoryBlockWith(SignalRun(1, 0, 64));
  ASSERT_TRUE(SwapOutBlock(block));
  const uint32_t stamp = BlockTable[block].UseStamp;
  EXPECT_EQ(PeekSample(block, 11), Signal(1, 10));
  EXPECT_EQ(BlockTable[block].Kind, BlockFile);
  EXPECT_EQ(BlockTable[block].UseStamp, stamp);
  EXPECT_EQ(MemoryInUse, 0);
}

TEST_F(BlockListFiles, FreeingTheLastBlockOfAFileInTheTemporaryFolderDeletesIt) {
  const WavFile inside = WriteWav(folder.File("decoded.wav"), 1, 16, SignalRun(0, 0, 100));
  const WavFile elsewhere = WriteWav(outside.File("track.wav"), 1, 16, SignalRun(0, 0, 100));
  {
    BlockCarrBuffClass a, b, c, d;
    DescribeWav(inside, 60, a, b);
    DescribeWav(elsewhere, 60, c, d);
  }
  EXPECT_FALSE(std::filesystem::exists(inside.path));
  EXPECT_TRUE(std::filesystem::exists(elsewhere.path));
  // Nothing was read on the way out.
  EXPECT_EQ(MemoryInUse, 0);
  EXPECT_EQ(BlocksInUse(), 0);
  EXPECT_TRUE(OrgFileTable[1].FileName.empty());
  EXPECT_TRUE(OrgFileTable[2].FileName.empty());
}

TEST_F(BlockListFiles, ReleasingAFileByNameLoadsItsBlocks) {
  const WavFile wav = WriteWav(outside.File("Track.wav"), 1, 16, SignalRun(0, 0, 100));
  BlockCarrBuffClass left;
  BlockCarrBuffClass right;
  DescribeWav(wav, 30, left, right);
  ReleaseOriginalFileByName(outside.File("TRACK.WAV"));
  std::vector<int32_t> blocks;
  left.BuffBlocksGet(blocks);
  for (const int32_t block : blocks) EXPECT_EQ(BlockTable[block].Kind, BlockMemory);
  EXPECT_TRUE(OrgFileTable[1].FileName.empty());
  std::filesystem::remove(wav.path);
  EXPECT_EQ(CarrierSamples(left), SignalRun(0, 0, 100));
}

TEST_F(BlockListFiles, RegisteringReusesAnUnusedEntryAndDeletesItsTemporaryFile) {
  const std::string decoded = folder.Write("tm900.wav", "x");
  const int32_t first = RegisterOriginalFile(decoded, 1, 16);
  const int32_t second = RegisterOriginalFile(outside.File("b.wav"), 2, 8);
  EXPECT_EQ(first, second);
  EXPECT_FALSE(std::filesystem::exists(decoded));
  EXPECT_EQ(OrgFileTable[second].Channels, 2);
  EXPECT_EQ(OriginalFrameBytes(second), 2);
}

TEST_F(BlockListFiles, UnusedTemporaryFilesAreDeletedAndSlotsReused) {
  const int32_t a = MemoryBlockWith(SignalRun(0, 0, 10));
  const int32_t b = MemoryBlockWith(SignalRun(0, 0, 10));
  SaveBlockCopy(a);
  SaveBlockCopy(b);
  EXPECT_EQ(TempFilesOnDisk(), 2);
  const int32_t slotA = BlockTable[a].FileRef;
  FreeBlock(a);
  ReleaseUnusedFiles();
  EXPECT_EQ(TempFilesOnDisk(), 1);
  EXPECT_EQ(NewTempFileSlot(), slotA);
  ReleaseAllFiles();
  EXPECT_EQ(TempFilesOnDisk(), 0);
}

TEST_F(BlockListDescriptor, SilenceIsDescribedByABlankNameAndComesBackAlike) {
  const int32_t silence = NewBlock(777, BlockSilence);
  BlockTable[silence].Start = 5;
  const auto descriptor = BlocksToDescriptor({silence});
  const std::vector<int32_t> expected{10, 1, 2, 1, ' ', 777, 5, 5, 0, 0, 0};
  EXPECT_EQ(descriptor, expected);
  const auto blocks = DescriptorToBlocks(descriptor, false);
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(BlockTable[blocks[0]].Kind, BlockSilence);
  EXPECT_EQ(BlockTable[blocks[0]].Length, 777);
  EXPECT_EQ(BlockTable[blocks[0]].Start, 5);
}

TEST_F(BlockListDescriptor, NamesArePackedFourBytesToAnElement) {
  const int32_t shortName = RegisterOriginalFile("ab", 2, 16);
  OrgFileTable[shortName].UseCount = 1;
  const int32_t longName = RegisterOriginalFile("abcdef", 1, 8);
  OrgFileTable[longName].UseCount = 1;
  const int32_t first = NewBlock(100, BlockSilence);
  BlockTable[first].FileRef = shortName;
  BlockTable[first].FilePosition = 447;
  BlockTable[first].Start = 1;
  BlockTable[first].Kind = BlockOrgFile;
  const int32_t second = NewBlock(30, BlockSilence);
  BlockTable[second].FileRef = longName;
  BlockTable[second].FilePosition = 45;
  BlockTable[second].Start = 101;
  BlockTable[second].Kind = BlockOrgFile;
  const int32_t abcd = 'a' | ('b' << 8) | ('c' << 16) | ('d' << 24);
  // "ab": 2 / 4 + 2 = 2.5 gives 2; "abcdef": 3.5 gives 4 (halves to even).
  const std::vector<int32_t> expected{21,
                                      2,  //
                                      2,
                                      2,
                                      'a' | ('b' << 8),  //
                                      100,
                                      4,
                                      1,
                                      447,
                                      2,
                                      16,  //
                                      4,
                                      6,
                                      abcd,
                                      'e' | ('f' << 8),
                                      0,  //
                                      30,
                                      4,
                                      101,
                                      45,
                                      1,
                                      8};
  EXPECT_EQ(BlocksToDescriptor({first, second}), expected);
}

TEST_F(BlockListDescriptor, FileBlocksComeBackOnTheSameFiles) {
  const WavFile wav = WriteWav(outside.File("x.wav"), 2, 16, SignalRun(0, 0, 400));
  BlockCarrBuffClass left;
  BlockCarrBuffClass right;
  DescribeWav(wav, 100, left, right);
  std::vector<int32_t> blocks;
  left.BuffBlocksGet(blocks);
  const int32_t temp = MemoryBlockWith(SignalRun(1, 0, 30));
  SaveBlockCopy(temp);
  blocks.push_back(temp);
  const auto copies = DescriptorToBlocks(BlocksToDescriptor(blocks), false);
  ASSERT_EQ(copies.size(), 3u);
  EXPECT_EQ(BlockTable[copies[0]].FileRef, BlockTable[blocks[0]].FileRef);
  EXPECT_EQ(OrgFileTable[1].UseCount, 6);
  EXPECT_EQ(BlockTable[copies[2]].Kind, BlockFile);
  EXPECT_EQ(TempFileTable[BlockTable[temp].FileRef].UseCount, 2);
  EXPECT_EQ(Peek(copies[1]), Peek(blocks[1]));
  EXPECT_EQ(Peek(copies[2]), SignalRun(1, 0, 30));
}

TEST_F(BlockListDescriptor, TakingOverLeavesNoDependenceOnForeignFiles) {
  // Files described by another editor: kept on disk, no longer needed afterwards.
  const WavFile wav = WriteWav(outside.File("other.wav"), 1, 16, SignalRun(0, 0, 100));
  BlockCarrBuffClass left;
  BlockCarrBuffClass right;
  DescribeWav(wav, 100, left, right);
  std::vector<int32_t> blocks;
  left.BuffBlocksGet(blocks);
  auto descriptor = BlocksToDescriptor(blocks);
  left = BlockCarrBuffClass();
  ReleaseUnusedFiles();
  const auto taken = DescriptorToBlocks(descriptor, true);
  ASSERT_EQ(taken.size(), 1u);
  EXPECT_EQ(BlockTable[taken[0]].Kind, BlockMemory);
  EXPECT_EQ(BlockTable[taken[0]].Data, SignalRun(0, 0, 100));
  EXPECT_TRUE(OrgFileTable[1].FileName.empty());
  EXPECT_TRUE(std::filesystem::exists(wav.path));
}

TEST_F(BlockListDescriptor, UnknownKindsAndMemoryBlocksAreReported) {
  const int32_t memory = NewBlock(10, BlockMemory);
  auto descriptor = BlocksToDescriptor({memory});
  EXPECT_EQ(ui.Texts().back(), "Error - Block should be written to file before converting");
  descriptor[6] = 7;
  const auto blocks = DescriptorToBlocks(descriptor, false);
  EXPECT_EQ(ui.Texts().back(), "Error - Block type can not be converted to Block");
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(BlockTable[blocks[0]].Length, 10);
  // A damaged descriptor gives what is whole and nothing else.
  descriptor.resize(5);
  EXPECT_TRUE(DescriptorToBlocks(descriptor, false).empty());
}

TEST_F(BlockListFaults, AVanishedTemporaryFileReadsAsSilenceWithOneMessage) {
  const int32_t a = MemoryBlockWith(SignalRun(0, 0, 100));
  SaveBlockCopy(a);
  int32_t head = 0;
  int32_t tail = 0;
  SplitBlock(a, 51, head, tail);
  FreeBlock(a);
  ASSERT_TRUE(SwapOutBlock(head));
  ASSERT_TRUE(SwapOutBlock(tail));
  const std::string name = TempFileTable[BlockTable[head].FileRef].FileName;
  ASSERT_EQ(::truncate(name.c_str(), 60), 0);  // 30 samples of the head survive
  EXPECT_EQ(PeekSample(tail, 60), 0);
  LoadBlock(head);
  EXPECT_EQ(BlockTable[head].Kind, BlockMemory);
  std::vector<int16_t> expected = SignalRun(0, 0, 30);
  expected.resize(50, 0);
  EXPECT_EQ(BlockTable[head].Data, expected);
  std::filesystem::remove(name);
  LoadBlock(tail);
  EXPECT_EQ(BlockTable[tail].Data, std::vector<int16_t>(50, 0));
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_NE(ui.messages[0].text.find(name), std::string::npos);
  EXPECT_EQ(ui.messages[0].text.rfind("Error - ", 0), 0u);
}

TEST_F(BlockListFaults, AVanishedOriginalFileReadsAsSilence) {
  const WavFile wav = WriteWav(outside.File("gone.wav"), 2, 16, SignalRun(0, 0, 400));
  BlockCarrBuffClass left;
  BlockCarrBuffClass right;
  DescribeWav(wav, 200, left, right);
  std::filesystem::remove(wav.path);
  std::vector<int16_t> quick(11, 9);
  left.QuickBuffGet(1, quick);
  EXPECT_EQ(quick, std::vector<int16_t>({9, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(right.WaveLR(150), 0);
  EXPECT_EQ(CarrierSamples(left), std::vector<int16_t>(200, 0));
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_NE(ui.messages[0].text.find(wav.path), std::string::npos);
}

TEST_F(BlockListFaults, AFailedWriteOutKeepsTheBlockInMemory) {
  const int32_t block = MemoryBlockWith(SignalRun(0, 0, 1000));
  // The next temporary name leads to a device that is always full.
  const std::string next = folder.File("tm" + std::to_string(Env().TempNameCounter + 1) + ".tmp");
  std::filesystem::create_symlink("/dev/full", next);
  EXPECT_FALSE(SwapOutBlock(block));
  EXPECT_EQ(BlockTable[block].Kind, BlockMemory);
  EXPECT_EQ(BlockTable[block].Data, SignalRun(0, 0, 1000));
  EXPECT_EQ(MemoryInUse, 2000);
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_NE(ui.messages[0].text.find(next), std::string::npos);
  // Once space is back the block goes out as usual.
  EXPECT_TRUE(SwapOutBlock(block));
  EXPECT_EQ(PeekSample(block, 1000), Signal(0, 999));
}

TEST_F(BlockListFaults, AMissingSessionFolderKeepsBudgetBlocksInMemory) {
  Env().SessionFolder = folder.File("missing");
  Env().MemoryBudget = 1000;
  std::vector<int32_t> blocks;
  for (int i = 0; i < 6; ++i) blocks.push_back(MemoryBlockWith(SignalRun(i, 0, 400)));
  for (int i = 0; i < 6; ++i) EXPECT_EQ(BlockTable[blocks[i]].Data, SignalRun(i, 0, 400));
  EXPECT_EQ(ui.messages.size(), 1u);
}

TEST_F(BlockListMessages, ImpossibleRequestsAreReported) {
  EXPECT_EQ(NewBlock(10, BlockFree), 0);
  EXPECT_EQ(NewBlock(10, BlockOrgFile), 0);
  EXPECT_EQ(NewBlock(10, BlockMemFile), 0);
  const int32_t block = NewBlock(10, BlockSilence);
  FreeBlock(block);
  EXPECT_EQ(CopyBlock(block), 0);
  LoadBlock(block);
  EXPECT_FALSE(SwapOutBlock(block));
  std::vector<int16_t> out;
  ReadBlockRange(block, 0, 0, out);
  EXPECT_EQ(ui.Texts(),
            (std::vector<std::string>{
                "Error - can not make free block",
                "Error - Can not create buffer block in both (memory and file) or in Orgfile",
                "Error - Can not create buffer block in both (memory and file) or in Orgfile",
                "Error - free block can not be copied",
                "Error - Free block can not be copied to buffer",
                "Error - Free block can not be written to file",
                "Error - A block can not be read for quick buffer",
            }));
  EXPECT_EQ(BlocksInUse(), 0);
}

}  // namespace
}  // namespace quorvane::testing
