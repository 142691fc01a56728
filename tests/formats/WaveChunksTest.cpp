#include "formats/WaveChunks.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/support/TempFolder.h"
#include "tests/support/WaveBuilder.h"

namespace quorvane {
namespace {

using testing::FormatChunkData;
using testing::RiffFile;

// Chunks in any order with ids in any case are the reader's own test; a chunk size that
// leads past the end of the file is a fuzz-found input the reader's fuzz-input test loads.
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
  const std::string format = FormatChunkData(1, 1, 8000, 8);
};

TEST_F(FindChunkTest, ALastChunkNeedsTenBytesOfTheSearchRange) {
  EXPECT_FALSE(Find(testing::PcmWave(1, 8000, 8, std::vector<int16_t>(9)), "data").Found());
  const ChunkPlace ten = Find(testing::PcmWave(1, 8000, 8, std::vector<int16_t>(10)), "data");
  EXPECT_EQ(ten.DataOffset, 44);
  EXPECT_EQ(ten.DataSize, 10);
}

TEST_F(FindChunkTest, AnOddChunkShiftsTheWalkWithoutAPadByte) {
  const std::string bytes = RiffFile({{"fmt ", format, {}},
                                      {"odd ", std::string("123\0", 4), 3},  // padded by a writer
                                      {"data", std::string(40, 'd'), {}}});
  EXPECT_TRUE(Find(bytes, "fmt ").Found());
  EXPECT_FALSE(Find(bytes, "data").Found());
}

TEST_F(FindChunkTest, SizesOutsideTheRangeTakeTheRestOfTheRange) {
  // A data size of 0, as an interrupted recording leaves it, or one beyond the range.
  for (const int32_t size : {0, 100000}) {
    SCOPED_TRACE(size);
    const std::string bytes =
        RiffFile({{"fmt ", format, {}}, {"data", std::string(100, 'd'), size}});
    EXPECT_EQ(Find(bytes, "data").DataOffset, 44);
    // The range ends at byte R - 1, R the RIFF size.
    EXPECT_EQ(Find(bytes, "data").DataSize, static_cast<int64_t>(bytes.size()) - 8 - 44);
  }
}

TEST_F(FindChunkTest, AWalkThatDoesNotMoveForwardOrJumpsPastTheRangeEndsAsNotFound) {
  for (const int32_t size : {-8, -100, 0x7FFFFFF0}) {
    SCOPED_TRACE(size);
    EXPECT_FALSE(
        Find(RiffFile({{"junk", std::string(8, 'j'), size}, {"data", std::string(40, 'd'), {}}}),
             "data")
            .Found());
  }
}

TEST_F(FindChunkTest, TheWalkEndsAtTheEndOfTheFileWhateverTheRange) {
  // A range of 2 GB: an id whose last byte is the file's last is still found (its size
  // reads as 0, so the chunk takes the rest of the range); three bytes of one are not.
  const std::string whole =
      RiffFile({{"fmt ", format, {}}, {"junk", std::string(8, 'j'), {}}}, 0x7FFFFFFF);
  EXPECT_EQ(Find(whole + "data", "data").DataOffset, static_cast<int64_t>(whole.size()) + 8);
  EXPECT_FALSE(Find(whole + "dat", "data").Found());
}

TEST(CanonicalWaveHeader, IsTheHeaderOfAPcmFileOfThatManyFrames) {
  for (const auto& [channels, rate, bits, frames] :
       std::vector<std::array<int, 4>>{{2, 44100, 16, 3}, {1, 8000, 8, 7}}) {
    SCOPED_TRACE(frames);
    const auto header = CanonicalWaveHeader(channels, rate, bits, frames);
    EXPECT_EQ(std::string(header.begin(), header.end()),
              testing::PcmWave(channels, rate, bits, std::vector<int16_t>(frames * channels))
                  .substr(0, 44));
  }
}

}  // namespace
}  // namespace quorvane
