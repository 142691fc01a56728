// Inputs on which the WAV reader's fuzz target (fuzz/) found a fault, kept in fuzz/corpus/
// and loaded here as the fuzz target loads them: through FileLoadWave, every sample read
// back, and nothing left behind once the document is emptied.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "formats/OpenSaveClass.h"
#include "storage/BlockList.h"
#include "storage/FileMemoClass.h"
#include "tests/support/SessionFixture.h"
#include "tests/support/TempFolder.h"

namespace quorvane {
namespace {

class WaveReaderFuzzInputsTest : public testing::SessionTest {
 protected:
  // Loads the input kept in the corpus and reads every sample of the document, in one run
  // and one by one; returns what FileLoadWave returned.
  bool LoadAndRead(const std::string& name) {
    const std::string bytes =
        testing::ReadFileBytes(std::string(QUORVANE_FUZZ_CORPUS_DIR) + "/" + name);
    EXPECT_FALSE(bytes.empty()) << name << " is missing from the corpus";
    const bool loaded = reader.FileLoadWave(document, files.Write("in.wav", bytes));
    const int32_t length = document.WavWaveINos;
    if (length > 0) {
      const bool stereo = document.WavFmtChannel == 2;
      std::vector<int16_t> left;
      std::vector<int16_t> right;
      document.WaveCollectBuff(1, length, stereo ? 0 : 1, left, right);
      EXPECT_EQ(left, ChannelSamples(document, 1));
      if (stereo) {
        EXPECT_EQ(right, ChannelSamples(document, 2));
      }
    }
    return loaded;
  }

  // Empties the document: no block may be left, and no file in the session folder.
  void ExpectNothingLeft() {
    document.StorageReset();
    EXPECT_EQ(BlocksInUse(), 0);
    std::vector<std::string> left;
    for (const auto& entry : std::filesystem::directory_iterator(session.Path())) {
      left.push_back(entry.path().filename().string());
    }
    EXPECT_EQ(left, std::vector<std::string>{});
  }

  OpenSaveClass reader;
  FileMemoClass document;
};

// IMA ADPCM whose format chunk gives 1,836,330,816 Hz: the decoder writes the PCM file,
// the reader refuses its rate, and the decoded file used to stay in the session folder.
TEST_F(WaveReaderFuzzInputsTest, ADecodedFileThatIsRefusedIsRemoved) {
  EXPECT_FALSE(LoadAndRead("found-decoded-rate-unsupported.wav"));
  ASSERT_FALSE(ui.messages.empty());
  EXPECT_EQ(ui.messages[0].text, "Sampling rate 1836330816 Hz is not supported");
  EXPECT_EQ(document.WavWaveINos, 0);
  ExpectNothingLeft();
}

// 80 bytes whose RIFF size says 1.26 GB and whose first chunk's size leads past the end:
// the search for "fmt " went on over the missing bytes eight at a time, for minutes.
TEST_F(WaveReaderFuzzInputsTest, AChunkSizeLeadingPastTheEndEndsTheSearch) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(LoadAndRead("found-chunk-walk-past-end.wav"));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  ASSERT_EQ(ui.messages.size(), 3u);
  EXPECT_EQ(ui.messages[0].text.substr(0, 36), "\"RIFF\" chunk is shown as bigger then");
  EXPECT_EQ(ui.messages[1].text, "Format chunk is not found in this file");
  EXPECT_EQ(ui.messages[2].text, "Wave file loading failed");
  ExpectNothingLeft();
}

// A RIFF size of 0x80000003 (-2,147,483,645 as the signed number the reader takes it for):
// taking 12 from it overflowed. GCC folds that comparison, so only a clang build with
// UndefinedBehaviorSanitizer saw it: the fuzz stage of `make test`, which replays this file.
TEST_F(WaveReaderFuzzInputsTest, ARiffSizeNearTheSmallestIntDoesNotOverflow) {
  EXPECT_FALSE(LoadAndRead("found-riff-size-near-int-min.wav"));
  ASSERT_EQ(ui.messages.size(), 2u);
  EXPECT_EQ(ui.messages[0].text, "\"RIFF\" chunk is not starting with \"WAVE\" in this file");
  EXPECT_EQ(ui.messages[1].text, "Wave file loading failed");
  ExpectNothingLeft();
}

}  // namespace
}  // namespace quorvane
