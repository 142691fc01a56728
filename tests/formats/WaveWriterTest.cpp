#include <gtest/gtest.h>

#include <filesystem>

#include "formats/OpenSaveClass.h"
#include "storage/BlockCarrBuffClass.h"
#include "storage/FileMemoClass.h"
#include "tests/support/SessionFixture.h"
#include "tests/support/WaveBuilder.h"

namespace quorvane {
namespace {

using testing::Interleave;
using testing::PcmWave;
using testing::Ramp;
using testing::Stretch;

class WaveWriterTest : public testing::SessionTest {
 protected:
  // Loads a document from a file of the given format and samples.
  void Open(int channels, int rate, int bits, const std::vector<int16_t>& left,
            const std::vector<int16_t>& right = {}) {
    source = files.Write("source.wav", PcmWave(channels, rate, bits, Interleave(left, right)));
    ASSERT_TRUE(files_.FileLoadWave(document, source));
  }

  OpenSaveClass files_;
  FileMemoClass document;
  std::string source;
};

// Whole documents of every PCM format: the reader's test saves each file it loads.
TEST_F(WaveWriterTest, PartsTakeTheChosenChannelsAndLandRunByRunAtTheirOffsets) {
  // FileBlockLen / 2 + 1 stereo frames: two runs, the second of one frame.
  const int32_t frames = files_.FileBlockLen / 2 + 1;
  const auto left = Ramp(static_cast<size_t>(frames), 1, 3);
  const auto right = Ramp(static_cast<size_t>(frames), -1, -5);
  Open(2, 44100, 16, left, right);
  EXPECT_EQ(document.LeftChannel().Blocks().size(), 2u);  // read as two runs, too
  const auto written = [&](int32_t from, int32_t to, int32_t channel) {
    files_.FileWriteWavePart(document, from, to, channel, files.File("part.wav"));
    return testing::ReadFileBytes(files.File("part.wav"));
  };
  EXPECT_EQ(written(1, frames, 0), PcmWave(2, 44100, 16, Interleave(left, right)));
  EXPECT_EQ(written(101, 200, 0),
            PcmWave(2, 44100, 16, Interleave(Stretch(left, 101, 200), Stretch(right, 101, 200))));
  EXPECT_EQ(written(1, 1, 2), PcmWave(1, 44100, 16, {right[0]}));  // one channel, a mono file
  EXPECT_EQ(written(frames, frames, 1), PcmWave(1, 44100, 16, {left.back()}));
  Open(1, 8000, 16, Stretch(left, 1, 100));
  // The right of a mono file is its channel.
  EXPECT_EQ(written(5, 9, 2), PcmWave(1, 8000, 16, Stretch(left, 5, 9)));
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(WaveWriterTest, WritingOverTheSourceKeepsTheDocument) {
  const auto left = Ramp(5000, -100, 7);
  Open(1, 16000, 16, left);
  document.WaveDataDelete(1, 1, 1000, "Delete", true);
  files_.FileWriteWave(document, source);
  const auto rest = Stretch(left, 1001, 5000);
  EXPECT_EQ(ChannelSamples(document, 1), rest);
  EXPECT_EQ(testing::ReadFileBytes(source), PcmWave(1, 16000, 16, rest));
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(WaveWriterTest, RefusalsLeaveExistingFilesAlone) {
  Open(1, 8000, 16, Ramp(100));
  const std::string target = files.Write("keep.wav", "precious");
  for (const auto& [from, to] : {std::pair{0, 10}, std::pair{1, 101}, std::pair{50, 49}}) {
    files_.FileWriteWavePart(document, from, to, 0, target);
  }
  files_.FileWriteWavePart(document, 1, 10, 0, "");
  FileMemoClass empty;
  files_.FileWriteWave(empty, target);
  files_.FileWriteWavePart(empty, 1, 1, 0, target);
  files_.FileWriteWave(document, "");
  EXPECT_EQ(ui.Texts(),
            (std::vector<std::string>{
                "Invalid selection to save selected", "Invalid selection to save selected",
                "Invalid selection to save selected", "No file name given to write",
                "Zero size wave found", "Zero size wave found", "No file name given to write"}));
  EXPECT_EQ(ui.messages[4].caption, "Writing wave error");
  EXPECT_EQ(ui.messages[5].caption, "Writing wave error");
  EXPECT_EQ(testing::ReadFileBytes(target), "precious");
  EXPECT_FALSE(ui.progress.IsVisible());
}

TEST_F(WaveWriterTest, FailuresAreReportedInTheirForms) {
  Open(1, 8000, 16, Ramp(100));
  // A folder where the file should go cannot be written.
  std::filesystem::create_directory(files.File("taken.wav"));
  files_.FileWriteWave(document, files.File("taken.wav"));
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_EQ(ui.messages[0].caption, "Wave file write error");
  EXPECT_NE(ui.messages[0].text.find("taken.wav"), std::string::npos);

  // An 8-bit document holding a value no byte can carry.
  ui.messages.clear();
  Open(1, 8000, 8, Ramp(20));
  BlockCarrBuffClass loud;
  loud.ReDimSize(1);
  loud.WaveLR(1, 300);
  document.WaveDataInsert(2, 1, &loud, nullptr, "Paste", true);
  files_.FileWriteWavePart(document, 1, 5, 0, files.File("eight.wav"));
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_EQ(ui.messages[0].icon, MessageIcon::Critical);
  EXPECT_EQ(ui.messages[0].caption, "Timeline Audio Editor");
  EXPECT_EQ(ui.messages[0].text.rfind("Error (6) occurred at or after line ", 0), 0u);
  EXPECT_NE(ui.messages[0].text.find(" of OpenSaveClass\r\n\r\nOverflow"), std::string::npos);
}

}  // namespace
}  // namespace quorvane
