// The batch tool as the programs that depend on it see it: the real quorvane-audio-batch
// run without a shell on real projects, its standard output, standard error, exit status
// and the files it leaves behind compared with what it must print and write, byte for byte.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "app/ProjectLock.h"
#include "platform/FileLock.h"
#include "platform/WaveCuePoints.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/CompressedWavFixtures.h"
#include "tests/support/ProjectBuilder.h"
#include "tests/support/SessionFixture.h"
#include "tests/support/SpokenFixture.h"
#include "tests/support/TempFolder.h"
#include "tests/support/WaveBuilder.h"

#ifndef QUORVANE_BATCH_PROGRAM
#error "QUORVANE_BATCH_PROGRAM names the batch tool under test"
#endif

namespace quorvane::testing {
namespace {

constexpr char kUsage[] = "usage: quorvane-audio-batch PROJECT [COMMAND ...]\n";
constexpr char kOutside[] = "quorvane-audio-batch: positions outside the document (length 4005)\n";
constexpr char kFlagFile[] = "/VB and VBA Program Settings/Quorvane Stagora.conf";

// A message the tool answered, as it writes it on standard error; `text` as JSON has it.
std::string Message(const std::string& text, const std::string& icon = "None") {
  return "{\"caption\":\"Timeline Audio Editor\",\"text\":\"" + text + "\",\"icon\":\"" + icon +
         "\",\"buttons\":\"OKOnly\",\"answer\":\"OK\"}\n";
}

// What `samples` prints for these values; a mono document has no right channel.
std::string SamplesLine(const std::vector<int16_t>& left, const std::vector<int16_t>& right = {}) {
  const auto list = [](const std::vector<int16_t>& values) {
    std::string text;
    for (const int16_t value : values) text += (text.empty() ? "" : ",") + std::to_string(value);
    return "[" + text + "]";
  };
  return "{\"left\":" + list(left) + (right.empty() ? "" : ",\"right\":" + list(right)) + "}\n";
}

// What `info` prints for the fixture's project: the slides start at s[0], s[1], s[2] and the
// last one ends at s[3]; `markers` are the positions of the first of its three markers.
std::string Info(int64_t length, bool changed, const std::string& undo, std::array<int64_t, 4> s,
                 const std::vector<int64_t>& markers) {
  const auto n = [](int64_t value) { return std::to_string(value); };
  std::string text =
      "{\"channels\":2,\"rate\":11025,\"bits\":16,\"length\":" + n(length) +
      ",\"changed\":" + (changed ? "true" : "false") + ",\"undo\":\"" + undo +
      "\",\"slides\":[{\"title\":\"Say \\\"hi\\\" \\\\ caf\xC3\xA9\",\"track\":\"one.wav\","
      "\"start\":" +
      n(s[0]) + ",\"end\":" + n(s[1]) +
      "},{\"title\":\"Stereo\",\"track\":\"two.wav\",\"start\":" + n(s[1]) + ",\"end\":" + n(s[2]) +
      "},{\"title\":\"Gap\",\"track\":\"gap.wav\",\"start\":" + n(s[2]) + ",\"end\":" + n(s[3]) +
      "}],\"markers\":[";
  const char* kindAndSlide[][2] = {{"1", "1"}, {"2", "1"}, {"1", "2"}};
  for (size_t m = 0; m < markers.size(); ++m) {
    text += std::string(m ? "," : "") + "{\"kind\":" + kindAndSlide[m][0] +
            ",\"position\":" + n(markers[m]) + ",\"slide\":" + kindAndSlide[m][1] + "}";
  }
  return text + "]}\n";
}
const std::string kLoaded =
    Info(4005, false, "Undo [Nothing]", {1, 1001, 1801, 4006}, {111, 552, 1442});

// A voice-like stretch of `seconds` at 48 kHz: a few partials under a syllable-rate
// envelope and some noise, `amplitude` at its loudest, `full` its full scale.
std::vector<int16_t> Voice(double seconds, double amplitude, int seed, int full = 32767) {
  std::vector<int16_t> samples(static_cast<size_t>(seconds * 48000));
  uint32_t noise = 12345u + static_cast<uint32_t>(seed);
  for (size_t i = 0; i < samples.size(); ++i) {
    const double t = static_cast<double>(i) / 48000;
    const double envelope = 0.55 + 0.45 * std::sin(2 * M_PI * (3.0 + seed) * t);
    noise = noise * 1664525u + 1013904223u;
    const double hiss = (static_cast<double>(noise >> 8) / (1u << 24) - 0.5) * 0.2;
    const double partials = 0.5 * std::sin(2 * M_PI * (140.0 + 20 * seed) * t) +
                            0.3 * std::sin(2 * M_PI * 910.0 * t) +
                            0.2 * std::sin(2 * M_PI * 2630.0 * t);
    samples[i] = static_cast<int16_t>(std::lround(amplitude * full * envelope * (partials + hiss)));
  }
  return samples;
}

// What `loudness` prints, read back: per slide the integrated loudness and true peak (NAN
// for null).
std::vector<std::array<double, 2>> LoudnessFigures(const std::string& line) {
  std::vector<std::array<double, 2>> figures;
  const std::regex slide(
      R"(\{"slide":(\d+),"integrated":([-0-9.]+|null),"true_peak":([-0-9.]+|null)\})");
  const auto number = [](const std::string& text) {
    return text == "null" ? NAN : std::stod(text);
  };
  for (auto match = std::sregex_iterator(line.begin(), line.end(), slide);
       match != std::sregex_iterator(); ++match) {
    EXPECT_EQ(std::stoi((*match)[1]), static_cast<int>(figures.size()) + 1);
    figures.push_back({number((*match)[2]), number((*match)[3])});
  }
  return figures;
}

// ffmpeg's EBU R128 summary of a file: integrated loudness and true peak.
std::array<double, 2> FfmpegLoudness(const std::string& path) {
  const ProgramRun run = RunProgram("ffmpeg", {"-nostats", "-hide_banner", "-i", path, "-af",
                                               "ebur128=peak=true", "-f", "null", "-"});
  EXPECT_EQ(run.exitStatus, 0) << run.err;
  const std::string summary = run.err.substr(run.err.rfind("Summary:"));
  std::smatch integrated;
  std::smatch peak;
  EXPECT_TRUE(std::regex_search(summary, integrated, std::regex(R"(I:\s+([-0-9.]+) LUFS)")));
  EXPECT_TRUE(std::regex_search(summary, peak, std::regex(R"(Peak:\s+([-0-9.]+) dBFS)")));
  return {std::stod(integrated[1]), std::stod(peak[1])};
}

class BatchTool : public ::testing::Test {
 protected:
  // A three-slide project at 11025 Hz: a mono voice, a stereo voice and a missing track of
  // 0.2 s, with a marker of each kind.
  BatchTool() : one(Ramp(1000, 1, 3)), twoLeft(Ramp(800, 5000, -2)), twoRight(Ramp(800, -5000, 2)) {
    std::filesystem::create_directories(Temporary());
    std::filesystem::create_directories(folder.File("tracks"));
    plan.targetFolder = folder.File("tracks");
    plan.baseFrequency = "11025";
    plan.lameSettings = "--quiet";
    plan.slides = {
        TrackSlide("one.wav", PcmWave(1, 11025, 16, one), "", "0.01", "0.05"),
        TrackSlide("two.wav", PcmWave(2, 11025, 16, Interleave(twoLeft, twoRight)), "", "0.04"),
        SlidePlan{"Gap", "gap.wav", "0.2", {}, {}, {}}};
    plan.slides[0].title = "Say \"hi\" \\ caf\xC3\xA9";
    plan.slides[1].title = "Stereo";
  }

