#include "formats/WaveChunks.h"

#include <gtest/gtest.h>

#include "tests/support/TempFolder.h"
#include "tests/support/WaveBuilder.h"

namespace quorvane {
namespace {

using testing::Chunk;

class FindChunkTest : public ::testing::Test {
 protected:
  // Opens the bytes as a file and searches as the reader does: from 12 over R - 12 bytes.
  ChunkPlace Find(const std::string& bytes, const std::string& id) {
    file = BinaryFile(folder.Write("t.wav", bytes), BinaryFile::Mode::Read);
    const int64_t riffSize = file.ReadInt32(4);
    return FindChunk(id, file, 12, riffSize - 12);
  }
  testing::TempFolder folder;
  BinaryFile file;
};

TEST_F(FindChunkTest, FindsChunksInAnyOrderAndCase) {
  const std::string bytes =
      testing::RiffFile({{"LIST", std::string(26, 'i'), {}},
                         {"Fmt ", testing::FormatChunkData(1, 1, 8000, 8), {}},
                         {"DATA", std::string(12, 'd'), {}}});
  const ChunkPlace format = Find(bytes, "fmt ");
  EXPECT_EQ(format.DataOffset, 12 + 8 + 26 + 8);
  EXPECT_EQ(format.DataSize, 16);
  const ChunkPlace data = Find(bytes, "data");
  EXPECT_EQ(data.DataOffset, 12 + 8 + 26 + 8 + 16 + 8);
  EXPECT_EQ(data.DataSize, 12);
  EXPECT_FALSE(Find(bytes, "fact").Found());
}

TEST_F(FindChunkTest, ALastChunkNeedsTenBytesOfTheSearchRange) {
  const auto file = [](int dataBytes) {
    return testing::PcmWave(1, 8000, 8, std::vector<int16_t>(static_cast<size_t>(dataBytes), 0));
  };
  EXPECT_FALSE(Find(file(9), "data").Found());
  const ChunkPlace ten = Find(file(10), "data");
  EXPECT_EQ(ten.DataOffset, 44);
  EXPECT_EQ(ten.DataSize, 10);
}

TEST_F(FindChunkTest, AnOddChunkShiftsTheWalkWithoutAPadByte) {
  const std::string bytes =
      testing::RiffFile({{"fmt ", testing::FormatChunkData(1, 1, 8000, 8), {}},
                         {"odd ", std::string("123\0", 4), 3},  // with the pad byte a writer adds
                         {"data", std::string(40, 'd'), {}}});
  EXPECT_TRUE(Find(bytes, "fmt ").Found());
  EXPECT_FALSE(Find(bytes, "data").Found());
}

TEST_F(FindChunkTest, SizesOutsideTheRangeTakeTheRestOfTheRange) {
  // A data size of 0, as an interrupted recording leaves it, or one beyond the range.
  std::string bytes = testing::RiffFile(
      {{"fmt ", testing::FormatChunkData(1, 1, 8000, 8), {}}, {"data", std::string(100, 'd'), 0}});
  ChunkPlace data = Find(bytes, "data");
  EXPECT_EQ(data.DataOffset, 44);
  const int64_t riffSize = static_cast<int64_t>(bytes.size()) - 8;
  EXPECT_EQ(data.DataSize, (12 + riffSize - 12 - 1) - 44 + 1);

  bytes = testing::RiffFile({{"fmt ", testing::FormatChunkData(1, 1, 8000, 8), {}},
                             {"data", std::string(100, 'd'), 100000}});
  EXPECT_EQ(Find(bytes, "data").DataSize, data.DataSize);
}

TEST_F(FindChunkTest, AWalkThatDoesNotMoveForwardEndsAsNotFound) {
  const std::string bytes =
      testing::RiffFile({{"junk", std::string(8, 'j'), -8}, {"data", std::string(40, 'd'), {}}});
  EXPECT_FALSE(Find(bytes, "data").Found());
  const std::string backwards =
      testing::RiffFile({{"junk", std::string(8, 'j'), -100}, {"data", std::string(40, 'd'), {}}});
  EXPECT_FALSE(Find(backwards, "data").Found());
  // A huge size jumps past the end of the range.
  const std::string huge = testing::RiffFile(
      {{"junk", std::string(8, 'j'), 0x7FFFFFF0}, {"data", std::string(40, 'd'), {}}});
  EXPECT_FALSE(Find(huge, "data").Found());
}

TEST_F(FindChunkTest, TheWalkEndsAtTheEndOfTheFileWhateverTheRange) {
  // A range of 2 GB, and a chunk whose size leads past the end of the file: beyond it
  // nothing can be found, however many bytes the range still has.
  const std::string bytes = testing::RiffFile(
      {{"fmt ", testing::FormatChunkData(1, 1, 8000, 8), {}}, {"junk", std::string(8, 'j'), 4096}},
      0x7FFFFFFF);
  EXPECT_FALSE(Find(bytes, "data").Found());
  EXPECT_EQ(Find(bytes, "fmt ").DataOffset, 20);
  // At the very end: an id whose last byte is the file's last is still found (its size
  // reads as 0, so the chunk takes the rest of the range); three bytes of one are not.
  const std::string whole = testing::RiffFile(
      {{"fmt ", testing::FormatChunkData(1, 1, 8000, 8), {}}, {"junk", std::string(8, 'j'), {}}},
      0x7FFFFFFF);
  EXPECT_EQ(Find(whole + "data", "data").DataOffset, static_cast<int64_t>(whole.size()) + 8);
  EXPECT_FALSE(Find(whole + "dat", "data").Found());
}

TEST(CanonicalWaveHeader, DescribesThePcmLayout) {
  const auto header = CanonicalWaveHeader(2, 44100, 16, 3);
  const std::string bytes(header.begin(), header.end());
  const std::string expected = "RIFF" + testing::Le32(12 + 36) + "WAVEfmt " + testing::Le32(16) +
                               testing::FormatChunkData(1, 2, 44100, 16) + "data" +
                               testing::Le32(12);
  EXPECT_EQ(bytes, expected);
  const auto odd = CanonicalWaveHeader(1, 8000, 8, 7);
  EXPECT_EQ(std::string(odd.begin() + 40, odd.end()), testing::Le32(7));
  EXPECT_EQ(std::string(odd.begin() + 4, odd.begin() + 8), testing::Le32(43));
}

}  // namespace
}  // namespace quorvane
