#include "formats/WaveLayout.h"

#include <gtest/gtest.h>

#include <array>
#include <tuple>

#include "tests/support/TempFolder.h"
#include "tests/support/WaveBuilder.h"

namespace quorvane {
namespace {

using testing::FormatChunkData;
using testing::RiffFile;

// Chunks in any order with ids in any case are the reader's own test; a chunk size that
// leads past the end of the file is a fuzz-found input the reader's fuzz-input test loads.
TEST(WaveHead, GivesWhereTheChunksLieAndHowLongOrNothingWhenTheWalkMissesThem) {
  testing::TempFolder folder;
  const std::string format = FormatChunkData(1, 1, 8000, 8);
  const auto pcm = [](size_t frames) {
    return testing::PcmWave(1, 8000, 8, std::vector<int16_t>(frames));
  };
  const std::string odd = RiffFile({{"fmt ", format, {}},
                                    {"odd ", std::string("123\0", 4), 3},  // padded by a writer
                                    {"data", std::string(40, 'd'), {}}});
  const auto sized = [&format](int32_t size) {
    return RiffFile({{"fmt ", format, {}}, {"data", std::string(100, 'd'), size}});
  };
  const auto afterJunk = [](int32_t size) {
    return RiffFile({{"junk", std::string(8, 'j'), size}, {"data", std::string(40, 'd'), {}}});
  };
  const std::string whole =
      RiffFile({{"fmt ", format, {}}, {"junk", std::string(8, 'j'), {}}}, 0x7FFFFFFF);
  const int64_t end = static_cast<int64_t>(whole.size()) + 8;  // of an id ending the file
  // Where the data lies and how long it is; {0, 0}: not found. The range ends at byte
  // R - 1, R the RIFF size (the file's size less 8 unless it is given).
  const std::vector<std::tuple<std::string, std::string, ChunkPlace>> cases = {
      // A last chunk needs ten bytes of the search range.
      {pcm(9), "data", {0, 0}},
      {pcm(10), "data", {44, 10}},
      // An odd chunk shifts the walk without a pad byte.
      {odd, "fmt ", {20, 16}},
      {odd, "data", {0, 0}},
      // A data size of 0, as an interrupted recording leaves it, or one beyond the range:
      // the rest of the range.
      {sized(0), "data", {44, 92}},
      {sized(100000), "data", {44, 92}},
      // A walk that does not move forward or jumps past the range ends as not found.
      {afterJunk(-8), "data", {0, 0}},
      {afterJunk(-100), "data", {0, 0}},
      {afterJunk(0x7FFFFFF0), "data", {0, 0}},
      // The walk ends at the end of the file whatever the range: an id whose last byte is
      // the file's last is still found (its size reads as 0, so the chunk takes the rest of
      // the range); three bytes of one are not.
      {whole + "data", "data", {end, 0x7FFFFFFF - end}},
      {whole + "dat", "data", {0, 0}}};
  for (size_t n = 0; n < cases.size(); ++n) {
    const auto& [bytes, id, place] = cases[n];
    SCOPED_TRACE("row " + std::to_string(n));
    const BinaryFile file(folder.Write("t.wav", bytes), BinaryFile::Mode::Read);
    const WaveLayout layout = ReadWaveHead(file, false);
    const ChunkPlace found = id == "fmt " ? layout.Format : layout.Data;
    EXPECT_EQ(found.DataOffset, place.DataOffset);
    EXPECT_EQ(found.DataSize, place.DataSize);
  }
  // Every chunk the walk met is listed, as written.
  const BinaryFile file(folder.Write("t.wav", odd), BinaryFile::Mode::Read);
  const WaveLayout layout = ReadWaveHead(file, false);
  ASSERT_GE(layout.Chunks.size(), 2u);
  EXPECT_EQ(layout.Chunks[0].Id, "fmt ");
  EXPECT_EQ(layout.Chunks[1].Id, "odd ");
  EXPECT_EQ(layout.Chunks[1].Place.DataSize, 3);
}

}  // namespace
}  // namespace quorvane