  std::string Track(const std::string& name) const { return folder.File("tracks/" + name); }
  std::string Project() const { return folder.File("project.ini"); }
  // $TMPDIR of the tool: its session folder is made here and must be gone afterwards.
  std::string Temporary() const { return folder.File("tmp"); }
  std::string HostFlagText() const { return ReadFileBytes(folder.File("config") + kFlagFile); }
  void WriteProject() const { testing::WriteProject(Project(), plan); }

  // The tool on the project with these commands, one argument a word, in a private
  // configuration and temporary folder and without a session bus.
  ProgramRun Run(const std::string& commands, std::string project = "") const {
    std::vector<std::string> arguments = {project.empty() ? Project() : project};
    std::istringstream words(commands);
    for (std::string word; words >> word;) arguments.push_back(word);
    return RunProgram(QUORVANE_BATCH_PROGRAM, arguments,
                      {"XDG_CONFIG_HOME=" + folder.File("config"), "TMPDIR=" + Temporary(),
                       "DBUS_SESSION_BUS_ADDRESS=unix:path=" + folder.File("no-bus")});
  }

  void ExpectSessionFolderGone() const {
    EXPECT_TRUE(std::filesystem::is_empty(Temporary())) << "left behind in " << Temporary();
  }

  TempFolder folder;
  ProjectPlan plan;
  std::vector<int16_t> one, twoLeft, twoRight;
};

TEST_F(BatchTool, InfoAndSamplesDescribeTheDocument) {
  WriteProject();
  // The mono first slide is heard on both sides; the project path may come in quotes.
  ProgramRun run = Run("info samples 998 1003 samples 4005 4005", "\"" + Project() + "\"");
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out, kLoaded +
                         SamplesLine(Joined({Stretch(one, 998, 1000), Stretch(twoLeft, 1, 3)}),
                                     Joined({Stretch(one, 998, 1000), Stretch(twoRight, 1, 3)})) +
                         SamplesLine({0}, {0}));
  ExpectSessionFolderGone();

  // A mono document has only a left channel; samples prints a million values (at most, as
  // the status-two case shows).
  plan.slides = {TrackSlide("one.wav", PcmWave(1, 11025, 16, one)),
                 SlidePlan{"Long", "long.wav", "100", {}, {}, {}}};
  WriteProject();
  run = Run("samples 1 4 samples 103501 1103500");
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_TRUE(run.out == SamplesLine({1, 4, 7, 10}) + SamplesLine(Zeros(1'000'000)))
      << run.out.substr(0, 100);
}

TEST_F(BatchTool, EditsAndSaveChangeTheTracksAndTheProjectFile) {
  WriteProject();
  ::chmod(Track("one.wav").c_str(), 0664);  // a track written anew keeps its permissions
  // 100 samples of each of the first two slides go, then one second of silence goes in at
  // the start of the second slide.
  const ProgramRun run =
      Run("delete 901 1100 info samples 899 902 insert-silence 901 1 info save info");
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.err, "");
  const std::array<int64_t, 4> inserted = {1, 901, 1601 + 11025, 3806 + 11025};
  EXPECT_EQ(
      run.out,
      Info(3805, true, "Undo [Delete]", {1, 901, 1601, 3806}, {111, 552, 1242}) +
          SamplesLine(Joined({Stretch(one, 899, 900), Stretch(twoLeft, 101, 102)}),
                      Joined({Stretch(one, 899, 900), Stretch(twoRight, 101, 102)})) +
          Info(3805 + 11025, true, "Undo [Insert Silence]", inserted, {111, 552, 1242 + 11025}) +
          Info(3805 + 11025, false, "Undo [Insert Silence]", inserted, {111, 552, 1242 + 11025}));

  // What the tracks hold the app tests check byte for byte; the missing one stays missing.
  EXPECT_FALSE(std::filesystem::exists(Track("gap.wav")));
  struct stat status {};
  ::stat(Track("one.wav").c_str(), &status);
  EXPECT_EQ(status.st_mode & 07777, 0664u);
  EXPECT_EQ(IniValue(ReadFileBytes(Project()), "1", "Duration"), "0.082");
  EXPECT_EQ(HostFlagText(), "[Dynamic]\nTAEState=1\n");
  ExpectSessionFolderGone();

