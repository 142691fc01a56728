#include <gtest/gtest.h>

#include <array>
#include <filesystem>

#include "formats/OpenSaveClass.h"
#include "storage/BlockList.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/CompressedWavFixtures.h"
#include "tests/support/SessionFixture.h"
#include "tests/support/WaveBuilder.h"

namespace quorvane {
namespace {

using testing::Chunk;
using testing::FormatChunkData;
using testing::Interleave;
using testing::PcmWave;
using testing::Ramp;
using testing::RiffFile;
using testing::SampleBytes;

class WaveReaderTest : public testing::SessionTest {
 protected:
  bool Load(const std::string& bytes, const std::string& name = "in.wav") {
    path = files.Write(name, bytes);
    return reader.FileLoadWave(document, path);
  }
  OpenSaveClass reader;
  FileMemoClass document;
  std::string path;
};

TEST_F(WaveReaderTest, PcmFilesOfEveryFormatLoadWithoutReadingASampleAndSaveByteForByte) {
  for (const auto& [channels, bits, rate] : std::vector<std::array<int, 3>>{
           {1, 16, 44100}, {2, 16, 22050}, {1, 8, 11025}, {2, 8, 8000}}) {
    SCOPED_TRACE(::testing::Message() << channels << " channels, " << bits << " bits");
    const auto left = bits == 8 ? testing::EightBitPattern(1000) : Ramp(1000, -30000, 97);
    const auto right = channels == 1 ? std::vector<int16_t>{}
                       : bits == 8   ? testing::EightBitPattern(1000, 5)
                                     : Ramp(1000, 30000, -89);
    ASSERT_TRUE(Load(PcmWave(channels, rate, bits, Interleave(left, right))));
    EXPECT_EQ(document.WavFmtChannel, channels);
    EXPECT_EQ(document.WavFmtBits, bits);
    EXPECT_EQ(document.WavFmtFreq, rate);
    EXPECT_EQ(document.WavWaveINos, 1000);
    EXPECT_EQ(MemoryInUse(), 0);  // described, not read
    for (int32_t block : document.LeftChannel().Blocks()) {
      EXPECT_EQ(RecordOf(block).Kind, BlockOrgFile);
    }
    EXPECT_EQ(ChannelSamples(document, 1), left);
    if (channels == 2) {
      EXPECT_EQ(ChannelSamples(document, 2), right);
    }
    EXPECT_EQ(document.UndoItemCount(), 0);
    EXPECT_FALSE(Editor().WaveChanged);
    // Saved, it comes back byte for byte, read where its samples lie.
    reader.FileWriteWave(document, files.File("out.wav"));
    EXPECT_EQ(testing::ReadFileBytes(files.File("out.wav")),
              PcmWave(channels, rate, bits, Interleave(left, right)));
    EXPECT_EQ(MemoryInUse(), 0);
    EXPECT_TRUE(ui.messages.empty());
  }
  EXPECT_FALSE(ui.progress.IsVisible());
  EXPECT_EQ(ui.progress.color, 255u);
}

// Files longer than a run: the writer's test loads one of two runs and saves it again.

TEST_F(WaveReaderTest, ChunksAreFoundInAnyOrderAndIdsWithoutCase) {
  const std::string bytes = RiffFile({{"LIST", std::string(30, 'x'), {}},
                                      {"Fmt ", FormatChunkData(1, 1, 8000, 16), {}},
                                      {"DATA", SampleBytes({1, 2, 3, 4, 5}, 16), {}}},
                                     std::nullopt, "Riff", "wave");
  ASSERT_TRUE(Load(bytes));
  EXPECT_EQ(ChannelSamples(document, 1), (std::vector<int16_t>{1, 2, 3, 4, 5}));
}

TEST_F(WaveReaderTest, RefusedFilesAreNamedWithTheirFault) {
  const auto file = [](int channels, int rate, int bits, const std::string& data) {
    return RiffFile({{"fmt ", FormatChunkData(1, channels, rate, bits), {}}, {"data", data, {}}});
  };
  const std::string format8 = FormatChunkData(1, 1, 8000, 8);
  const std::string data(64, '\x10');
  // Rates at the bounds load; the refusals below empty the document once it takes a format.
  EXPECT_TRUE(Load(file(1, 200000, 16, data)));
  EXPECT_TRUE(Load(file(1, 1000, 16, data)));
  // Files that are no RIFF WAVE at all are critical; rates are refused in the program's name.
  const std::pair<std::string, std::string> refusals[] = {
      {std::string(44, 'R'), "No wave Data found in file"},
      {RiffFile({{"fmt ", format8, {}}, {"data", data, {}}}, std::nullopt, "RIFQ"),
       "\"RIFF\" chunk is not found in this file"},
      {RiffFile({{"fmt ", format8, {}}, {"data", data, {}}}, std::nullopt, "RIFF", "AVI "),
       "\"RIFF\" chunk is not starting with \"WAVE\" in this file"},
      {RiffFile({{"data", data, {}}}), "Format chunk is not found in this file"},
      {RiffFile({{"fmt ", format8.substr(0, 14), {}}, {"data", data, {}}}),
       "Format chunk is smaller then required in this file"},
      {PcmWave(1, 8000, 8, std::vector<int16_t>(9, 0)), "Data chunk is not found in this file"},
      {file(1, 999, 16, data), "Sampling rate 999 Hz is not supported"},
      {file(1, 200001, 16, data), "Sampling rate 200001 Hz is not supported"},
      {file(3, 8000, 16, data), "Channel info invalid at byte location 23"},
      {file(1, 8000, 20, data),
       "Bits per sample 20 is invalid or not supported (at byte location 35)"},
      {RiffFile({{"fmt ", FormatChunkData(1, 2, 8000, 16), {}},
                 {"data", std::string(3, 'd'), {}},
                 {"pad ", std::string(20, 'p'), {}}}),
       "Data chunk is too small this file"},
  };
  for (size_t i = 0; i < std::size(refusals); ++i) {
    const auto& [bytes, text] = refusals[i];
    SCOPED_TRACE(text);
    ui.messages.clear();
    EXPECT_FALSE(Load(bytes));
    // The fault's own message, then the common failure.
    ASSERT_EQ(ui.Texts(), (std::vector<std::string>{text, "Wave file loading failed"}));
    EXPECT_EQ(ui.messages[0].caption,
              text.starts_with("Sampling") ? "Timeline Audio Editor" : "Error Loading " + path);
    EXPECT_EQ(ui.messages[0].icon, i < 3 ? MessageIcon::Critical : MessageIcon::None);
    EXPECT_EQ(ui.messages[1].caption, "Timeline Audio Editor");
    EXPECT_FALSE(ui.progress.IsVisible());
  }
  EXPECT_EQ(document.WavWaveINos, 0);
}

TEST_F(WaveReaderTest, SizesThatPromiseMoreThanTheFileHoldsAreCutToIt) {
  const std::string format = FormatChunkData(1, 2, 8000, 16);
  // A RIFF size of 0, as an interrupted recording leaves it, and a data size of 0.
  ASSERT_TRUE(Load(RiffFile(
      {{"fmt ", FormatChunkData(1, 1, 8000, 16), {}}, {"data", SampleBytes(Ramp(8000), 16), 0}},
      0)));
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_EQ(ui.messages[0].caption, "Timeline Audio Editor");
  EXPECT_NE(ui.messages[0].text.find("\r\n8000 Samples (1.000 Seconds)"), std::string::npos);
  EXPECT_EQ(ChannelSamples(document, 1), Ramp(8000));

  // 7 bytes of 16-bit stereo are 1.75 frames: 2 when the file holds them.
  ui.messages.clear();
  const std::string data = SampleBytes({1, 2, 3, 4}, 16);
  ASSERT_TRUE(Load(RiffFile(
      {{"fmt ", format, {}}, {"data", data.substr(0, 7), {}}, {"JUNK", std::string(8, 'j'), {}}})));
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_EQ(document.WavWaveINos, 2);

  // A RIFF size beyond the file warns; with one whole frame in the file, the header is not
  // believed.
  ASSERT_TRUE(Load(RiffFile({{"fmt ", format, {}}, {"data", data.substr(0, 4), 7}}, 100)));
  ASSERT_EQ(ui.Texts(),
            (std::vector<std::string>{
                "\"RIFF\" chunk is shown as bigger than the file size.\r\n"
                "The file may be cut short. If loading it fails, save it again from the "
                "program that made it.",
                "Header shows that the size of audio is\r\n2 Samples (0.000 Seconds)\r\n"
                "But as per the size of the file it will be\r\n1 Samples (0.000 Seconds)"}));
  EXPECT_EQ(ui.messages[0].caption, "Error Loading " + path);
  EXPECT_EQ(document.WavWaveINos, 1);
  EXPECT_EQ(document.WaveR(1), 2);
}

TEST_F(WaveReaderTest, CompressedFilesAreDecodedAndDescribed) {
  const auto source = testing::TestSignal(2, 22050, 22050);
  testing::WritePcm16Wav(files.File("source.wav"), source, 2, 22050);
  testing::EncodeWithFfmpeg(files.File("source.wav"), files.File("alaw.wav"), "pcm_alaw");
  ASSERT_TRUE(reader.FileLoadWave(document, files.File("alaw.wav")));
  EXPECT_EQ(document.WavFmtChannel, 2);
  EXPECT_EQ(document.WavFmtBits, 16);
  EXPECT_EQ(document.WavWaveINos, 22050);
  // A-law's steps keep the decoded signal some 35 dB above its error.
  EXPECT_GT(testing::SignalToNoiseDb(testing::Channel(source, 2, 1), ChannelSamples(document, 2)),
            30);
  // The decoded file lies in the session folder, the user's alone; the source stays where
  // it was.
  const std::string decoded = OriginalFile(document.OrgRoFileInUse).FileName;
  EXPECT_EQ(decoded.rfind(session.Path(), 0), 0u);
  EXPECT_EQ(std::filesystem::status(decoded).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  EXPECT_TRUE(ui.messages.empty());
}

// WAV files as recorders and other programs write them: 24 and 32-bit integer PCM, plain
// or extensible, RF64 and big-endian RIFX, load as ffmpeg decodes them to 16 bits (RIFX
// as sox does: this ffmpeg reads the samples of RIFX files as little-endian).
TEST_F(WaveReaderTest, WideBigEndianAndRf64FilesLoadAsASecondProgramDecodesThem) {
  const auto source = testing::TestSignal(2, 22050, 4410);
  const std::string wave = files.File("source.wav");
  testing::WritePcm16Wav(wave, source, 2, 22050);
  const std::string made = files.File("made.wav");
  const std::string decoded = files.File("decoded.wav");
  const std::vector<std::string> byFfmpeg = {"ffmpeg", "-y",        "-i",   made,
                                             "-c:a",   "pcm_s16le", decoded};
  const std::vector<std::string> bySox = {"sox", made, "-t", "wavpcm", "-b", "16", "-L", decoded};
  const std::vector<std::pair<std::vector<std::string>, std::vector<std::string>>> cases = {
      {{"sox", wave, "-t", "wavpcm", "-b", "24", made}, byFfmpeg},
      {{"sox", wave, "-t", "wavpcm", "-b", "32", made}, byFfmpeg},
      {{"ffmpeg", "-y", "-i", wave, "-c:a", "pcm_s24le", made}, byFfmpeg},
      {{"ffmpeg", "-y", "-i", wave, "-c:a", "pcm_s16le", "-rf64", "always", made}, byFfmpeg},
      {{"sox", wave, "-B", made}, bySox}};
  for (const auto& [maker, decoder] : cases) {
    SCOPED_TRACE(maker[maker.size() - 3] + " " + maker[maker.size() - 2]);
    ASSERT_EQ(testing::RunProgram(maker[0], {maker.begin() + 1, maker.end()}).exitStatus, 0);
    ASSERT_EQ(testing::RunProgram(decoder[0], {decoder.begin() + 1, decoder.end()}).exitStatus, 0);
    ui.messages.clear();
    ASSERT_TRUE(reader.FileLoadWave(document, made));
    EXPECT_TRUE(ui.messages.empty());
    const std::vector<int16_t> expected = testing::ReadWavFile(decoded)->Samples();
    EXPECT_EQ(Interleave(ChannelSamples(document, 1), ChannelSamples(document, 2)), expected);
    EXPECT_EQ(expected, source);
  }
}

// A file that cannot be opened, or whose codec is missing, is told in one message alone.
TEST_F(WaveReaderTest, MissingFilesAndCodecsFailWithOneMessage) {
  const std::string codec =
      files.Write("codec.wav", RiffFile({{"fmt ", FormatChunkData(0x1234, 1, 8000, 4), {}},
                                         {"data", std::string(400, '\x55'), {}}}));
  for (const auto& [file, text] : std::vector<std::pair<std::string, std::string>>{
           {files.File("nowhere.wav"), "Wave file loading failed"},
           {"   ", "Wave file loading failed"},
           {codec,
            "Failed to decode the compressed wave file.\r\n"
            "You need to install the codec needed to open this file.\r\n"
            "Contact us if you need help and write us the format tag number.\r\n\r\n"
            "Format Tag No = 4660\r\nFormat Tag Hex No = ????\r\nFormat Name = Unknown\r\n"
            "Format's Company Name = Unknown\r\nCodec Description = Unknown"}}) {
    SCOPED_TRACE(file);
    ui.messages.clear();
    EXPECT_FALSE(reader.FileLoadWave(document, file));
    ASSERT_EQ(ui.Texts(), std::vector<std::string>{text});
    EXPECT_EQ(ui.messages[0].caption, "Timeline Audio Editor");
    EXPECT_FALSE(ui.progress.IsVisible());
  }
}

}  // namespace
}  // namespace quorvane
