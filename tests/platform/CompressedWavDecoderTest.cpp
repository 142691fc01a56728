#include "platform/CompressedWavDecoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <thread>
#include <tuple>

#include "platform/AcmDecodingLibrary.h"
#include "tests/support/CompressedWavFixtures.h"
#include "tests/support/TempFolder.h"

namespace quorvane::testing {
namespace {

namespace fs = std::filesystem;

struct DecodeOutcome {
  int32_t percent = 0;
  std::string error;
  std::vector<int32_t> seen;  // every distinct percentage polled, in order
};

// Polls the library the way the program does, only faster.
DecodeOutcome PollUntilDone(int32_t handle) {
  DecodeOutcome outcome;
  const auto giveUp = std::chrono::steady_clock::now() + std::chrono::minutes(2);
  do {
    outcome.percent = xAcm_GetDecodingPercent(handle);
    if (outcome.seen.empty() || outcome.seen.back() != outcome.percent) {
      outcome.seen.push_back(outcome.percent);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  } while (outcome.percent >= 0 && outcome.percent < 100 &&
           std::chrono::steady_clock::now() < giveUp);
  char text[256];
  if (xAcm_GetErrorString(handle, text, sizeof text) > 1) outcome.error = text;
  return outcome;
}

DecodeOutcome Decode(const std::string& source, const std::string& destination,
                     const std::string& settingsFile = "") {
  const int32_t handle = xAcm_CreateObject(settingsFile.c_str());
  EXPECT_NE(xAcm_DecodeFile(handle, source.c_str(), destination.c_str()), 0);
  DecodeOutcome outcome = PollUntilDone(handle);
  xAcm_DestroyObject(handle);
  return outcome;
}

class CompressedWavDecoderTest : public ::testing::Test {
 protected:
  // The signal as a 16-bit PCM WAV, encoded by ffmpeg into `name`.
  std::string Encode(const std::string& name, const std::vector<int16_t>& signal, int channels,
                     int sampleRate, const std::string& codec,
                     const std::vector<std::string>& options = {}) {
    WritePcm16Wav(folder.File("source.wav"), signal, channels, sampleRate);
    EncodeWithFfmpeg(folder.File("source.wav"), folder.File(name), codec, options);
    return folder.File(name);
  }
  std::string Out(const std::string& name = "out.wav") const { return folder.File(name); }

  TempFolder folder;
};

TEST_F(CompressedWavDecoderTest, EveryFormatFollowsTheSourceInEveryChannelForTheFactLength) {
  struct Case {
    std::string codec;
    int channels, sampleRate;
    double minimumSnrDb;  // infinite: the samples come back exactly
    size_t encoderDelay;  // the most frames the decoded audio may lag behind the source
    int gain = 1;         // of the extensible float and 24- and 32-bit files
  };
  for (const Case& c :
       {Case{"pcm_f32le", 2, 44100, INFINITY, 0}, Case{"pcm_s24le", 2, 48000, INFINITY, 0},
        Case{"pcm_s32le", 1, 96000, INFINITY, 0}, Case{"pcm_f32le", 1, 8000, INFINITY, 0, 4},
        Case{"adpcm_ima_wav", 2, 44100, 35, 0}, Case{"adpcm_ms", 1, 22050, 30, 0},
        Case{"libgsm_ms", 1, 8000, 15, 0}, Case{"pcm_mulaw", 2, 8000, 35, 0},
        Case{"pcm_alaw", 1, 8000, 35, 0}, Case{"libmp3lame", 2, 44100, 20, 2000}}) {
    SCOPED_TRACE(c.codec + " gain " + std::to_string(c.gain));
    const size_t frames = 30011;
    const auto signal = TestSignal(c.channels, c.sampleRate, frames);
    const bool wide = std::isinf(c.minimumSnrDb);
    const std::string encoded =
        Encode("in.wav", signal, c.channels, c.sampleRate, c.codec,
               wide ? std::vector<std::string>{"-af", "aformat=sample_fmts=flt|s32,volume=" +
                                                          std::to_string(c.gain)}
                    : std::vector<std::string>{});
    ASSERT_EQ(ReadWavFile(encoded)->formatTag == 0xFFFE, wide);  // WAVE_FORMAT_EXTENSIBLE
    // ffmpeg counts the padding of a last ADPCM or GSM block; an exact encoder does not.
    if (c.codec.find("pcm") == std::string::npos && c.encoderDelay == 0) {
      PatchFactChunk(encoded, frames);
    }
    const DecodeOutcome outcome = Decode(encoded, Out());
    ASSERT_EQ(outcome.percent, 100) << outcome.error;
    const auto out = CanonicalPcm16Samples(Out(), c.channels, c.sampleRate);
    EXPECT_EQ(out.size() / c.channels, ReadWavFile(encoded)->factFrames.value_or(frames));
    std::vector<int16_t> reference;  // a gain of 4 takes the floats beyond full scale
    for (const int sample : signal) reference.push_back(std::clamp(c.gain * sample, -32768, 32767));
    for (int channel = 0; channel < c.channels; ++channel) {
      double best = -100;
      for (size_t lag = 0; lag <= c.encoderDelay; ++lag) {
        best = std::max(best, SignalToNoiseDb(Channel(reference, c.channels, channel),
                                              Channel(out, c.channels, channel), lag));
      }
      EXPECT_GE(best, c.minimumSnrDb) << "channel " << channel;
    }
  }
}

TEST_F(CompressedWavDecoderTest, WithoutAFactChunkEveryBlockIsKeptAndACutOneAsFarAsItGoes) {
  // IMA decodes what there is of a block; GSM refuses a block cut short.
  for (const bool gsm : {false, true}) {
    SCOPED_TRACE(gsm ? "gsm" : "ima");
    const int channels = gsm ? 1 : 2;
    const int rate = gsm ? 8000 : 44100;
    const size_t frames = 20000;
    const std::string encoded = Encode("in.wav", TestSignal(channels, rate, frames), channels, rate,
                                       gsm ? "libgsm_ms" : "adpcm_ima_wav");
    PatchFactChunk(encoded, std::nullopt);
    ASSERT_EQ(Decode(encoded, Out("whole.wav")).percent, 100);
    const auto fixture = ReadWavFile(encoded);
    fs::resize_file(encoded, fixture->dataOffset + 5 * fixture->blockAlign / 2);  // 2.5 blocks
    const DecodeOutcome outcome = Decode(encoded, Out("cut.wav"));
    ASSERT_EQ(outcome.percent, 100) << outcome.error;
    const auto whole = CanonicalPcm16Samples(Out("whole.wav"), channels, rate);
    const auto cut = CanonicalPcm16Samples(Out("cut.wav"), channels, rate);
    // A GSM block holds 320 frames; a stereo IMA block 8 header bytes with the first
    // frame, then one frame per byte.
    const size_t blockSamples = channels * (gsm ? 320 : fixture->blockAlign - 8U + 1);
    EXPECT_EQ(whole.size(), (frames * channels + blockSamples - 1) / blockSamples * blockSamples);
    ASSERT_GE(cut.size(), 2 * blockSamples);
    EXPECT_LT(cut.size(), 3 * blockSamples);
    EXPECT_TRUE(std::equal(cut.begin(), cut.end(), whole.begin()));
  }
}

TEST_F(CompressedWavDecoderTest, BadFilesAndFailedWritesFailWithAPlainReasonAndLeaveNoFile) {
  const std::string mulaw = Encode("mulaw.wav", TestSignal(1, 8000, 4000), 1, 8000, "pcm_mulaw");
  const std::string ima =
      Encode("ima.wav", TestSignal(2, 44100, 44100 * 10), 2, 44100, "adpcm_ima_wav");
  const std::string bytes = ReadFileBytes(mulaw);
  std::string unknownTag = bytes;
  unknownTag.replace(20, 2, "\x34\x12");  // the `fmt ` chunk follows the RIFF header
  std::string garbage(5000, '\0');
  for (size_t i = 0; i < garbage.size(); ++i) garbage[i] = static_cast<char>(i * 7919 % 251);
  const std::string noFolder = Out("no-folder/out.wav");
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {folder.File("missing.wav"), Out(), "cannot be opened (No such file or directory)"},
      {folder.Write("garbage.wav", garbage), Out(), "not a WAV file"},
      {folder.Write("header.wav", bytes.substr(0, 30)), Out(), "no usable format chunk"},
      {folder.Write("nodata.wav", bytes.substr(0, 36)), Out(), "no data chunk"},
      {folder.Write("tag.wav", unknownTag), Out(),
       "No decoder is available for this audio format (format tag 4660, 0x1234)"},
      {folder.Path(), Out(), "not a regular file"},
      {mulaw, mulaw, "would replace the compressed file"},
      {mulaw, noFolder,
       "The decoded file cannot be created (No such file or directory): " + noFolder},
      {ima, Out(), "Writing the decoded file failed (File too large): " + Out()},
  };
  // The file size limit stands in for a full disk: writes beyond it fail with EFBIG. Only
  // the IMA file decodes to more.
  {
    const ScopedFileSizeLimit limit(256 * 1024);
    for (const auto& [source, destination, reason] : cases) {
      SCOPED_TRACE(source + " to " + destination);
      const DecodeOutcome outcome = Decode(source, destination);
      EXPECT_LT(outcome.percent, 0);
      EXPECT_NE(outcome.error.find(reason), std::string::npos) << outcome.error;
      EXPECT_FALSE(fs::exists(Out()));
    }
  }
  EXPECT_EQ(ReadFileBytes(mulaw), bytes);
}

TEST_F(CompressedWavDecoderTest, TheWindowSizeSettingOnlyChangesHowOftenTheFileIsWritten) {
  const std::string settings = folder.Write("settings.ini", "[Misc]\r\nWindowSize=4096\r\n");
  EXPECT_EQ(CompressedWavDecoder(settings).WindowBytes(), 4096U);
  EXPECT_EQ(CompressedWavDecoder(folder.File("none.ini")).WindowBytes(), 196500U);
  folder.Write("bad.ini", "[Misc]\r\nWindowSize=many\r\n");
  EXPECT_EQ(CompressedWavDecoder(folder.File("bad.ini")).WindowBytes(), 196500U);
  // A stereo block of 4096 bytes decodes to 16356 bytes, more than the small window holds.
  const std::string encoded = Encode("ima.wav", TestSignal(2, 44100, 30000), 2, 44100,
                                     "adpcm_ima_wav", {"-block_size", "4096"});
  ASSERT_EQ(Decode(encoded, Out("small.wav"), settings).percent, 100);
  ASSERT_EQ(Decode(encoded, Out("default.wav")).percent, 100);
  EXPECT_EQ(ReadFileBytes(Out("small.wav")), ReadFileBytes(Out("default.wav")));
}

TEST_F(CompressedWavDecoderTest, PercentRisesTo100AndDestroyingOrANewDecodingStopsTheWorker) {
  const std::string encoded =
      Encode("long.wav", TestSignal(2, 44100, 44100 * 120), 2, 44100, "adpcm_ima_wav");
  const DecodeOutcome outcome = Decode(encoded, Out());
  ASSERT_EQ(outcome.percent, 100);
  EXPECT_TRUE(std::is_sorted(outcome.seen.begin(), outcome.seen.end()));
  EXPECT_GE(outcome.seen.front(), 0);
  EXPECT_EQ(CanonicalPcm16Samples(Out(), 2, 44100).size(), 2 * *ReadWavFile(encoded)->factFrames);
  for (const bool waitForProgress : {false, true}) {
    SCOPED_TRACE(waitForProgress);
    fs::remove(Out());
    const int32_t handle = xAcm_CreateObject("");
    ASSERT_NE(xAcm_DecodeFile(handle, encoded.c_str(), Out().c_str()), 0);
    int32_t percent = 0;
    while (waitForProgress && (percent = xAcm_GetDecodingPercent(handle)) == 0) {
      std::this_thread::yield();
    }
    xAcm_DestroyObject(handle);
    EXPECT_LT(xAcm_GetDecodingPercent(handle), 0);  // the handle is gone
    EXPECT_EQ(xAcm_DecodeFile(handle, encoded.c_str(), Out("x.wav").c_str()), 0);
    // Either the decoding was done before the object went, or it left no file.
    EXPECT_TRUE(percent == 100 || !fs::exists(Out()));
  }
  // A new decoding on the same object replaces a running one.
  const std::string second = Encode("b.wav", TestSignal(2, 8000, 5000), 2, 8000, "pcm_mulaw");
  const int32_t handle = xAcm_CreateObject("");
  ASSERT_NE(xAcm_DecodeFile(handle, encoded.c_str(), Out("1.wav").c_str()), 0);
  ASSERT_NE(xAcm_DecodeFile(handle, second.c_str(), Out("2.wav").c_str()), 0);
  ASSERT_EQ(PollUntilDone(handle).percent, 100);
  EXPECT_EQ(CanonicalPcm16Samples(Out("2.wav"), 2, 8000).size(), 2 * 5000U);
  // The first decoding either finished before it was replaced or left nothing behind.
  EXPECT_TRUE(!fs::exists(Out("1.wav")) || CanonicalPcm16Samples(Out("1.wav"), 2, 44100).size() ==
                                               2 * *ReadWavFile(encoded)->factFrames);
  xAcm_DestroyObject(handle);
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
  EXPECT_EQ(xAcm_GetErrorString(handle, text, 8), 8);
  EXPECT_STREQ(text, "The com");
  EXPECT_EQ(xAcm_GetErrorString(handle, text, 1), 1);
  EXPECT_STREQ(text, "");
  xAcm_DestroyObject(handle);
}

}  // namespace
}  // namespace quorvane::testing