  // The saved project opens again as it was saved (the app tests check every key it
  // writes). Durations are written to the millisecond: slide 1, 900 samples (0.0816 s),
  // comes back as 0.082 s, 904 samples; the marker at 1.03093 s as 1.031 s.
  EXPECT_EQ(Run("info").out,
            Info(14834, false, "Undo [Nothing]", {1, 905, 12630, 14835}, {111, 552, 12272}));
}

TEST_F(BatchTool, UndoTakesBackOneCommandAtATimeAndRedoDoesItAgain) {
  WriteProject();
  // An emptied document has empty slides and no markers. The delete takes the second
  // slide's marker with it; undo brings it back, redo takes it away again.
  const ProgramRun run = Run(
      "delete 1 4005 info undo delete 901 1500 insert-silence 2 2.5 undo info undo info samples 1 "
      "4005 redo info undo undo");
  EXPECT_EQ(run.exitStatus, 0);
  const std::vector<int16_t> silence(2205, 0);
  EXPECT_EQ(run.out,
            Info(0, true, "Undo [Delete]", {1, 1, 1, 1}, {}) +
                Info(3405, true, "Undo [Delete]", {1, 901, 1201, 3406}, {111, 552}) +
                Info(4005, true, "Undo [Nothing]", {1, 1001, 1801, 4006}, {111, 552, 1442}) +
                SamplesLine(Joined({one, twoLeft, silence}), Joined({one, twoRight, silence})) +
                Info(3405, true, "Undo [Delete]", {1, 901, 1201, 3406}, {111, 552}));
  // With nothing left to undo the tool says so, and goes on.
  EXPECT_EQ(run.err, Message("Undo Failed", "Exclamation"));
  // Nothing was saved.
  EXPECT_EQ(ReadFileBytes(Track("one.wav")), PcmWave(1, 11025, 16, one));
  EXPECT_EQ(HostFlagText(), "");
}

TEST_F(BatchTool, InsertSilenceRoundsToWholeSecondsAndMustFitBeforeASample) {
  WriteProject();
  // Sample positions are 32-bit, the one after the last sample included: 194,782 s at
  // 11025 Hz fit (194,783 s do not, as the status-two case shows).
  for (const auto& [seconds, inserted] : std::vector<std::pair<std::string, int64_t>>{
           {"2.5", 2}, {"1.5", 2}, {"0.5001", 1}, {"3s", 3}, {"194782", 194782}}) {
    SCOPED_TRACE(seconds);
    const int64_t added = 11025 * inserted;
    EXPECT_EQ(Run("insert-silence 1 " + seconds + " info").out,
              Info(4005 + added, true, "Undo [Insert Silence]",
                   {1, 1001 + added, 1801 + added, 4006 + added},
                   {111 + added, 552 + added, 1442 + added}));
  }
  // Before the last sample it belongs to the last slide.
  EXPECT_EQ(Run("insert-silence 4005 1 info").out,
            Info(4005 + 11025, true, "Undo [Insert Silence]", {1, 1001, 1801, 4006 + 11025},
                 {111, 552, 1442}));
  EXPECT_EQ(HostFlagText(), "");
}

TEST_F(BatchTool, ClipboardFileAndEffectCommandsRunAsTheMenusDo) {
  WriteProject();
  const std::string clip = folder.Write("clip.wav", PcmWave(1, 11025, 16, Ramp(100, 100)));
  const ProgramRun run =
      Run("copy 1 10 paste 1000 samples 999 1012 info undo "
          "cut 1 3 paste 5 samples 1 8 undo undo "
          "volume 150 1 4 maximize 1001 1800 samples 1001 1001 "
          "dynamic 20 100 3 1 100 info "
          "select 1 1 insert-file 3 " +
          clip + " samples 1 8");
  EXPECT_EQ(run.exitStatus, 0);
  // The mono first slide is heard alike on both sides.
  const auto mono = [](const std::vector<std::vector<int16_t>>& parts) {
    return SamplesLine(Joined(parts), Joined(parts));
  };
  const auto pasted =
      Joined({Stretch(one, 999, 999), Stretch(one, 1, 10), Stretch(one, 1000, 1000)});
  EXPECT_EQ(run.out,
            SamplesLine(Joined({pasted, Stretch(twoLeft, 1, 2)}),
                        Joined({pasted, Stretch(twoRight, 1, 2)})) +
                Info(4015, true, "Undo [Paste]", {1, 1011, 1811, 4016}, {111, 552, 1452}) +
                mono({Stretch(one, 4, 7), Stretch(one, 1, 3), Stretch(one, 8, 8)}) +
                // The second slide's peaks of 5000 and -5000 reach full scale; 1.5 and 10.5 round
                // to even.
                SamplesLine({32767}, {-32767}) +
                Info(4005, true, "Undo [Maximize]", {1, 1001, 1801, 4006}, {111, 552, 1442}) +
                mono({{2, 6}, Ramp(6, 100)}));
  // The refused window is told as the dialog tells it, and changes nothing.
  EXPECT_EQ(run.err, Message("Invalid sampling duration\\r\\nEntered sampling duration is "
                             "20\\r\\n(0.1 to 10.0 is allowed)",
                             "Exclamation"));
  ExpectSessionFolderGone();
}

// A file inserted at the last sample goes after it, into the last slide, and is saved with
// it: the slide's track ends with the file's samples.
TEST_F(BatchTool, AFileInsertedAtTheEndIsSavedWithTheLastSlide) {
  WriteProject();
  const std::vector<int16_t> clip = Ramp(100, 100);
  const std::string path = folder.Write("clip.wav", PcmWave(1, 11025, 16, clip));
  const ProgramRun run = Run("insert-file 4005 " + path + " info save");
  EXPECT_EQ(run.exitStatus, 0) << run.err;
  EXPECT_EQ(run.out,
            Info(4105, true, "Undo [Insert File]", {1, 1001, 1801, 4106}, {111, 552, 1442}));
  const std::vector<int16_t> last = Joined({Zeros(2205), clip});
  EXPECT_EQ(ReadFileBytes(Track("gap.wav")), PcmWave(2, 11025, 16, Interleave(last, last)));
}

