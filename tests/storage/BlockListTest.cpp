// The block list (blocks in memory, in temporary files and in source files, under the
// memory budget) and the carriers that hold runs of blocks.
#include "storage/BlockCarrBuffClass.h"
#include "storage/BlockList.h"
#include "storage/BlockListParts.h"
#include "storage/BlockWriteBehind.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "core/Environment.h"
#include "tests/storage/StorageFixtures.h"

namespace quorvane::testing {
namespace {

using BlockList = StorageTest;
using Carrier = StorageTest;

// The name the next temporary block file gets, made a link to a device that is always full.
std::string FullDeviceAtNextTempName(const TempFolder& session) {
  const std::string next = session.File("tm" + std::to_string(Env().TempNameCounter + 1) + ".tmp");
  std::filesystem::create_symlink("/dev/full", next);
  return next;
}

TEST_F(BlockList, BudgetWritesOutTheLeastRecentlyUsedButKeepsTheFourMostRecent) {
  std::vector<int32_t> blocks;
  for (int i = 0; i < 6; ++i) {
    blocks.push_back(NewBlock(1'048'576, BlockMemory));
    BlockTable[blocks.back()].Data[1000] = static_cast<int16_t>(i + 1);
  }
  for (int i = 0; i < 6; ++i)
    EXPECT_EQ(BlockTable[blocks[i]].Kind, i < 2 ? BlockFile : BlockMemory);
  EXPECT_EQ(ResidentBytes, 4 * 2 * 1'048'576);
  EXPECT_EQ(TempFilesOnDisk(), 2);
  EXPECT_EQ(PeekSample(blocks[1], 1000), 2);
  // Four blocks that are over the budget on their own stay.
  for (int i = 0; i < 4; ++i) blocks.push_back(NewBlock(2'000'000, BlockMemory));
  for (int i = 0; i < 10; ++i)
    EXPECT_EQ(BlockTable[blocks[i]].Kind, i < 6 ? BlockFile : BlockMemory);
  EXPECT_EQ(ResidentBytes, 16'000'000);
  // The total is kept as it goes and recomputed on every hundredth check over budget.
  ResidentBytes += 4444;
  EnforceMemoryBudget();
  EXPECT_EQ(ResidentBytes, 16'004'444);
  for (int i = 0; i < 99; ++i) EnforceMemoryBudget();
  EXPECT_EQ(ResidentBytes, 16'000'000);
}

TEST_F(BlockList, ASourceBlockLoadsWithItsPairAndSplitsOfSourceOrSilenceReadNothing) {
  const auto samples = SignalRun(0, 0, 4000);
  BlockCarrBuffClass left, right;
  DescribeWav(files.File("s.wav"), 2, 16, samples, 1000, left, right);
  LoadBlock(BlocksOf(left)[0]);
  EXPECT_EQ(ChannelPairTable.size(), 2u);  // the loaded pair is gone
  EXPECT_EQ(ResidentBytes, 4000);
  int32_t head = 0, tail = 0;
  SplitBlock(BlocksOf(right)[1], 1401, head, tail);
  EXPECT_EQ(BlockTable[tail].Kind, BlockOrgFile);
  EXPECT_EQ(PeekSample(tail, 1401), samples[2 * 1400 + 1]);
  SplitBlock(NewBlock(500, BlockSilence), 200, head, tail);
  EXPECT_EQ(BlockTable[tail].Kind, BlockSilence);
  EXPECT_EQ(BlockTable[tail].Length, 300);
  EXPECT_EQ(ResidentBytes, 4000);
  std::filesystem::remove(files.File("s.wav"));  // the right block needs it no more
  EXPECT_EQ(BlockTable[BlocksOf(right)[0]].Kind, BlockMemory);
  EXPECT_EQ(right.WaveLR(1000), samples[1999]);
  // Eight-bit stereo, unpaired: each block reads its own channel, minus 128.
  const auto eight = EightBitPattern(600);
  BlockCarrBuffClass eightLeft, eightRight;
  DescribeWav(files.File("e.wav"), 2, 8, eight, 300, eightLeft, eightRight);
  ChannelPairTable.resize(1);
  LoadBlock(BlocksOf(eightRight)[0]);
  EXPECT_EQ(BlockTable[BlocksOf(eightRight)[0]].Data[10], eight[21]);
  EXPECT_EQ(BlockTable[BlocksOf(eightLeft)[0]].Kind, BlockOrgFile);
  EXPECT_EQ(PeekSample(BlocksOf(eightLeft)[0], 3), eight[4]);
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(BlockList, FilesGoWithTheirLastBlockOnlyFromTheSessionFolderAndReleasedByNameLoad) {
  {
    BlockCarrBuffClass a, b, c, d;
    DescribeWav(session.File("decoded.wav"), 1, 16, SignalRun(0, 0, 100), 60, a, b);
    DescribeWav(files.File("track.wav"), 1, 16, SignalRun(0, 0, 100), 60, c, d);
  }
  EXPECT_FALSE(std::filesystem::exists(session.File("decoded.wav")));
  EXPECT_TRUE(std::filesystem::exists(files.File("track.wav")));
  EXPECT_TRUE(OrgFileTable[1].FileName.empty());
  EXPECT_EQ(ResidentBytes, 0);  // nothing was read on the way out
  EXPECT_EQ(BlocksInUse(), 0);
  // Released by its name in any case, a file lets go of its blocks, loaded.
  BlockCarrBuffClass left, right;
  DescribeWav(files.File("Track.wav"), 1, 16, SignalRun(0, 0, 100), 30, left, right);
  ReleaseOriginalFileByName(files.File("TRACK.WAV"));
  for (const auto& entry : OrgFileTable) EXPECT_TRUE(entry.FileName.empty());
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
    EXPECT_EQ(ResidentBytes, 0);
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

TEST_F(BlockList, DescriptorsPackNamesFourBytesToAnElementAndSilenceAsABlankName) {
  const int32_t silence = NewBlock(777, BlockSilence);
  BlockTable[silence].Start = 5;
  const auto descriptor = BlocksToDescriptor({silence});
  EXPECT_EQ(descriptor, (std::vector<int32_t>{10, 1, 2, 1, ' ', 777, 5, 5, 0, 0, 0}));
  EXPECT_EQ(BlocksToDescriptor(DescriptorToBlocks(descriptor, false)), descriptor);
  EXPECT_TRUE(ui.messages.empty());  // read back as memory, it would be reported on the way out
  std::vector<int32_t> named;
  for (const char* name : {"ab", "abcdef"}) {
    named.push_back(AddOriginalFileRun(RegisterOriginalFile(name, 2, 16), 45, 1, 30));
  }
  // "ab": 2 / 4 + 2 = 2.5 gives 2; "abcdef": 3.5 gives 4 (halves to even).
  const int32_t abcd = 'a' | ('b' << 8) | ('c' << 16) | ('d' << 24);
  EXPECT_EQ(BlocksToDescriptor(named),
            (std::vector<int32_t>{21, 2, 2, 2,    'a' | ('b' << 8), 30, 4,  1, 45, 2,
                                  16, 4, 6, abcd, 'e' | ('f' << 8), 0,  30, 4, 1,  45,
                                  2,  16}));
}

// The clipboard takes described blocks over, so that they no longer lean on files another
// editor may delete.
TEST_F(BlockList, DescribedFileBlocksAreTakenOverIntoMemory) {
  BlockCarrBuffClass left, right;
  DescribeWav(files.File("x.wav"), 2, 16, Interleave(SignalRun(0, 0, 200), SignalRun(1, 0, 200)),
              200, left, right);
  const int32_t temp = MemoryBlock(SignalRun(2, 0, 30));
  SaveBlockCopy(temp);
  const auto descriptor = BlocksToDescriptor({temp, BlocksOf(right)[0]});
  left = BlockCarrBuffClass();
  right = BlockCarrBuffClass();
  FreeBlock(temp);
  const auto taken = DescriptorToBlocks(descriptor, true);
  EXPECT_EQ(BlockTable[taken[0]].Data, SignalRun(2, 0, 30));
  EXPECT_EQ(BlockTable[taken[1]].Data, SignalRun(1, 0, 200));
  EXPECT_TRUE(TempFileTable[1].FileName.empty());
  EXPECT_TRUE(OrgFileTable[1].FileName.empty());
  EXPECT_TRUE(std::filesystem::exists(files.File("x.wav")));
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(BlockList, FaultVanishedFilesReadAsSilenceWithOneMessageEach) {
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
  EXPECT_EQ(BlockTable[head].Data, Joined({SignalRun(0, 0, 30), Zeros(20)}));
  EXPECT_EQ(BlockTable[head].Kind, BlockMemory);
  std::filesystem::remove(name);
  LoadBlock(tail);
  EXPECT_EQ(BlockTable[tail].Data, Zeros(50));
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_NE(ui.messages[0].text.find(name), std::string::npos);
  EXPECT_EQ(ui.messages[0].text.rfind("Error - ", 0), 0u);
  // A source file.
  BlockCarrBuffClass left, right;
  DescribeWav(files.File("gone.wav"), 2, 16, SignalRun(0, 0, 400), 200, left, right);
  std::filesystem::remove(files.File("gone.wav"));
  std::vector<int16_t> quick(4, 9);
  left.QuickBuffGet(1, quick);
  EXPECT_EQ(quick, (std::vector<int16_t>{9, 0, 0, 0}));
  EXPECT_EQ(CarrierSamples(right), Zeros(200));
  ASSERT_EQ(ui.messages.size(), 2u);
  EXPECT_NE(ui.messages[1].text.find(files.File("gone.wav")), std::string::npos);
}

TEST_F(BlockList, FaultAFailedWriteOutKeepsTheBlockInMemory) {
  const int32_t block = MemoryBlock(SignalRun(0, 0, 1000));
  const std::string next = FullDeviceAtNextTempName(session);
  EXPECT_FALSE(SwapOutBlock(block));
  EXPECT_EQ(BlockTable[block].Kind, BlockMemory);
  EXPECT_EQ(BlockTable[block].Data, SignalRun(0, 0, 1000));
  EXPECT_EQ(ResidentBytes, 2000);
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_NE(ui.messages[0].text.find(next), std::string::npos);
  EXPECT_TRUE(SwapOutBlock(block));  // space is back
  EXPECT_EQ(PeekSample(block, 1000), Signal(0, 999));
  // Behind a pass the failure shows when the write is settled: the block, and a copy loaded
  // meanwhile from the samples in hand, are memory blocks again with their samples.
  const std::string behind = FullDeviceAtNextTempName(session);
  const int32_t other = MemoryBlock(SignalRun(1, 0, 1000));
  int32_t loaded = 0;
  {
    const BlockWriteBehind writingBehind;
    EXPECT_TRUE(SwapOutBlock(other));
    loaded = CopyBlock(other);
    LoadBlock(loaded);
    EXPECT_EQ(BlockTable[loaded].Data, SignalRun(1, 0, 1000));
  }
  for (const int32_t each : {other, loaded}) {
    EXPECT_EQ(BlockTable[each].Kind, BlockMemory);
    EXPECT_EQ(BlockTable[each].Data, SignalRun(1, 0, 1000));
  }
  ASSERT_EQ(ui.messages.size(), 2u);
  EXPECT_NE(ui.messages[1].text.find(behind), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(behind)));
}

TEST_F(BlockList, FaultImpossibleRequestsAreReported) {
  // Splitting at the start or one past the end creates nothing.
  const int32_t whole = MemoryBlock(SignalRun(0, 0, 100));
  int32_t head = -1, tail = -1;
  SplitBlock(whole, 1, head, tail);
  SplitBlock(whole, 101, head, tail);
  EXPECT_EQ(head, 0);
  EXPECT_EQ(tail, 0);
  EXPECT_EQ(BlocksInUse(), 1);
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
                "Error - Could not brake a block",
                "Error - Could not brake a block",
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

TEST_F(Carrier, GrowingAppendsSilenceOfTheBlockSizeShrinkingCutsAndZeroIsRefused) {
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
  EXPECT_EQ(ResidentBytes, 0);
  carrier.ReDimSize(0);
  EXPECT_EQ(carrier.WaveINos, 1'000'000);
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_EQ(ui.messages[0].text, "Error:\r\nCan not create buffer with zero size");
  EXPECT_EQ(ui.messages[0].caption, "Timeline Audio Editor");
  // Shrinking inside the second block keeps the first and frees the rest.
  BlockCarrBuffClass values = CarrierOf(SignalRun(0, 0, 300), 100);
  const auto before = BlocksOf(values);
  values.ReDimSize(150);
  const auto after = BlocksOf(values);
  ASSERT_EQ(after.size(), 2u);
  EXPECT_EQ(after[0], before[0]);
  EXPECT_EQ(BlockTable[after[1]].Length, 50);
  EXPECT_EQ(BlocksInUse(), 2 + 2);
  EXPECT_EQ(CarrierSamples(values), SignalRun(0, 0, 150));
}

TEST_F(Carrier, QuickReadsAndPeeksLeaveAFileBlockReadingLoadsItAndWritingMakesItPrivateMemory) {
  BlockCarrBuffClass carrier = CarrierOf(SignalRun(0, 0, 300), 100);
  const int32_t block = BlocksOf(carrier)[1];
  SaveBlockCopy(block);
  const int32_t slot = BlockTable[block].FileRef;
  ASSERT_TRUE(SwapOutBlock(block));
  // A quick read fills from the second element to the end.
  std::vector<int16_t> quick(301, 7);
  carrier.QuickBuffGet(51, quick);
  EXPECT_EQ(quick, Joined({{7}, SignalRun(0, 50, 250), std::vector<int16_t>(50, 7)}));
  EXPECT_EQ(PeekSample(block, 111), Signal(0, 110));
  EXPECT_EQ(BlockTable[block].Kind, BlockFile);
  EXPECT_EQ(ResidentBytes, 400);  // the other two blocks'
  EXPECT_EQ(carrier.WaveLR(105), Signal(0, 104));
  EXPECT_EQ(BlockTable[block].Kind, BlockMemFile);
  carrier.WaveLR(105, 1234);
  EXPECT_EQ(BlockTable[block].Kind, BlockMemory);
  EXPECT_EQ(TempFileTable[slot].UseCount, 0);
  EXPECT_EQ(CarrierSamples(carrier),
            Joined({SignalRun(0, 0, 104), {1234}, SignalRun(0, 105, 195)}));
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
