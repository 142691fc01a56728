// Inputs on which the WAV reader's fuzz target (fuzz/) found a fault, kept in fuzz/corpus/
// and loaded here through FileLoadWave as the fuzz target loads them. Every one is refused,
// so the document holds no sample for the target's read-back.
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

using WaveReaderFuzzInputs = testing::SessionTest;

// Each input must be refused with its messages, quickly, and once the document is emptied no
// block and no file in the session folder may be left.
TEST_F(WaveReaderFuzzInputs, AreRefusedWithTheirFaultsAndLeaveNothingBehind) {
  const std::string tooBig =
      "\"RIFF\" chunk is shown as bigger than the file size.\r\n"
      "The file may be cut short. If loading it fails, save it again from the program that "
      "made it.";
  const std::string failed = "Wave file loading failed";
  for (const auto& [name, texts] : std::vector<std::pair<std::string, std::vector<std::string>>>{
           // IMA ADPCM whose format chunk gives 1,836,330,816 Hz: the decoder writes the PCM
           // file, the reader refuses its rate, and the decoded file used to stay in the
           // session folder.
           {"found-decoded-rate-unsupported.wav",
            {"Sampling rate 1836330816 Hz is not supported", failed}},
           // 80 bytes whose RIFF size says 1.26 GB and whose first chunk's size leads past the
           // end: the search for "fmt " went on over the missing bytes eight at a time, for
           // minutes.
           {"found-chunk-walk-past-end.wav",
            {tooBig, "Format chunk is not found in this file", failed}},
           // A RIFF size of 0x80000003 (-2,147,483,645 as the signed number the reader takes it
           // for): taking 12 from it overflowed. GCC folds that comparison, so only a clang
           // build with UndefinedBehaviorSanitizer saw it: the fuzz stage of `make test`, which
           // replays this file.
           {"found-riff-size-near-int-min.wav",
            {"\"RIFF\" chunk is not starting with \"WAVE\" in this file", failed}}}) {
    SCOPED_TRACE(name);
    const std::string bytes =
        testing::ReadFileBytes(std::string(QUORVANE_FUZZ_CORPUS_DIR) + "/" + name);
    ASSERT_FALSE(bytes.empty()) << name << " is missing from the corpus";
    ui.messages.clear();
    OpenSaveClass reader;
    FileMemoClass document;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(reader.FileLoadWave(document, files.Write("in.wav", bytes)));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_EQ(ui.Texts(), texts);
    EXPECT_EQ(document.WavWaveINos, 0);
    document.StorageReset();
    EXPECT_EQ(BlocksInUse(), 0);
    std::vector<std::string> leftBehind;
    for (const auto& entry : std::filesystem::directory_iterator(session.Path())) {
      leftBehind.push_back(entry.path().filename().string());
    }
    EXPECT_EQ(leftBehind, std::vector<std::string>{});
  }
}

}  // namespace
}  // namespace quorvane