// replace-file puts a file's audio in place of a range as one undo item: boundaries and
// markers inside keep their offset from the range's start, up to the new audio's last
// sample, later ones move by the change in length; undo sets everything back.
TEST_F(BatchTool, AFileReplacesARangeAndWhatLiesInsideKeepsItsOffset) {
  WriteProject();
  struct Case {
    int from, to, takeLength;
    std::array<int64_t, 4> slides;
    std::vector<int64_t> markers;
  };
  const Case cases[] = {
      // A longer take: the marker and the boundary inside stay, the rest move on.
      {500, 1200, 1000, {1, 1001, 2100, 4305}, {111, 552, 1741}},
      // A shorter take: what lies beyond its end comes to its last sample.
      {500, 1500, 300, {1, 799, 1100, 3305}, {111, 552, 799}},
      // A whole slide: its boundary at the range's start stays.
      {1001, 1800, 300, {1, 1001, 1301, 3506}, {111, 552, 1300}},
  };
  for (const Case& c : cases) {
    const std::vector<int16_t> take(static_cast<size_t>(c.takeLength), 1000);
    const std::string path = folder.Write("take.wav", PcmWave(1, 11025, 16, take));
    const int last = c.from + c.takeLength - 1;
    const ProgramRun run =
        Run("replace-file " + std::to_string(c.from) + " " + std::to_string(c.to) + " " + path +
            " info samples " + std::to_string(c.from + 110) + " " + std::to_string(last - 110) +
            " undo info redo info");
    EXPECT_EQ(run.exitStatus, 0) << run.err;
    const int64_t length = 4005 + c.takeLength - (c.to - c.from + 1);
    const std::string after = Info(length, true, "Undo [Replace File]", c.slides, c.markers);
    // Between the 10 ms cross-fades (110 samples) lies the take itself, on both sides.
    const std::vector<int16_t> middle(static_cast<size_t>(c.takeLength - 220), 1000);
    const std::string undone =
        Info(4005, true, "Undo [Nothing]", {1, 1001, 1801, 4006}, {111, 552, 1442});
    EXPECT_EQ(run.out, after + SamplesLine(middle, middle) + undone + after) << c.from;
  }
  // The joins blend into the audio around them: a file holding the replaced range's own
  // samples leaves every sample as it was.
  const std::string same = folder.Write("same.wav", PcmWave(1, 11025, 16, Stretch(one, 201, 800)));
  const ProgramRun run = Run("replace-file 201 800 " + same + " samples 1 1000");
  EXPECT_EQ(run.out, SamplesLine(one, one));
  ExpectSessionFolderGone();
}

// Without a base rate the first track's rate is the document's: a track of another rate is
// converted as it is loaded, so it keeps its length; an unedited save leaves every track as
// it is, and an edited one is written at the document's rate.
TEST_F(BatchTool, TracksOfOtherRatesKeepTheirLengthAndAreNotWrittenUnedited) {
  plan.baseFrequency = "0";
  plan.slides = {TrackSlide("one.wav", PcmWave(1, 11025, 16, one)),
                 TrackSlide("two.wav", PcmWave(2, 22050, 16, Interleave(twoLeft, twoRight)))};
  WriteProject();
  const std::string first = ReadFileBytes(Track("one.wav"));
  const std::string second = ReadFileBytes(Track("two.wav"));
  ProgramRun run = Run("info save");
  EXPECT_EQ(run.exitStatus, 0) << run.err;
  // 800 frames at 22050 Hz are 400 at 11025 Hz.
  EXPECT_NE(run.out.find("\"rate\":11025,\"bits\":16,\"length\":1400,"), std::string::npos)
      << run.out;
  EXPECT_EQ(ReadFileBytes(Track("one.wav")), first);
  EXPECT_EQ(ReadFileBytes(Track("two.wav")), second);
  run = Run("volume 50 1001 1400 save");
  EXPECT_EQ(run.exitStatus, 0) << run.err;
  EXPECT_EQ(RunProgram("soxi", {"-r", Track("two.wav")}).out, "11025\n");
  EXPECT_EQ(RunProgram("soxi", {"-s", Track("two.wav")}).out, "400\n");
}

// Encoder settings that would send the encoder's output to other files are refused: the
// edited MP3 track stays as it was, nothing is written elsewhere, and the save says so.
TEST_F(BatchTool, EncoderSettingsThatWriteElsewhereLeaveTheTrackAsItWas) {
  const std::string wave = folder.Write("voice.wav", PcmWave(1, 11025, 16, Ramp(2000, 9, 11)));
  ASSERT_EQ(RunProgram("lame", {"--quiet", wave, Track("two.mp3")}).exitStatus, 0);
  const std::string mp3 = ReadFileBytes(Track("two.mp3"));
  std::filesystem::create_directories(folder.File("outside"));
  plan.slides[1] = SlidePlan{"Stereo", "two.mp3", "", {}, {}, {}};
  plan.lameSettings = "--quiet --nogapout " + folder.File("outside") + " --nogap";
  WriteProject();
  const ProgramRun run = Run("volume 50 1001 1500 save");
  EXPECT_EQ(run.exitStatus, 3);
  EXPECT_NE(run.err.find("may not send its output elsewhere: --nogapout"), std::string::npos)
      << run.err;
  EXPECT_EQ(ReadFileBytes(Track("two.mp3")), mp3);
  EXPECT_TRUE(std::filesystem::is_empty(folder.File("outside")));
  ExpectSessionFolderGone();
}

