#include "platform/CompressedWavDecoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include <sys/resource.h>

#include "platform/AcmDecodingLibrary.h"
#include "tests/support/CompressedWavFixtures.h"
#include "tests/support/TempFolder.h"

namespace quorvane {
namespace {

using testing::Channel;
using testing::EncodeWithFfmpeg;
using testing::ReadWavFile;
using testing::SignalToNoiseDb;
using testing::TestSignal;
using testing::WavFile;

struct DecodeOutcome {
  int32_t percent = 0;
  std::string error;
  std::vector<int32_t> seen;  // every distinct percentage polled, in order
};

// Polls the library the way the program does, only faster.
DecodeOutcome PollUntilDone(int32_t handle) {
  DecodeOutcome outcome;
  const auto giveUp = std::chrono::steady_clock::now() + std::chrono::minutes(2);
  while (std::chrono::steady_clock::now() < giveUp) {
    outcome.percent = xAcm_GetDecodingPercent(handle);
    if (outcome.seen.empty() || outcome.seen.back() != outcome.percent) {
      outcome.seen.push_back(outcome.percent);
    }
    if (outcome.percent < 0 || outcome.percent >= 100) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  char text[256];
  if (xAcm_GetErrorString(handle, text, sizeof text) > 1) outcome.error = text;
  return outcome;
}

DecodeOutcome Decode(const std::string& source, const std::string& destination,
                     const std::string& settingsFile = "") {
  const int32_t handle = xAcm_CreateObject(settingsFile.c_str());
  EXPECT_NE(handle, 0);
  EXPECT_NE(xAcm_DecodeFile(handle, source.c_str(), destination.c_str()), 0);
  DecodeOutcome outcome = PollUntilDone(handle);
  xAcm_DestroyObject(handle);
  return outcome;
}

// A 16-bit PCM WAV with the canonical 44-byte header and sizes that match the file.
WavFile ReadCanonicalPcm(const std::string& path, int channels, uint32_t sampleRate) {
  const auto wav = ReadWavFile(path);
  EXPECT_TRUE(wav.has_value()) << path;
  if (!wav) return {};
  EXPECT_EQ(wav->formatTag, 1);
  EXPECT_EQ(wav->channels, channels);
  EXPECT_EQ(wav->sampleRate, sampleRate);
  EXPECT_EQ(wav->bitsPerSample, 16);
  EXPECT_EQ(wav->blockAlign, 2 * channels);
  EXPECT_EQ(wav->byteRate, sampleRate * 2U * static_cast<uint32_t>(channels));
  EXPECT_EQ(wav->dataOffset, 44U);
  EXPECT_EQ(wav->riffSize, wav->fileSize - 8);
  EXPECT_EQ(wav->data.size(), wav->fileSize - 44);
  return *wav;
}

class CompressedWavDecoderTest : public ::testing::Test {
 protected:
  // The signal as a 16-bit PCM WAV, encoded by ffmpeg into `name`.
  std::string Encode(const std::string& name, const std::vector<int16_t>& signal, int channels,
                     int sampleRate, const std::string& codec,
                     const std::vector<std::string>& options = {}) {
    const std::string source = folder.File(name + ".pcm.wav");
    testing::WritePcm16Wav(source, signal, channels, sampleRate);
    EncodeWithFfmpeg(source, folder.File(name), codec, options);
    return folder.File(name);
  }

  testing::TempFolder folder;
};

TEST_F(CompressedWavDecoderTest, FloatAnd24And32BitExtensibleFilesComeBackExactly) {
  struct Case {
    std::string codec;
    int channels;
    int sampleRate;
  };
  for (const Case& c :
       {Case{"pcm_f32le", 2, 44100}, Case{"pcm_s24le", 2, 48000}, Case{"pcm_s32le", 1, 96000}}) {
    SCOPED_TRACE(c.codec);
    const auto signal = TestSignal(c.channels, c.sampleRate, 30011);
    const std::string encoded = Encode(c.codec + ".wav", signal, c.channels, c.sampleRate, c.codec);
    ASSERT_EQ(ReadWavFile(encoded)->formatTag, 0xFFFE);  // WAVE_FORMAT_EXTENSIBLE
    const DecodeOutcome outcome = Decode(encoded, folder.File("out.wav"));
    ASSERT_EQ(outcome.percent, 100) << outcome.error;
    EXPECT_EQ(ReadCanonicalPcm(folder.File("out.wav"), c.channels, c.sampleRate).Samples(), signal);
  }
}

TEST_F(CompressedWavDecoderTest, FloatBeyondFullScaleIsClippedNotWrapped) {
  const auto signal = TestSignal(1, 44100, 8000);
  const std::string encoded = Encode("loud.wav", signal, 1, 44100, "pcm_f32le",
                                     {"-af", "aformat=sample_fmts=flt,volume=4"});
  ASSERT_EQ(Decode(encoded, folder.File("out.wav")).percent, 100);
  std::vector<int16_t> expected;
  for (const int16_t sample : signal) {
    expected.push_back(static_cast<int16_t>(std::clamp(4 * sample, -32768, 32767)));
  }
  EXPECT_EQ(ReadCanonicalPcm(folder.File("out.wav"), 1, 44100).Samples(), expected);
}

TEST_F(CompressedWavDecoderTest, AdpcmAndGsmFollowTheSourceInEveryChannel) {
  struct Case {
    std::string codec;
    int channels;
    int sampleRate;
    double minimumSnrDb;
  };
  for (const Case& c : {Case{"adpcm_ima_wav", 2, 44100, 35}, Case{"adpcm_ms", 1, 22050, 30},
                        Case{"libgsm_ms", 1, 8000, 15}}) {
    SCOPED_TRACE(c.codec);
    const size_t frames = 20000;
    const auto signal = TestSignal(c.channels, c.sampleRate, frames);
    const std::string encoded = Encode(c.codec + ".wav", signal, c.channels, c.sampleRate, c.codec);
    // ffmpeg counts the padding of the last block; an exact encoder counts the source.
    testing::PatchFactChunk(encoded, frames);
    const DecodeOutcome outcome = Decode(encoded, folder.File("out.wav"));
    ASSERT_EQ(outcome.percent, 100) << outcome.error;
    const WavFile out = ReadCanonicalPcm(folder.File("out.wav"), c.channels, c.sampleRate);
    EXPECT_EQ(out.Frames(), frames);
    for (int channel = 0; channel < c.channels; ++channel) {
      EXPECT_GE(SignalToNoiseDb(Channel(signal, c.channels, channel),
                                Channel(out.Samples(), c.channels, channel)),
                c.minimumSnrDb);
    }
    if (c.channels == 2) {  // the channels are not swapped
      EXPECT_LT(SignalToNoiseDb(Channel(signal, 2, 1), Channel(out.Samples(), 2, 0)), 3);
    }
  }
}

TEST_F(CompressedWavDecoderTest, MuLawAndALawStayWithinTheirQuantisationStep) {
  for (const std::string codec : {"pcm_mulaw", "pcm_alaw"}) {
    SCOPED_TRACE(codec);
    const auto signal = TestSignal(2, 8000, 12000);
    const std::string encoded = Encode(codec + ".wav", signal, 2, 8000, codec);
    ASSERT_EQ(Decode(encoded, folder.File("out.wav")).percent, 100);
    const auto out = ReadCanonicalPcm(folder.File("out.wav"), 2, 8000).Samples();
    ASSERT_EQ(out.size(), signal.size());
    size_t outside = 0;
    for (size_t i = 0; i < signal.size(); ++i) {
      if (std::abs(out[i] - signal[i]) > std::abs(signal[i]) / 16 + 16) ++outside;
    }
    EXPECT_EQ(outside, 0U);
  }
}

TEST_F(CompressedWavDecoderTest, Mp3InWavFollowsTheSourceAfterTheEncoderDelay) {
  const auto signal = TestSignal(2, 44100, 44100);
  const std::string encoded = Encode("mp3.wav", signal, 2, 44100, "libmp3lame", {"-b:a", "128k"});
  const auto fixture = ReadWavFile(encoded);
  ASSERT_EQ(fixture->formatTag, 0x55);
  ASSERT_TRUE(fixture->factFrames.has_value());
  const DecodeOutcome outcome = Decode(encoded, folder.File("out.wav"));
  ASSERT_EQ(outcome.percent, 100) << outcome.error;
  const WavFile out = ReadCanonicalPcm(folder.File("out.wav"), 2, 44100);
  EXPECT_EQ(out.Frames(), *fixture->factFrames);
  for (int channel = 0; channel < 2; ++channel) {
    const auto source = Channel(signal, 2, channel);
    const auto decoded = Channel(out.Samples(), 2, channel);
    double best = -100;
    for (size_t lag = 0; lag < 2000; ++lag)
      best = std::max(best, SignalToNoiseDb(source, decoded, lag));
    EXPECT_GE(best, 20);
  }
}

TEST_F(CompressedWavDecoderTest, WithoutAFactChunkEveryDecodedBlockIsKept) {
  const size_t frames = 10000;
  const auto signal = TestSignal(1, 44100, frames);
  const std::string encoded = Encode("ima.wav", signal, 1, 44100, "adpcm_ima_wav");
  testing::PatchFactChunk(encoded, frames);
  ASSERT_EQ(Decode(encoded, folder.File("cut.wav")).percent, 100);
  testing::PatchFactChunk(encoded, std::nullopt);
  ASSERT_EQ(Decode(encoded, folder.File("whole.wav")).percent, 100);

  const auto cut = ReadCanonicalPcm(folder.File("cut.wav"), 1, 44100).Samples();
  const auto whole = ReadCanonicalPcm(folder.File("whole.wav"), 1, 44100).Samples();
  // A mono IMA block: a 4-byte header with the first sample, then two samples per byte.
  const size_t blockFrames = (ReadWavFile(encoded)->blockAlign - 4U) * 2 + 1;
  EXPECT_EQ(cut.size(), frames);
  EXPECT_EQ(whole.size(), (frames + blockFrames - 1) / blockFrames * blockFrames);
  EXPECT_TRUE(std::equal(cut.begin(), cut.end(), whole.begin()));
}

// Projection of `decoded` onto the sine `reference`: 1 when it holds the sine unchanged.
double Gain(const std::vector<int16_t>& decoded, const std::vector<int16_t>& reference) {
  return testing::MeanProduct(decoded, reference) / testing::MeanProduct(reference, reference);
}

TEST_F(CompressedWavDecoderTest, MoreThanTwoChannelsAreMixedDownByPosition) {
  // Whole periods in one second at 8 kHz: the sines are orthogonal.
  const std::vector<double> frequencies = {200, 300, 500, 700, 1100, 1300};
  for (const int channels : {3, 6}) {
    SCOPED_TRACE(channels);
    const std::vector<double> used(frequencies.begin(), frequencies.begin() + channels);
    const auto signal = testing::SineChannels(8000, 8000, used, 0.3);
    // Speaker positions by index: front left, front right, centre, (LFE, surrounds).
    const std::string encoded = Encode(
        "multi.wav", signal, channels, 8000, channels == 3 ? "pcm_f32le" : "pcm_s24le",
        {"-af", channels == 3 ? "channelmap=channel_layout=3.0" : "channelmap=channel_layout=5.1"});
    const DecodeOutcome outcome = Decode(encoded, folder.File("out.wav"));
    ASSERT_EQ(outcome.percent, 100) << outcome.error;
    const auto out = ReadCanonicalPcm(folder.File("out.wav"), 2, 8000).Samples();
    ASSERT_EQ(out.size(), 2U * 8000);
    const auto left = Channel(out, 2, 0);
    const auto right = Channel(out, 2, 1);
    auto input = [&](int channel) { return Channel(signal, channels, channel); };
    EXPECT_GT(Gain(left, input(0)), 0.3);  // front left
    EXPECT_NEAR(Gain(right, input(0)), 0, 0.01);
    EXPECT_GT(Gain(right, input(1)), 0.3);  // front right
    EXPECT_NEAR(Gain(left, input(1)), 0, 0.01);
    EXPECT_GT(Gain(left, input(2)), 0.2);  // centre, equally in both
    EXPECT_NEAR(Gain(left, input(2)), Gain(right, input(2)), 0.01);
    if (channels == 6) {  // surround left and right stay on their sides
      EXPECT_GT(Gain(left, input(4)), 0.2);
      EXPECT_NEAR(Gain(right, input(4)), 0, 0.01);
      EXPECT_GT(Gain(right, input(5)), 0.2);
      EXPECT_NEAR(Gain(left, input(5)), 0, 0.01);
    }
  }
}

TEST_F(CompressedWavDecoderTest, AFileCutInItsLastBlockStillDecodes) {
  const auto signal = TestSignal(2, 44100, 20000);
  const std::string encoded = Encode("ima.wav", signal, 2, 44100, "adpcm_ima_wav");
  ASSERT_EQ(Decode(encoded, folder.File("full.wav")).percent, 100);
  const auto fixture = ReadWavFile(encoded);
  const size_t keep = fixture->dataOffset + 5 * fixture->blockAlign / 2;  // 2.5 blocks
  std::filesystem::resize_file(encoded, keep);

  const DecodeOutcome outcome = Decode(encoded, folder.File("cut.wav"));
  ASSERT_EQ(outcome.percent, 100) << outcome.error;
  const auto full = ReadCanonicalPcm(folder.File("full.wav"), 2, 44100).Samples();
  const auto cut = ReadCanonicalPcm(folder.File("cut.wav"), 2, 44100).Samples();
  // A stereo IMA block: 8 header bytes with the first samples, then one frame per byte.
  const size_t blockFrames = fixture->blockAlign - 8U + 1;
  const size_t twoBlocks = 2 * 2 * blockFrames;  // samples of two whole blocks
  ASSERT_GE(cut.size(), twoBlocks);
  EXPECT_LT(cut.size(), 3 * 2 * blockFrames);
  EXPECT_TRUE(std::equal(cut.begin(), cut.begin() + twoBlocks, full.begin()));
}

TEST_F(CompressedWavDecoderTest, BadSourcesFailWithAPlainReasonAndLeaveNoFile) {
  const auto signal = TestSignal(1, 8000, 4000);
  const std::string mulaw = Encode("mulaw.wav", signal, 1, 8000, "pcm_mulaw");
  std::string unknownTag = testing::ReadFileBytes(mulaw);
  unknownTag.replace(20, 2, "\x34\x12");  // the `fmt ` chunk follows the RIFF header
  std::string garbage(5000, '\0');
  for (size_t i = 0; i < garbage.size(); ++i) garbage[i] = static_cast<char>(i * 7919 % 251);

  struct Case {
    std::string source;
    std::string reason;
  };
  const Case cases[] = {
      {folder.File("missing.wav"), "cannot be opened (No such file or directory)"},
      {folder.Write("garbage.wav", garbage), "not a WAV file"},
      {folder.Write("header.wav", testing::ReadFileBytes(mulaw).substr(0, 30)),
       "no usable format chunk"},
      {folder.Write("nodata.wav", testing::ReadFileBytes(mulaw).substr(0, 36)), "no data chunk"},
      {folder.Write("tag.wav", unknownTag),
       "No decoder is available for this audio format "
       "(format tag 4660, 0x1234)"},
      {folder.Path(), "not a regular file"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.source);
    const DecodeOutcome outcome = Decode(c.source, folder.File("out.wav"));
    EXPECT_LT(outcome.percent, 0);
    EXPECT_NE(outcome.error.find(c.reason), std::string::npos) << outcome.error;
    EXPECT_FALSE(std::filesystem::exists(folder.File("out.wav")));
  }

  const DecodeOutcome outcome = Decode(mulaw, folder.File("no-folder/out.wav"));
  EXPECT_LT(outcome.percent, 0);
  EXPECT_EQ(outcome.error, "The decoded file cannot be created (No such file or directory): " +
                               folder.File("no-folder/out.wav"));
  EXPECT_LT(Decode(mulaw, mulaw).percent, 0);
  EXPECT_EQ(testing::ReadFileBytes(mulaw).size(), ReadWavFile(mulaw)->fileSize);
  EXPECT_TRUE(ReadWavFile(mulaw).has_value());
}

TEST_F(CompressedWavDecoderTest, AFullDiskFailsTheDecodingAndTheFileGoes) {
  const std::string encoded =
      Encode("ima.wav", TestSignal(2, 44100, 44100 * 10), 2, 44100, "adpcm_ima_wav");
  // The file size limit stands in for a full disk: writes beyond it fail with EFBIG.
  rlimit saved{};
  getrlimit(RLIMIT_FSIZE, &saved);
  const auto savedSignal = std::signal(SIGXFSZ, SIG_IGN);
  rlimit small = saved;
  small.rlim_cur = 256 * 1024;
  setrlimit(RLIMIT_FSIZE, &small);
  const DecodeOutcome outcome = Decode(encoded, folder.File("out.wav"));
  setrlimit(RLIMIT_FSIZE, &saved);
  std::signal(SIGXFSZ, savedSignal);

  EXPECT_LT(outcome.percent, 0);
  EXPECT_EQ(outcome.error,
            "Writing the decoded file failed (File too large): " + folder.File("out.wav"));
  EXPECT_FALSE(std::filesystem::exists(folder.File("out.wav")));
}

TEST_F(CompressedWavDecoderTest, PercentRisesToExactlyOneHundredWhenTheFileIsComplete) {
  const auto signal = TestSignal(2, 44100, 44100 * 40);
  const std::string encoded = Encode("long.wav", signal, 2, 44100, "adpcm_ima_wav");
  const DecodeOutcome outcome = Decode(encoded, folder.File("out.wav"));
  ASSERT_EQ(outcome.percent, 100);
  EXPECT_TRUE(std::is_sorted(outcome.seen.begin(), outcome.seen.end()));
  EXPECT_GE(outcome.seen.front(), 0);
  EXPECT_EQ(std::count(outcome.seen.begin(), outcome.seen.end(), 100), 1);
  EXPECT_EQ(ReadCanonicalPcm(folder.File("out.wav"), 2, 44100).Frames(),
            *ReadWavFile(encoded)->factFrames);
}

TEST_F(CompressedWavDecoderTest, TheWindowSizeSettingOnlyChangesHowOftenTheFileIsWritten) {
  const std::string settings = folder.Write("settings.ini", "[Misc]\r\nWindowSize=4096\r\n");
  EXPECT_EQ(CompressedWavDecoder(settings).WindowBytes(), 4096U);
  EXPECT_EQ(CompressedWavDecoder(folder.File("none.ini")).WindowBytes(), 196500U);
  folder.Write("bad.ini", "[Misc]\r\nWindowSize=many\r\n");
  EXPECT_EQ(CompressedWavDecoder(folder.File("bad.ini")).WindowBytes(), 196500U);

  // One stereo IMA block of 4096 bytes decodes to 16356 bytes, more than the small window
  // holds.
  const auto signal = TestSignal(2, 44100, 30000);
  const std::string encoded =
      Encode("ima.wav", signal, 2, 44100, "adpcm_ima_wav", {"-block_size", "4096"});
  ASSERT_EQ(Decode(encoded, folder.File("small.wav"), settings).percent, 100);
  ASSERT_EQ(Decode(encoded, folder.File("default.wav")).percent, 100);
  EXPECT_EQ(testing::ReadFileBytes(folder.File("small.wav")),
            testing::ReadFileBytes(folder.File("default.wav")));
}

TEST_F(CompressedWavDecoderTest, OneObjectDecodesFileAfterFileAndANewStartReplacesARunningOne) {
  const std::string first = Encode("a.wav", TestSignal(1, 8000, 8000 * 120), 1, 8000, "pcm_alaw");
  const std::string second = Encode("b.wav", TestSignal(2, 8000, 5000), 2, 8000, "pcm_mulaw");
  const int32_t handle = xAcm_CreateObject("");
  ASSERT_NE(xAcm_DecodeFile(handle, first.c_str(), folder.File("1.wav").c_str()), 0);
  ASSERT_NE(xAcm_DecodeFile(handle, second.c_str(), folder.File("2.wav").c_str()), 0);
  ASSERT_EQ(PollUntilDone(handle).percent, 100);
  EXPECT_EQ(ReadCanonicalPcm(folder.File("2.wav"), 2, 8000).Frames(), 5000U);
  // The first run either finished before it was replaced or left nothing behind.
  if (std::filesystem::exists(folder.File("1.wav"))) {
    EXPECT_EQ(ReadCanonicalPcm(folder.File("1.wav"), 1, 8000).Frames(), 8000U * 120);
  }
  ASSERT_NE(xAcm_DecodeFile(handle, first.c_str(), folder.File("3.wav").c_str()), 0);
  ASSERT_EQ(PollUntilDone(handle).percent, 100);
  EXPECT_EQ(ReadCanonicalPcm(folder.File("3.wav"), 1, 8000).Frames(), 8000U * 120);
  xAcm_DestroyObject(handle);
}

TEST_F(CompressedWavDecoderTest, DestroyingTheObjectMidDecodeStopsTheWorkerCleanly) {
  const std::string encoded =
      Encode("long.wav", TestSignal(2, 44100, 44100 * 120), 2, 44100, "adpcm_ima_wav");
  for (const bool waitForProgress : {false, true}) {
    SCOPED_TRACE(waitForProgress);
    std::filesystem::remove(folder.File("out.wav"));
    const int32_t handle = xAcm_CreateObject("");
    ASSERT_NE(xAcm_DecodeFile(handle, encoded.c_str(), folder.File("out.wav").c_str()), 0);
    int32_t percent = 0;
    while (waitForProgress && (percent = xAcm_GetDecodingPercent(handle)) == 0) {
      std::this_thread::yield();
    }
    xAcm_DestroyObject(handle);
    EXPECT_LT(xAcm_GetDecodingPercent(handle), 0);  // the handle is gone
    // Either the decoding was done before the object went, or it left no file.
    if (percent != 100) {
      EXPECT_FALSE(std::filesystem::exists(folder.File("out.wav")));
    }
  }
}

TEST(AcmDecodingLibrary, TheErrorTextIsCutToTheBufferAndItsLengthCountsTheZero) {
  const std::string missing = "/no/such/folder/" + std::string(300, 'x') + ".wav";
  const int32_t handle = xAcm_CreateObject("");
  char text[256];
  EXPECT_EQ(xAcm_GetErrorString(handle, text, sizeof text), 1);  // no error yet
  EXPECT_STREQ(text, "");
  ASSERT_NE(xAcm_DecodeFile(handle, missing.c_str(), "/no/such/out.wav"), 0);
  ASSERT_LT(PollUntilDone(handle).percent, 0);

  EXPECT_EQ(xAcm_GetErrorString(handle, text, sizeof text), 256);
  EXPECT_EQ(std::string(text),
            ("The compressed file cannot be opened (No such file or directory): " + missing)
                .substr(0, 255));
  char small[8];
  EXPECT_EQ(xAcm_GetErrorString(handle, small, sizeof small), 8);
  EXPECT_STREQ(small, "The com");
  EXPECT_EQ(xAcm_GetErrorString(handle, small, 1), 1);
  EXPECT_STREQ(small, "");
  xAcm_DestroyObject(handle);

  EXPECT_EQ(xAcm_DecodeFile(handle, missing.c_str(), "/tmp/x.wav"), 0);  // destroyed
  EXPECT_LT(xAcm_GetDecodingPercent(handle), 0);
}

}  // namespace
}  // namespace quorvane
