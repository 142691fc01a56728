// Session loading and saving end to end: tracks of every format the host writes, joined
// into one document in the session's format, and split back into one file per slide.
#include "app/Session.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "app/ProjectFile.h"
#include "core/Interaction.h"
#include "core/ProjectTables.h"
#include "editing/EditCommands.h"
#include "storage/EditorState.h"
#include "tests/app/ProjectSessionFixture.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/WaveBuilder.h"

namespace quorvane {
namespace {

using testing::EightBitPattern;
using testing::FileChannel;
using testing::Interleave;
using testing::Joined;
using testing::PcmWave;
using testing::ProjectPlan;
using testing::Ramp;
using testing::ReadWavFile;
using testing::RunProgram;
using testing::SlidePlan;
using testing::Soxi;
using testing::Stretch;
using testing::TrackSlide;

std::vector<int16_t> Zeros(size_t count) { return std::vector<int16_t>(count, 0); }

std::vector<int16_t> Widened(std::vector<int16_t> samples) {
  for (int16_t& sample : samples) sample = static_cast<int16_t>(sample * 256);
  return samples;
}

class SessionLoading : public testing::ProjectSessionTest {
 protected:
  int32_t Start(int n) const { return Project().Slides[static_cast<size_t>(n)].Start; }

  // The samples of a written track file, one channel.
  std::vector<int16_t> Written(const std::string& name, int channel = 1) const {
    const auto wav = ReadWavFile(Track(name));
    return wav ? FileChannel(*wav, channel) : std::vector<int16_t>{};
  }
};

class SessionSaving : public SessionLoading {};

struct Format {
  int channels;
  int rate;
  int bits;
  const char* duration;  // of 3000 frames, as the project file gets it
  const char* encoding;  // as soxi names it
};

TEST_F(SessionLoading, TracksKeepTheirFormatWhenTheProjectGivesNone) {
  const std::vector<Format> formats = {
      {1, 11025, 8, "0.272", "Unsigned Integer PCM"},
      {2, 22050, 16, "0.136", "Signed Integer PCM"},
      {1, 44100, 16, "0.068", "Signed Integer PCM"},
      {2, 11025, 8, "0.272", "Unsigned Integer PCM"},
  };
  int round = 0;
  for (const Format& format : formats) {
    SCOPED_TRACE(::testing::Message()
                 << format.channels << " x " << format.bits << " bits at " << format.rate);
    const std::string name = "voice" + std::to_string(++round) + ".wav";
    const bool eight = format.bits == 8;
    const auto left = eight ? EightBitPattern(3000, 1) : Ramp(3000, -1500, 11);
    const auto right = format.channels == 1
                           ? std::vector<int16_t>{}
                           : (eight ? EightBitPattern(3000, 2) : Ramp(3000, 900, -5));
    const std::string bytes =
        PcmWave(format.channels, format.rate, format.bits, Interleave(left, right));
    ProjectPlan plan;
    plan.slides = {TrackSlide(name, bytes)};
    LoadProject(plan);
    EXPECT_EQ(document.WavFmtChannel, format.channels);
    EXPECT_EQ(document.WavFmtFreq, format.rate);
    EXPECT_EQ(document.WavFmtBits, format.bits);
    EXPECT_EQ(Left(), left);
    if (format.channels == 2) {
      EXPECT_EQ(Right(), right);
    }

    ProjectFileSave(document);
    // Same format, same samples: the same file, as others read it too.
    EXPECT_EQ(testing::ReadFileBytes(Track(name)), bytes);
    EXPECT_EQ(Soxi("-c", Track(name)), std::to_string(format.channels));
    EXPECT_EQ(Soxi("-r", Track(name)), std::to_string(format.rate));
    EXPECT_EQ(Soxi("-b", Track(name)), std::to_string(format.bits));
    EXPECT_EQ(Soxi("-s", Track(name)), "3000");
    EXPECT_EQ(Soxi("-e", Track(name)), format.encoding);
    EXPECT_EQ(testing::IniValue(ProjectText(), "1", "Duration"), format.duration);
  }
  EXPECT_TRUE(ui.messages.empty()) << ::testing::PrintToString(Shown());
}

TEST_F(SessionLoading, EightBitTracksAreWidenedForASixteenBitSession) {
  const auto low = EightBitPattern(1000, 3);
  ProjectPlan plan;
  plan.baseBits = "16";
  plan.slides = {TrackSlide("low.wav", PcmWave(1, 11025, 8, low))};
  LoadProject(plan);
  EXPECT_EQ(document.WavFmtBits, 16);
  EXPECT_EQ(Left(), Widened(low));
  ProjectFileSave(document);
  EXPECT_EQ(Soxi("-b", Track("low.wav")), "16");
  EXPECT_EQ(Written("low.wav"), Widened(low));
  EXPECT_TRUE(ui.messages.empty()) << ::testing::PrintToString(Shown());
}

TEST_F(SessionLoading, SixteenBitTracksAreNarrowedForAnEightBitSession) {
  const std::vector<int16_t> wide = {32767, -32768, 384, 640, -384, -640, 127, 128, 129, 32639};
  const std::vector<int16_t> other = {-32767, 32767, -384, -640, 384,
                                      640,    -127,  -128, -129, -32639};
  ProjectPlan plan;
  plan.baseBits = "8";
  plan.slides = {TrackSlide("wide.wav", PcmWave(2, 22050, 16, Interleave(wide, other)))};
  LoadProject(plan);
  EXPECT_EQ(document.WavFmtBits, 8);
  // Divided by 256 rounding half to even, 128 kept at 127.
  const std::vector<int16_t> narrow = {127, -128, 2, 2, -2, -2, 0, 0, 1, 127};
  EXPECT_EQ(Left(), narrow);
  EXPECT_EQ(Right(), (std::vector<int16_t>{-128, 127, -2, -2, 2, 2, 0, 0, -1, -127}));
  ProjectFileSave(document);
  EXPECT_EQ(Soxi("-b", Track("wide.wav")), "8");
  EXPECT_EQ(Soxi("-c", Track("wide.wav")), "2");
  EXPECT_EQ(Written("wide.wav", 1), narrow);
  EXPECT_EQ(Written("wide.wav", 2), Right());
  EXPECT_TRUE(ui.messages.empty()) << ::testing::PrintToString(Shown());
}

TEST_F(SessionLoading, HalvingTheRateTakesEverySecondSample) {
  const auto left = Ramp(2000, 0, 13);
  const auto right = Ramp(2000, 7000, -9);
  ProjectPlan plan;
  plan.baseFrequency = "22050";
  plan.slides = {TrackSlide("fast.wav", PcmWave(2, 44100, 16, Interleave(left, right))),
                 TrackSlide("next.wav", PcmWave(2, 22050, 16, Interleave(Ramp(10), Ramp(10))))};
  LoadProject(plan);
  EXPECT_EQ(document.WavFmtFreq, 22050);
  ASSERT_EQ(Start(2), 1001);
  std::vector<int16_t> everySecondLeft;
  std::vector<int16_t> everySecondRight;
  for (size_t i = 1; i < left.size(); i += 2) {
    everySecondLeft.push_back(left[i]);
    everySecondRight.push_back(right[i]);
  }
  EXPECT_EQ(Stretch(Left(), 1, 1000), everySecondLeft);
  EXPECT_EQ(Stretch(Right(), 1, 1000), everySecondRight);
  ProjectFileSave(document);
  EXPECT_EQ(Soxi("-r", Track("fast.wav")), "22050");
  EXPECT_EQ(Written("fast.wav", 1), everySecondLeft);
  EXPECT_EQ(Written("fast.wav", 2), everySecondRight);
  EXPECT_EQ(testing::IniValue(ProjectText(), "1", "Duration"), "0.045");
  EXPECT_TRUE(ui.messages.empty()) << ::testing::PrintToString(Shown());
}

TEST_F(SessionLoading, QuadruplingTheRateInterpolatesBetweenTheSamples) {
  const auto slow = Ramp(500, -3000, 50);
  ProjectPlan plan;
  plan.baseFrequency = "44100";
  plan.slides = {TrackSlide("slow.wav", PcmWave(1, 11025, 16, slow)),
                 TrackSlide("next.wav", PcmWave(1, 44100, 16, Ramp(10, 77)))};
  LoadProject(plan);
  EXPECT_EQ(document.WavFmtFreq, 44100);
  ASSERT_EQ(Start(2), 2001);
  const auto samples = Stretch(Left(), 1, 2000);
  // Every fourth sample is a source sample; those between lie on the curve through them.
  for (size_t k = 0; k < slow.size(); ++k) {
    ASSERT_EQ(samples[4 * k], slow[k]) << k;
    if (k + 1 < slow.size()) {
      for (size_t j = 1; j < 4; ++j) {
        EXPECT_GT(samples[4 * k + j], samples[4 * k + j - 1]) << k << " " << j;
      }
    }
  }
  EXPECT_EQ(Stretch(Left(), 2001, 2010), Ramp(10, 77));
  ProjectFileSave(document);
  EXPECT_EQ(Soxi("-r", Track("slow.wav")), "44100");
  EXPECT_EQ(Soxi("-s", Track("slow.wav")), "2000");
  EXPECT_EQ(Written("slow.wav"), samples);
  EXPECT_TRUE(ui.messages.empty()) << ::testing::PrintToString(Shown());
}

TEST_F(SessionLoading, LongTracksAreConvertedAcrossBlocks) {
  // More samples than one block holds (524,288 for this memory budget), converted in bits
  // and then in rate: the second half of every pair, widened.
  const auto source = EightBitPattern(1'200'001, 5);
  ProjectPlan plan;
  plan.baseBits = "16";
  plan.baseFrequency = "11025";
  plan.slides = {TrackSlide("long.wav", PcmWave(1, 22050, 8, source))};
  LoadProject(plan);
  std::vector<int16_t> expected;
  for (size_t i = 1; i < source.size(); i += 2) expected.push_back(source[i]);
  expected = Widened(expected);
  ASSERT_EQ(document.WavWaveINos, 600'000);
  EXPECT_TRUE(Left() == expected);
  ProjectFileSave(document);
  EXPECT_TRUE(Written("long.wav") == expected);
  EXPECT_EQ(Soxi("-r", Track("long.wav")), "11025");
  EXPECT_TRUE(ui.messages.empty()) << ::testing::PrintToString(Shown());
}

TEST_F(SessionLoading, AnInterpolatedTrackLongerThanABlockKeepsEverySourceSample) {
  const auto left = Ramp(140'000, 0, 1);
  const auto right = Ramp(140'000, 0, -1);
  ProjectPlan plan;
  plan.baseFrequency = "44100";
  plan.slides = {TrackSlide("slow.wav", PcmWave(2, 11025, 16, Interleave(left, right)))};
  LoadProject(plan);
  ASSERT_EQ(document.WavWaveINos, 560'000);
  const auto resampledLeft = Left();
  const auto resampledRight = Right();
  for (size_t k = 0; k < left.size(); ++k) {
    ASSERT_EQ(resampledLeft[4 * k], left[k]) << k;
    ASSERT_EQ(resampledRight[4 * k], right[k]) << k;
  }
  EXPECT_TRUE(ui.messages.empty()) << ::testing::PrintToString(Shown());
}

TEST_F(SessionLoading, AMissingTrackIsSilenceOfItsDuration) {
  ProjectPlan plan;
  plan.baseFrequency = "22050";
  plan.slides = {TrackSlide("one.wav", PcmWave(1, 22050, 16, Ramp(1000, 1))),
                 SlidePlan{"Gap", "absent.wav", "2.5", "2.5", {}, {}},
                 TrackSlide("three.wav", PcmWave(1, 22050, 16, Ramp(500, 9)))};
  LoadProject(plan);
  EXPECT_EQ(document.WavWaveINos, 1000 + 55125 + 500);
  EXPECT_EQ(Start(2), 1001);
  EXPECT_EQ(Start(3), 56126);
  EXPECT_EQ(Left(), Joined({Ramp(1000, 1), Zeros(55125), Ramp(500, 9)}));
  // A marker at the end of the silence is still the slide's.
  ASSERT_EQ(Project().MarkerCount, 1);
  EXPECT_EQ(Project().Markers[1].Position, 56126);
  EXPECT_EQ(Project().Markers[1].Slide, 2);
  ProjectFileSave(document);
  EXPECT_FALSE(std::filesystem::exists(Track("absent.wav")));
  EXPECT_EQ(testing::IniValue(ProjectText(), "2", "Duration"), "2.5");
  EXPECT_EQ(testing::IniValue(ProjectText(), "2", "ClickMarkerTimes"), "2.5");
  EXPECT_TRUE(ui.messages.empty()) << ::testing::PrintToString(Shown());
}

TEST_F(SessionLoading, AShortTrackIsPaddedToItsDurationALongOneKept) {
  const auto voice = Ramp(33075, 100, 3);  // 3 s at 11025 Hz
  ProjectPlan plan;
  plan.slides = {TrackSlide("padded.wav", PcmWave(1, 11025, 16, voice), "5"),
                 TrackSlide("kept.wav", PcmWave(1, 11025, 16, voice), "2"),
                 TrackSlide("last.wav", PcmWave(1, 11025, 16, Ramp(5, 1)), "0")};
  LoadProject(plan);
  EXPECT_EQ(Start(2), 55126);
  EXPECT_EQ(Start(3), 55126 + 33075);
  EXPECT_EQ(document.WavWaveINos, 55125 + 33075 + 5);
  EXPECT_EQ(Left(), Joined({voice, Zeros(22050), voice, Ramp(5, 1)}));
  ProjectFileSave(document);
  EXPECT_EQ(Written("padded.wav"), Joined({voice, Zeros(22050)}));
  EXPECT_EQ(Written("kept.wav"), voice);
  const std::string text = ProjectText();
  EXPECT_EQ(testing::IniValue(text, "1", "Duration"), "5.0");
  EXPECT_EQ(testing::IniValue(text, "2", "Duration"), "3.0");
  EXPECT_EQ(testing::IniValue(text, "3", "Duration"), "0.0");
  EXPECT_TRUE(ui.messages.empty()) << ::testing::PrintToString(Shown());
}

TEST_F(SessionLoading, AStereoSlideMakesTheWholeDocumentStereo) {
  const auto first = Ramp(1000, 5);
  const auto secondLeft = Ramp(800, 2000, 2);
  const auto secondRight = Ramp(800, -2000, -2);
  const auto third = Ramp(600, 9000, 5);
  ProjectPlan plan;
  plan.slides = {
      TrackSlide("mono.wav", PcmWave(1, 22050, 16, first), "", "0.03125"),
      TrackSlide("stereo.wav", PcmWave(2, 22050, 16, Interleave(secondLeft, secondRight))),
      TrackSlide("after.wav", PcmWave(1, 22050, 16, third))};
  LoadProject(plan);
  EXPECT_EQ(document.WavFmtChannel, 2);
  EXPECT_EQ(Left(), Joined({first, secondLeft, third}));
  EXPECT_EQ(Right(), Joined({first, secondRight, third}));
  EXPECT_EQ(Start(2), 1001);
  EXPECT_EQ(Start(3), 1801);
  ASSERT_EQ(Project().MarkerCount, 1);
  EXPECT_EQ(Project().Markers[1].Position, 690);  // 689.0625 rounded, plus the start
  // Joining the tracks is not an edit the user could undo.
  EXPECT_EQ(menu.menuCaption, "Undo [Nothing]");

  ProjectFileSave(document);
  EXPECT_EQ(Soxi("-c", Track("mono.wav")), "2");
  EXPECT_EQ(Written("mono.wav", 1), first);
  EXPECT_EQ(Written("mono.wav", 2), first);
  EXPECT_EQ(Written("stereo.wav", 1), secondLeft);
  EXPECT_EQ(Written("stereo.wav", 2), secondRight);
  EXPECT_EQ(Written("after.wav", 2), third);
  EXPECT_TRUE(ui.messages.empty()) << ::testing::PrintToString(Shown());
}

TEST_F(SessionLoading, Mp3TracksGoThroughLameBothWays) {
  const std::string tone = files.File("tone.wav");
  testing::WritePcm16Wav(tone, testing::TestSignal(1, 22050, 22050), 1, 22050);
  const std::string mp3 = files.File("voice.mp3");
  ASSERT_EQ(RunProgram("lame", {"--quiet", "-b", "128", tone, mp3}).exitStatus, 0);
  // What lame's own decoder makes of the file is what the session must hold.
  const std::string reference = files.File("reference.wav");
  ASSERT_EQ(RunProgram("lame", {"--quiet", "--decode", mp3, reference}).exitStatus, 0);
  const auto decoded = FileChannel(*ReadWavFile(reference), 1);

  ProjectPlan plan;
  plan.lameSettings = "--quiet -b 128";
  // An encoder that is not there: the one on the PATH stays in use.
  plan.lamePath = files.File("no such lame");
  plan.slides = {TrackSlide("voice.mp3", testing::ReadFileBytes(mp3), "", "0.5"),
                 TrackSlide("after.wav", PcmWave(1, 22050, 16, Ramp(100, 1)))};
  LoadProject(plan);
  EXPECT_EQ(document.WavFmtFreq, 22050);
  EXPECT_EQ(Stretch(Left(), 1, Start(2) - 1), decoded);
  EXPECT_EQ(Stretch(Left(), Start(2), document.WavWaveINos), Ramp(100, 1));

  // The first 0.1 s goes; the file written again is an MP3 of what is left.
  Editor().SelStart = 1;
  Editor().SelEnd = 2205;
  EditDelete(document);
  ProjectFileSave(document);
  EXPECT_EQ(Soxi("-t", Track("voice.mp3")), "mp3");
  const std::string again = files.File("again.wav");
  ASSERT_EQ(RunProgram("lame", {"--quiet", "--decode", Track("voice.mp3"), again}).exitStatus, 0);
  const auto redecoded = FileChannel(*ReadWavFile(again), 1);
  EXPECT_NEAR(static_cast<double>(redecoded.size()), static_cast<double>(decoded.size() - 2205),
              1152.0);
  EXPECT_EQ(testing::IniValue(ProjectText(), "1", "ClickMarkerTimes"), "0.4");
  EXPECT_TRUE(ui.messages.empty()) << ::testing::PrintToString(Shown());
}

TEST_F(SessionLoading, CompressedWavTracksAreDecoded) {
  const auto signal = testing::TestSignal(2, 22050, 11025);
  const std::string source = files.File("source.wav");
  testing::WritePcm16Wav(source, signal, 2, 22050);
  const std::string compressed = files.File("compressed.wav");
  testing::EncodeWithFfmpeg(source, compressed, "adpcm_ms");
  const std::string reference = files.File("reference.wav");
  testing::RunFfmpeg({"-i", compressed, "-c:a", "pcm_s16le", reference});
  const auto decoded = ReadWavFile(reference);
  ASSERT_TRUE(decoded);

  ProjectPlan plan;
  plan.slides = {TrackSlide("adpcm.wav", testing::ReadFileBytes(compressed))};
  LoadProject(plan);
  EXPECT_EQ(document.WavFmtChannel, 2);
  EXPECT_EQ(document.WavFmtBits, 16);
  EXPECT_EQ(Left(), FileChannel(*decoded, 1));
  EXPECT_EQ(Right(), FileChannel(*decoded, 2));

  // Saved as plain PCM.
  ProjectFileSave(document);
  const auto written = ReadWavFile(Track("adpcm.wav"));
  ASSERT_TRUE(written);
  EXPECT_EQ(written->formatTag, 1);
  EXPECT_EQ(Soxi("-e", Track("adpcm.wav")), "Signed Integer PCM");
  EXPECT_EQ(FileChannel(*written, 1), Left());
  EXPECT_EQ(FileChannel(*written, 2), Right());
  EXPECT_TRUE(ui.messages.empty()) << ::testing::PrintToString(Shown());
}

TEST_F(SessionLoading, AFailingConversionIsReportedAsOpenWaveError) {
  ui.progress.failWhenShownInColor = Rgb(0, 128, 128);
  ProjectPlan plan;
  plan.baseBits = "8";
  plan.slides = {TrackSlide("loud.wav", PcmWave(1, 11025, 16, Ramp(1000, 0, 20)))};
  LoadProject(plan);
  ASSERT_EQ(ui.messages.size(), 1u) << ::testing::PrintToString(Shown());
  EXPECT_EQ(ui.messages[0].caption, "Open Wave Error");
  EXPECT_EQ(ui.messages[0].text, "Out of memory");
  EXPECT_EQ(ui.messages[0].buttons, MessageButtons::OkOnly);
  EXPECT_FALSE(ui.progress.IsVisible());
  EXPECT_EQ(ui.busyDepth, 0);
}

TEST_F(SessionLoading, AFailingInsertIsReportedAsFileInsertError) {
  // The display is shown for the first time, still uncoloured, when the silence of the
  // missing track is joined.
  ui.progress.failWhenShownInColor = 0;
  ProjectPlan plan;
  plan.baseFrequency = "11025";
  plan.slides = {SlidePlan{"Gap", "absent.wav", "1", {}, {}, {}}};
  LoadProject(plan);
  ASSERT_EQ(ui.messages.size(), 1u) << ::testing::PrintToString(Shown());
  EXPECT_EQ(ui.messages[0].caption, "File Insert Error");
  EXPECT_EQ(ui.messages[0].text, "Out of memory");
  EXPECT_EQ(ui.messages[0].buttons, MessageButtons::OkOnly);
  EXPECT_EQ(document.WavWaveINos, 0);
  EXPECT_EQ(ui.busyDepth, 0);
}

TEST_F(SessionSaving, ASilentSlideLosesItsFileAndGetsNone) {
  ProjectPlan plan;
  plan.baseFrequency = "22050";
  plan.slides = {TrackSlide("loud.wav", PcmWave(1, 22050, 16, Ramp(1000, 1))),
                 TrackSlide("quiet.wav", PcmWave(2, 22050, 16, Zeros(4000))),
                 TrackSlide("tiny.wav", PcmWave(1, 22050, 16, {1000, -1000, 5, 6, 7})),
                 SlidePlan{"Gap", "absent.wav", "1", {}, {}, {}}};
  LoadProject(plan);
  EXPECT_EQ(document.WavFmtChannel, 2);
  // Two samples of the tiny slide are left: too short to be written.
  Editor().SelStart = 3003;
  Editor().SelEnd = 3005;
  EditDelete(document);
  ASSERT_EQ(Project().Slides[4].Start, 3003);
  ProjectFileSave(document);
  EXPECT_TRUE(std::filesystem::exists(Track("loud.wav")));
  EXPECT_FALSE(std::filesystem::exists(Track("quiet.wav")));
  EXPECT_FALSE(std::filesystem::exists(Track("tiny.wav")));
  EXPECT_FALSE(std::filesystem::exists(Track("absent.wav")));
  const std::string text = ProjectText();
  EXPECT_EQ(testing::IniValue(text, "2", "Duration"), "0.091");
  EXPECT_EQ(testing::IniValue(text, "3", "Duration"), "0.0");
  EXPECT_EQ(testing::IniValue(text, "4", "Duration"), "1.0");
  EXPECT_TRUE(ui.messages.empty()) << ::testing::PrintToString(Shown());
}

TEST_F(SessionSaving, AudioWhoseFileWasDeletedComesBackWithUndo) {
  const auto voice = Ramp(3000, 1, 5);
  ProjectPlan plan;
  plan.slides = {TrackSlide("voice.wav", PcmWave(1, 11025, 16, voice)),
                 TrackSlide("next.wav", PcmWave(1, 11025, 16, Ramp(300, 7)))};
  LoadProject(plan);
  // One second of silence before the voice, then the voice deleted: a silent slide.
  Editor().SelStart = Editor().SelEnd = 1;
  ASSERT_TRUE(InsertSilenceSeconds(document, "1"));
  Editor().SelStart = 11026;
  Editor().SelEnd = 14025;
  EditDelete(document);
  ProjectFileSave(document);
  ASSERT_FALSE(std::filesystem::exists(Track("voice.wav")));

  EditUndo(document);
  EXPECT_EQ(Stretch(Left(), 1, 14025), Joined({Zeros(11025), voice}));
  ProjectFileSave(document);
  EXPECT_EQ(Written("voice.wav"), Joined({Zeros(11025), voice}));
  EXPECT_TRUE(ui.messages.empty()) << ::testing::PrintToString(Shown());
}

}  // namespace
}  // namespace quorvane