// shorten-pauses cuts quiet stretches down to the longest pause by taking out their
// middle: a marker inside what goes moves to the cut, later ones and the boundaries move by
// what went before them, and a pause across a boundary is shortened on each side of it.
TEST_F(BatchTool, ShortenPausesTakesOutTheMiddleOfLongPausesAndMovesWhatFollows) {
  const auto tone = [](size_t count) {
    std::vector<int16_t> samples(count);
    for (size_t i = 0; i < count; ++i) {
      samples[i] = static_cast<int16_t>(std::lround(8000 * std::sin(2 * M_PI * 400.0 * i / 8000)));
    }
    return samples;
  };
  // At 8000 Hz: a 2 s pause, then 1.5 s either side of the boundary, then a short one.
  plan.baseFrequency = "8000";
  plan.slides = {
      TrackSlide("one.wav",
                 PcmWave(1, 8000, 16, Joined({tone(4000), Zeros(16000), tone(4000), Zeros(12000)})),
                 "", "1.0,2.25"),
      TrackSlide("two.wav",
                 PcmWave(1, 8000, 16, Joined({Zeros(12000), tone(4000), Zeros(4000), tone(4000)})),
                 "", "1.75")};
  WriteProject();
  const ProgramRun run =
      Run("shorten-pauses 0.8 -45 1 60000 info undo shorten-pauses 0.05 -45 1 10 "
          "shorten-pauses 0.8 -5 1 10");
  EXPECT_EQ(run.exitStatus, 0) << run.err;
  // Each pause keeps 0.4 s either side of its cut: 9600 samples go from the first, 5600
  // from each side of the boundary.
  EXPECT_EQ(run.out.substr(0, run.out.find('\n') + 1),
            "{\"pauses\":3,\"removed_seconds\":2.600}\n");
  EXPECT_NE(run.out.find("\"length\":39200,"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find(R"("start":20801,"end":39201})"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find(R"("markers":[{"kind":1,"position":7201,"slide":1},)"
                         R"({"kind":1,"position":8401,"slide":1},)"
                         R"({"kind":1,"position":29201,"slide":2}])"),
            std::string::npos)
      << run.out;
  EXPECT_EQ(run.err, Message("Invalid longest pause\\r\\nEntered longest pause is 0.05\\r\\n(0.1 "
                             "to 10.0 seconds is allowed)",
                             "Exclamation") +
                         Message("Invalid quiet level\\r\\nEntered quiet level is -5 "
                                 "dBFS\\r\\n(-90 to -10 dBFS is allowed)",
                                 "Exclamation"));
  EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 2) << "nothing printed when refused";
}

// Narration as recorded at home (three sentences 2 s apart at 16 kHz, with pink noise and
// a 50 Hz hum 20 dB below the speech). Clean Up Voice lowers the floor in the pauses by more than
// 15 dB and leaves the speech's level within 1 dB; then Shorten Pauses finds the two pauses and
// leaves each at 0.8 s to within 10 ms (a second pass at 0.79 s shortens both a little, at 0.81 s
// none).
TEST_F(BatchTool, CleanUpVoiceAndShortenPausesOnNoisySpeech) {
  constexpr int kRate = 16000;
  const SpokenFixture fixture = MakeSpokenFixture(folder.Path(), kRate);
  ASSERT_FALSE(fixture.noisy.empty()) << "espeak-ng and sox made the fixture";
  const std::vector<int16_t>& noisy = fixture.noisy;
  const auto& speech = fixture.speech;
  plan.baseFrequency = "16000";
  plan.slides = {TrackSlide("talk.wav", PcmWave(1, kRate, 16, noisy))};
  WriteProject();
  const std::string all = "1 " + std::to_string(noisy.size());
  ProgramRun run = Run("cleanup 80 20 " + all + " samples " + all);
  ASSERT_EQ(run.exitStatus, 0) << run.err;
  std::vector<int16_t> cleaned;
  std::istringstream values(run.out.substr(run.out.find('[') + 1));
  for (int value = 0; values >> value;) {
    cleaned.push_back(static_cast<int16_t>(value));
    values.ignore(1);
  }
  ASSERT_EQ(cleaned.size(), noisy.size());
  const auto pauses = fixture.Pauses(kRate);
  EXPECT_GE(StretchesDb(noisy, pauses) - StretchesDb(cleaned, pauses), 15.0);
  EXPECT_NEAR(StretchesDb(cleaned, speech), StretchesDb(noisy, speech), 1.0);

  const std::string early = "1 " + std::to_string(noisy.size() - 3 * kRate);
  run =
      Run("cleanup 80 20 " + all + " shorten-pauses 0.8 -45 " + all + " shorten-pauses 0.79 -45 " +
          early + " shorten-pauses 0.81 -45 " + early + " cleanup 10 20 1 10 cleanup 80 50 1 10");
  EXPECT_EQ(run.exitStatus, 0) << run.err;
  std::istringstream lines(run.out);
  std::string first, second, third;
  std::getline(lines, first);
  std::getline(lines, second);
  std::getline(lines, third);
  EXPECT_EQ(first.substr(0, 12), "{\"pauses\":2,") << first;
  EXPECT_EQ(second.substr(0, 12), "{\"pauses\":2,") << second;
  EXPECT_LE(std::stod(second.substr(second.find("seconds\":") + 9)), 0.02) << second;
  EXPECT_EQ(third, "{\"pauses\":0,\"removed_seconds\":0.000}");
  EXPECT_EQ(run.err,
            Message("Invalid high-pass filter\\r\\nEntered cut-off is 10 Hz\\r\\n(0 for none, or "
                    "20 to 300 Hz is allowed)",
                    "Exclamation") +
                Message("Invalid noise reduction\\r\\nEntered strength is 50 dB\\r\\n(0 for "
                        "none, up to 40 dB is allowed)",
                        "Exclamation"));
}

// The folder of a session that was killed is removed by the next start, unless it holds a
// journal to recover, its process still holds it, or it was made a moment ago.
TEST_F(BatchTool, AStartRemovesTheFoldersOfDeadSessionsOnly) {
  WriteProject();
  const auto folderAt = [this](const std::string& name, const std::string& file, bool old) {
    const std::string path = Temporary() + "/" + name;
    std::filesystem::create_directories(path);
    if (!file.empty()) std::ofstream(path + "/" + file) << "audio";
    if (old) {
      const struct timeval twoHoursAgo[2] = {{::time(nullptr) - 7200, 0},
                                             {::time(nullptr) - 7200, 0}};
      ::utimes(path.c_str(), twoHoursAgo);
    }
    return path;
  };
  const std::string dead = folderAt("fmDeAd01", "tm1.tmp", true);
  const std::string recoverable = folderAt("fmJrnl01", "journal", true);
  const std::string live = folderAt("fmLive01", "", true);
  const std::string young = folderAt("fmYoung1", "tm1.tmp", false);
  ExclusiveFileLock held;
  ASSERT_EQ(held.Take(live + "/session.lock", live + "/session.lock"),
            ExclusiveFileLock::Outcome::Locked);
  const struct timeval old[2] = {{::time(nullptr) - 7200, 0}, {::time(nullptr) - 7200, 0}};
  ::utimes(live.c_str(), old);
  EXPECT_EQ(Run("info").exitStatus, 0);
  EXPECT_FALSE(std::filesystem::exists(dead));
  EXPECT_TRUE(std::filesystem::exists(recoverable + "/journal"));
  EXPECT_TRUE(std::filesystem::exists(live));
  EXPECT_TRUE(std::filesystem::exists(young + "/tm1.tmp"));
  held.Release();
  for (const std::string& path : {recoverable, live, young}) std::filesystem::remove_all(path);
  ExpectSessionFolderGone();
}

// A saved WAV track carries its slide's markers as cue points that a second tool reads,
// and still loads with its samples; a WAV file's cue points come in with it as click
// markers, which the insert's undo takes away again.
TEST_F(BatchTool, MarkersTravelAsCuePointsInAndOutOfWavFiles) {
  WriteProject();
  EXPECT_EQ(Run("delete 1 10 save").exitStatus, 0);
  const ProgramRun info = RunProgram("sndfile-info", {Track("one.wav")});
  EXPECT_TRUE(std::regex_search(info.out, std::regex(R"(ID : +1 +Pos : +100 +Chunk : data)")))
      << info.out;
  EXPECT_TRUE(std::regex_search(info.out, std::regex(R"(ID : +2 +Pos : +541 +Chunk : data)")));
  EXPECT_NE(info.out.find("labl : 1 : Click 1"), std::string::npos);
  EXPECT_NE(info.out.find("labl : 2 : Auto 1"), std::string::npos);
  EXPECT_EQ(Run("samples 1 2").out, SamplesLine(Stretch(one, 11, 12), Stretch(one, 11, 12)));

  WriteProject();
  std::string clip = PcmWave(1, 11025, 16, Ramp(100, 100));
  const std::vector<unsigned char> cues = CueChunkBytes({{20, "Intro"}, {80, "Point"}});
  clip += std::string(cues.begin(), cues.end());
  clip.replace(4, 4, Le32(static_cast<uint32_t>(clip.size() - 8)));
  const ProgramRun run =
      Run("insert-file 1001 " + folder.Write("cues.wav", clip) + " info undo info");
  EXPECT_EQ(run.exitStatus, 0) << run.err;
  EXPECT_NE(run.out.find("{\"kind\":1,\"position\":1021,\"slide\":2},"
                         "{\"kind\":1,\"position\":1081,\"slide\":2}"),
            std::string::npos)
      << run.out;
  EXPECT_EQ(run.out.substr(run.out.find('\n') + 1),
            Info(4005, true, "Undo [Nothing]", {1, 1001, 1801, 4006}, {111, 552, 1442}));
}

// An MP3 track is encoded again only when its slide was edited: every encoding loses a
// little of the narration.
TEST_F(BatchTool, AnUneditedMp3TrackIsNotEncodedAgain) {
  const std::string wave = folder.Write("voice.wav", PcmWave(1, 11025, 16, Voice(0.25, 0.3, 1)));
  ASSERT_EQ(RunProgram("lame", {"--quiet", wave, Track("talk.mp3")}).exitStatus, 0);
  plan.slides[1] = SlidePlan{"Talk", "talk.mp3", "", {}, {}, {}};
  WriteProject();
  const auto inode = [this] {
    struct stat status {};
    ::stat(Track("talk.mp3").c_str(), &status);
    return status.st_ino;
  };
  const ino_t loaded = inode();
  EXPECT_EQ(Run("save").exitStatus, 0);
  EXPECT_EQ(inode(), loaded);
  EXPECT_EQ(Run("delete 1010 1100 save").exitStatus, 0);
  EXPECT_NE(inode(), loaded);
}

TEST_F(BatchTool, AProjectThatCannotBeLoadedEndsWithStatusOne) {
  // The path is trimmed first: blanks name no project. Every reason the loading refuses a
  // project is told the same way (the app tests have them all).
  ProgramRun run = Run("info save", "   ");
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, Message("This program can not run independently"));
  ExpectSessionFolderGone();
  EXPECT_EQ(HostFlagText(), "");

  // A missing track needs the project's sample rate to become silence.
  plan.baseFrequency.reset();
  plan.slides = {SlidePlan{"Gap", "gap.wav", "1", {}, {}, {}}};
  WriteProject();
  run = Run("info");
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.out, "");
  // The line number the error was raised at is the build's.
  EXPECT_EQ(std::regex_replace(run.err, std::regex(" at line [0-9]+"), " at line N"),
            Message("Error: Division by zero: the project gives no \\\"BaseFrequency\\\" for the "
                    "missing track of slide 1\\r\\nin QuorvaneAudio.QuorvaneModOld.Main at line N",
                    "Critical"));
  ExpectSessionFolderGone();
}

TEST_F(BatchTool, ACommandLineItDoesNotUnderstandOrAPositionOutsideEndsWithStatusTwo) {
  WriteProject();
  const std::string before = ReadFileBytes(Project());
  // The whole command line is read before any command runs.
  for (const char* commands : {"frobnicate",
                               "info save Info",
                               "samples 5",
                               "samples 5 4",
                               "samples 0 3",
                               "samples 103500 1103500",
                               "samples 1 3x",
                               "delete a b",
                               "delete 10",
                               "insert-silence 1",
                               "insert-silence 0 1",
                               "insert-silence 1 0.4",
                               "insert-silence 1 abc",
                               "save undo insert-silence 1 -3",
                               "paste",
                               "volume 201 1 2",
                               "maximize 2 1",
                               "dynamic 0.3x 100 3 1 2",
                               "insert-file 1",
                               "level",
                               "level loud",
                               "level -19x",
                               "level 3",
                               "level -71"}) {
    SCOPED_TRACE(commands);
    const ProgramRun run = Run(commands);
    EXPECT_EQ(run.exitStatus, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err.rfind(kUsage, 0), 0u) << run.err;
  }
  // A position outside the document, or a silence it cannot hold, ends the run where it
  // stands: the commands before it ran, the ones after it did not.
  const std::string tooLong =
      "quorvane-audio-batch: 194783 seconds of silence do not fit in the document\n";
  for (const auto& [commands, err] : std::vector<std::pair<std::string, std::string>>{
           {"info delete 4000 4006 save", kOutside},
           {"info samples 4006 4006 save", kOutside},
           {"info insert-silence 4006 1 save", kOutside},
           {"info insert-silence 1 194783 info save", tooLong}}) {
    SCOPED_TRACE(commands);
    const ProgramRun run = Run(commands);
    EXPECT_EQ(run.exitStatus, 2);
    EXPECT_EQ(run.out, kLoaded);
    EXPECT_EQ(run.err.rfind(err + kUsage, 0), 0u) << run.err;
  }
  const ProgramRun nothing = RunProgram(QUORVANE_BATCH_PROGRAM, {});
  EXPECT_EQ(nothing.exitStatus, 2);
  EXPECT_EQ(nothing.err.rfind(kUsage, 0), 0u) << nothing.err;
  // Nothing was saved.
  EXPECT_EQ(ReadFileBytes(Project()), before);
  EXPECT_EQ(HostFlagText(), "");
  ExpectSessionFolderGone();
}

TEST_F(BatchTool, LoudnessAgreesWithFfmpegAndLevelBringsEverySlideToTheTargetAsOneUndoItem) {
  // Loud speech; quiet speech; as quiet with one loud click, whose true peak stops its gain
  // short of the target; silence.
  struct Case {
    int channels;
    int bits;
    double amplitude;  // of the quiet speech, against full scale
  };
  for (const Case& format : {Case{1, 16, 0.02}, Case{2, 16, 0.02}, Case{2, 8, 0.1}}) {
    SCOPED_TRACE(std::to_string(format.channels) + " channels, " + std::to_string(format.bits) +
                 " bits");
    const int full = format.bits == 8 ? 127 : 32767;
    const auto wave = [&](double amplitude, int seed, bool click = false) {
      std::vector<int16_t> left = Voice(3.0, amplitude, seed, full);
      if (click) left[48000] = static_cast<int16_t>(full * 9 / 10);
      return PcmWave(format.channels, 48000, format.bits,
                     format.channels == 1
                         ? left
                         : Interleave(left, Voice(3.0, amplitude / 3, seed + 1, full)));
    };
    plan.baseFrequency = "48000";
    plan.baseBits = std::to_string(format.bits);
    plan.slides = {TrackSlide("loud.wav", wave(0.9, 1)),
                   TrackSlide("speech.wav", wave(format.amplitude, 2)),
                   TrackSlide("click.wav", wave(format.amplitude, 3, true)),
                   TrackSlide("quiet.wav", wave(0.0, 4))};
    WriteProject();
    const ProgramRun run = Run("loudness level -19 loudness info undo loudness");
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.err, "");
    SCOPED_TRACE(run.out);
    std::vector<std::string> lines;
    std::istringstream out(run.out);
    for (std::string line; std::getline(out, line);) lines.push_back(line);
    ASSERT_EQ(lines.size(), 4u);
    const auto before = LoudnessFigures(lines[0]);
    const auto after = LoudnessFigures(lines[1]);
    ASSERT_EQ(before.size(), 4u);
    ASSERT_EQ(after.size(), 4u);
    for (size_t n = 0; n < 3; ++n) {
      const std::array<double, 2> peer = FfmpegLoudness(Track(*plan.slides[n].track));
      EXPECT_NEAR(before[n][0], peer[0], 0.1 + 1e-9) << "slide " << n + 1;
      EXPECT_NEAR(before[n][1], peer[1], 0.1 + 1e-9) << "slide " << n + 1;
    }
    // Speech reaches the target; the click's true peak holds its slide below it.
    for (size_t n = 0; n < 2; ++n) {
      EXPECT_NEAR(after[n][0], -19.0, 0.1 + 1e-9) << "slide " << n + 1;
      EXPECT_LE(after[n][1], -1.0) << "slide " << n + 1;
    }
    EXPECT_NEAR(after[2][1], -1.0, 0.1 + 1e-9);
    EXPECT_LT(after[2][0], -19.5);
    // A silent slide has no loudness and no peak, before and after.
    EXPECT_TRUE(std::isnan(before[3][0]) && std::isnan(before[3][1]) && std::isnan(after[3][0]) &&
                std::isnan(after[3][1]));
    EXPECT_NE(lines[2].find("\"changed\":true,\"undo\":\"Undo [Level Slides]\""),
              std::string::npos);
    // One undo takes back every slide.
    EXPECT_EQ(lines[3], lines[0]);
  }
}

TEST_F(BatchTool, StandardErrorCarriesNoEncoderOutput) {
  // lame without --quiet talks on its standard error when it decodes and encodes.
  const std::string wave =
      folder.Write("tone.wav", PcmWave(1, 11025, 16, TestSignal(1, 11025, 5000)));
  const std::string mp3 = folder.File("tone.mp3");
  const ProgramRun encoded = RunProgram("lame", {"-b", "64", wave, mp3});
  ASSERT_EQ(encoded.exitStatus, 0);
  ASSERT_NE(encoded.err, "") << "lame says nothing here; the check below would prove nothing";
  plan.lameSettings = "-b 64";
  plan.slides.push_back(TrackSlide("tone.mp3", ReadFileBytes(mp3)));
  WriteProject();

  const ProgramRun run = Run("delete 1 10 save");
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(RunProgram("soxi", {"-t", Track("tone.mp3")}).out, "mp3\n");
  ExpectSessionFolderGone();
}

// A track that is there but cannot be read, each way a file can be unreadable: saved
// unedited it is left alone; with its slide's audio edited the save asks, takes the default
// answer (keep it) and ends with status 3. Either way the file stays as it was, and so do
// the slide's duration and markers in the project file.
TEST_F(BatchTool, ATrackThatCouldNotBeReadIsNeverDeletedOrOverwritten) {
  const std::string wave = folder.Write("voice.wav", PcmWave(1, 11025, 16, Ramp(2000, 9, 11)));
  ASSERT_EQ(RunProgram("lame", {"--quiet", wave, folder.File("voice.mp3")}).exitStatus, 0);
  const std::string mp3 = ReadFileBytes(folder.File("voice.mp3"));
  const std::string samples = SampleBytes(Ramp(1000, 3, 7), 16);
  // A link called lame to a program that is not the encoder.
  std::filesystem::create_directories(folder.File("bin"));
  std::filesystem::create_symlink("/bin/true", folder.File("bin/lame"));
  struct Case {
    const char* what;
    const char* track;
    std::string bytes;  // "" for a folder or a FIFO
    std::string lamePath = "";
  };
  for (const Case& c : std::vector<Case>{
           {"a bad header", "two.wav", "RIFX" + std::string(200, 'x')},
           {"a sample size the reader refuses", "two.wav",
            RiffFile({{"fmt ", FormatChunkData(1, 1, 11025, 20), {}}, {"data", samples, {}}})},
           {"an odd-sized chunk before its data", "two.wav",
            RiffFile({{"fmt ", FormatChunkData(1, 1, 11025, 16), {}},
                      {"LIST", std::string("abc") + '\0', 3},
                      {"data", samples, {}}})},
           {"an MP3 the decoder cannot read", "two.mp3", std::string(3000, 'm')},
           {"an MP3 without an encoder to read it", "two.mp3", mp3, "/bin/true"},
           {"an MP3 whose encoder is a link to another program", "two.mp3", mp3,
            folder.File("bin/lame")},
           // Cut inside a frame: one cut between two frames of a file without an Info
           // header looks like a shorter file.
           {"an MP3 cut short", "two.mp3", mp3.substr(0, mp3.size() / 2 + 50)},
           {"a folder", "two.wav", ""},
           {"a FIFO", "two.mp3", ""}}) {
    SCOPED_TRACE(c.what);
    plan.slides[1] = SlidePlan{"Stereo", c.track, "0.1", "0.04", {}, {}};
    if (!c.bytes.empty()) plan.slides[1].audio = c.bytes;
    plan.lamePath = c.lamePath.empty() ? std::optional<std::string>() : c.lamePath;
    std::filesystem::remove_all(Track(c.track));
    WriteProject();
    if (c.bytes.empty() && std::string(c.what) == "a folder") {
      std::filesystem::create_directories(Track(c.track) + "/inside");
    } else if (c.bytes.empty()) {
      ASSERT_EQ(::mkfifo(Track(c.track).c_str(), 0644), 0);
    }
    const std::string original = ReadFileBytes(Project());
    const auto section = [](const std::string& text) {
      return text.substr(text.find("[2]"), text.find("[3]") - text.find("[2]"));
    };
    const std::string told = Message(
        "The tracks of these slides could not be read: 2\\r\\nSaving leaves those files as they "
        "are unless you choose to replace them with edited audio.",
        "Exclamation");

    ProgramRun run = Run("save");
    EXPECT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_NE(run.err.find(told), std::string::npos) << run.err;
    // Slide 2 runs from 1001 for 0.1 s: 50 of its samples go.
    run = Run("delete 1001 1050 save");
    EXPECT_EQ(run.exitStatus, 3) << run.err;
    EXPECT_NE(run.err.find("\"text\":\"The track of slide 2 could not be read when the project "
                           "was opened. Replace it with the edited audio?\",\"icon\":"
                           "\"Question\",\"buttons\":\"YesNo\",\"answer\":\"No\""),
              std::string::npos)
        << run.err;
    EXPECT_NE(run.err.find("were left as they were, without their edits, because their tracks "
                           "could not be read when the project was opened: 2"),
              std::string::npos);
    if (!c.bytes.empty()) {
      EXPECT_EQ(ReadFileBytes(Track(c.track)), c.bytes);
    } else {
      struct stat status {};
      ASSERT_EQ(::lstat(Track(c.track).c_str(), &status), 0);
      EXPECT_TRUE(std::string(c.what) == "a folder" ? S_ISDIR(status.st_mode)
                                                    : S_ISFIFO(status.st_mode));
    }
    const std::string saved = ReadFileBytes(Project());
    EXPECT_EQ(section(saved), section(original));
    EXPECT_NE(saved, original);  // the other slides were saved
    ExpectSessionFolderGone();
  }
}

TEST_F(BatchTool, ASecondSessionOnTheSameProjectIsRefused) {
  WriteProject();
  ASSERT_TRUE(LockProject(Project()));  // the session of another editor
  const ProgramRun refused = Run("info delete 1 10 save");
  EXPECT_EQ(refused.exitStatus, 1);
  EXPECT_EQ(refused.out, "");
  EXPECT_EQ(
      refused.err,
      Message("This project is already open in another session of the editor:\\r\\n" + Project(),
              "Exclamation"));
  // Reached through a link, it is the same project.
  const std::string link = folder.File("link.ini");
  std::filesystem::create_symlink(Project(), link);
  EXPECT_EQ(Run("info", link).err, refused.err);
  UnlockProject();
  EXPECT_EQ(Run("info").out, kLoaded);
  // A save through the link writes the project file, and the link stays a link.
  const std::string before = ReadFileBytes(Project());
  EXPECT_EQ(Run("delete 1001 1010 save", link).exitStatus, 0);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_NE(ReadFileBytes(Project()), before);
  std::filesystem::remove(link);
  // The session leaves no lock file behind.
  for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
    EXPECT_NE(entry.path().filename().string().front(), '.') << entry.path();
  }
}

}  // namespace
}  // namespace quorvane::testing
