// The batch tool as the programs that depend on it see it: the real quorvane-audio-batch
// run without a shell on real projects, its standard output, standard error, exit status
// and the files it leaves behind checked against its contract.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"
#include "tests/support/CompressedWavFixtures.h"
#include "tests/support/JsonReader.h"
#include "tests/support/ProjectBuilder.h"
#include "tests/support/SessionFixture.h"
#include "tests/support/TempFolder.h"
#include "tests/support/WaveBuilder.h"

#ifndef QUORVANE_BATCH_PROGRAM
#error "QUORVANE_BATCH_PROGRAM names the batch tool under test"
#endif

namespace quorvane {
namespace {

using testing::IniValue;
using testing::Joined;
using testing::JsonValue;
using testing::ParseJson;
using testing::PcmWave;
using testing::ProgramRun;
using testing::ProjectPlan;
using testing::Ramp;
using testing::SlidePlan;
using testing::Stretch;
using testing::TrackSlide;

constexpr char kUsageStart[] = "usage: quorvane-audio-batch PROJECT [COMMAND ...]\n";

std::vector<int64_t> Values(const std::vector<int16_t>& samples) {
  return std::vector<int64_t>(samples.begin(), samples.end());
}

// One channel of a WAV file.
std::vector<int16_t> FileChannel(const std::string& path, int channel) {
  const auto wav = testing::ReadWavFile(path);
  return wav ? testing::FileChannel(*wav, channel) : std::vector<int16_t>{};
}

class BatchTool : public ::testing::Test {
 protected:
  BatchTool() {
    std::filesystem::create_directories(Temporary());
    std::filesystem::create_directories(Tracks());
    // A three-slide project at 11025 Hz: a mono voice, a stereo voice and a missing track
    // of 0.2 s, with a marker of each kind.
    one = Ramp(1000, 1, 3);
    twoLeft = Ramp(800, 5000, -2);
    twoRight = Ramp(800, -5000, 2);
    plan.targetFolder = Tracks();
    plan.baseFrequency = "11025";
    plan.lameSettings = "--quiet";
    plan.slides = {
        TrackSlide("one.wav", PcmWave(1, 11025, 16, one), "", "0.01", "0.05"),
        TrackSlide("two.wav", PcmWave(2, 11025, 16, testing::Interleave(twoLeft, twoRight)), "",
                   "0.04"),
        SlidePlan{"Gap", "gap.wav", "0.2", {}, {}, {}},
    };
    plan.slides[0].title = "Say \"hi\" \\ caf\xC3\xA9";
    plan.slides[1].title = "Stereo";
  }

  std::string Tracks() const { return folder.File("tracks"); }
  std::string Track(const std::string& name) const { return Tracks() + "/" + name; }
  std::string Project() const { return folder.File("project.ini"); }
  std::string ProjectText() const { return folder.Read("project.ini"); }
  // $TMPDIR of the tool: its session folder is made here and must be gone afterwards.
  std::string Temporary() const { return folder.File("tmp"); }
  std::string HostFlagText() const {
    return testing::ReadFileBytes(
        folder.File("config/VB and VBA Program Settings/Quorvane Stagora.conf"));
  }

  std::string WriteProject() const { return testing::WriteProject(Project(), plan); }

  // The tool on the project with these commands, in a private configuration and temporary
  // folder and without a session bus.
  ProgramRun Run(const std::vector<std::string>& commands) const {
    return RunWords(Project(), commands);
  }
  ProgramRun RunWords(const std::string& project, const std::vector<std::string>& commands) const {
    std::vector<std::string> arguments = {project};
    arguments.insert(arguments.end(), commands.begin(), commands.end());
    return testing::RunProgram(QUORVANE_BATCH_PROGRAM, arguments,
                               {"XDG_CONFIG_HOME=" + folder.File("config"), "TMPDIR=" + Temporary(),
                                "DBUS_SESSION_BUS_ADDRESS=unix:path=" + folder.File("no-bus")});
  }

  // Every line of standard output as JSON.
  static std::vector<JsonValue> Printed(const ProgramRun& run) {
    std::vector<JsonValue> values;
    for (const std::string& line : testing::Lines(run.out)) {
      const auto value = ParseJson(line);
      EXPECT_TRUE(value && value->IsObject()) << "not a JSON object: " << line;
      if (value) values.push_back(*value);
    }
    return values;
  }

  // Every line of standard error, each of which has to be one message as JSON.
  static std::vector<JsonValue> Messages(const ProgramRun& run) {
    std::vector<JsonValue> messages;
    for (const std::string& line : testing::Lines(run.err)) {
      const auto value = ParseJson(line);
      EXPECT_TRUE(value && value->IsObject()) << "not a JSON line: " << line;
      if (!value) continue;
      EXPECT_EQ(value->Keys(),
                (std::vector<std::string>{"caption", "text", "icon", "buttons", "answer"}))
          << line;
      messages.push_back(*value);
    }
    EXPECT_TRUE(run.err.empty() || run.err.back() == '\n');
    return messages;
  }

  void ExpectSessionFolderGone() const {
    EXPECT_TRUE(std::filesystem::is_empty(Temporary())) << "left behind in " << Temporary();
  }

  testing::TempFolder folder;
  ProjectPlan plan;
  std::vector<int16_t> one;
  std::vector<int16_t> twoLeft;
  std::vector<int16_t> twoRight;
};

TEST_F(BatchTool, InfoDescribesTheDocumentItsSlidesAndMarkers) {
  WriteProject();
  const ProgramRun run = Run({"info"});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out,
            "{\"channels\":2,\"rate\":11025,\"bits\":16,\"length\":4005,\"changed\":false,"
            "\"undo\":\"Undo [Nothing]\",\"slides\":["
            "{\"title\":\"Say \\\"hi\\\" \\\\ caf\xC3\xA9\",\"track\":\"one.wav\",\"start\":1,"
            "\"end\":1001},"
            "{\"title\":\"Stereo\",\"track\":\"two.wav\",\"start\":1001,\"end\":1801},"
            "{\"title\":\"Gap\",\"track\":\"gap.wav\",\"start\":1801,\"end\":4006}],"
            "\"markers\":[{\"kind\":1,\"position\":111,\"slide\":1},"
            "{\"kind\":2,\"position\":552,\"slide\":1},"
            "{\"kind\":1,\"position\":1442,\"slide\":2}]}\n");
  const std::vector<JsonValue> printed = Printed(run);
  ASSERT_EQ(printed.size(), 1u);
  EXPECT_EQ(printed[0]["slides"][0]["title"].String(), "Say \"hi\" \\ caf\xC3\xA9");
  ExpectSessionFolderGone();
}

TEST_F(BatchTool, SamplesPrintsEachChannelOfTheRange) {
  WriteProject();
  const ProgramRun run = Run({"samples", "998", "1003", "samples", "4005", "4005"});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.err, "");
  const std::vector<JsonValue> printed = Printed(run);
  ASSERT_EQ(printed.size(), 2u);
  EXPECT_EQ(printed[0].Keys(), (std::vector<std::string>{"left", "right"}));
  // The mono first slide is heard on both sides.
  EXPECT_EQ(printed[0]["left"].Ints(),
            Values(Joined({Stretch(one, 998, 1000), Stretch(twoLeft, 1, 3)})));
  EXPECT_EQ(printed[0]["right"].Ints(),
            Values(Joined({Stretch(one, 998, 1000), Stretch(twoRight, 1, 3)})));
  EXPECT_EQ(run.out.substr(run.out.find('\n') + 1), "{\"left\":[0],\"right\":[0]}\n");

  // A mono document has only a left channel.
  plan.slides = {TrackSlide("one.wav", PcmWave(1, 11025, 16, one))};
  WriteProject();
  const ProgramRun mono = Run({"samples", "1", "4"});
  EXPECT_EQ(mono.exitStatus, 0);
  EXPECT_EQ(mono.out, "{\"left\":[1,4,7,10]}\n");
}

TEST_F(BatchTool, SamplesPrintsAMillionValuesAtMost) {
  plan.slides = {SlidePlan{"Long", "long.wav", "100", {}, {}, {}}};
  WriteProject();
  const ProgramRun most = Run({"samples", "102501", "1102500"});
  EXPECT_EQ(most.exitStatus, 0);
  std::string zeros;
  for (int i = 0; i < 1'000'000; ++i) zeros += i == 0 ? "0" : ",0";
  EXPECT_TRUE(most.out == "{\"left\":[" + zeros + "]}\n") << most.out.substr(0, 100);

  const ProgramRun tooMany = Run({"samples", "102500", "1102500"});
  EXPECT_EQ(tooMany.exitStatus, 2);
  EXPECT_EQ(tooMany.out, "");
  EXPECT_EQ(tooMany.err.rfind(kUsageStart, 0), 0u) << tooMany.err;
}

TEST_F(BatchTool, EditsAndSaveChangeTheTracksAndTheProjectFile) {
  WriteProject();
  // 100 samples of each of the first two slides go, then one second of silence goes in at
  // the start of the second slide.
  const ProgramRun run = Run({"delete", "901", "1100", "info", "samples", "899", "902",
                              "insert-silence", "901", "1", "info", "save", "info"});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.err, "");
  const std::vector<JsonValue> printed = Printed(run);
  ASSERT_EQ(printed.size(), 4u);

  const JsonValue& deleted = printed[0];
  EXPECT_EQ(deleted["length"].Int(), 3805);
  EXPECT_TRUE(deleted["changed"].Bool());
  EXPECT_EQ(deleted["undo"].String(), "Undo [Delete]");
  EXPECT_EQ(deleted["slides"][1]["start"].Int(), 901);
  EXPECT_EQ(deleted["slides"][2]["start"].Int(), 1601);
  EXPECT_EQ(deleted["slides"][2]["end"].Int(), 3806);
  EXPECT_EQ(deleted["markers"][2]["position"].Int(), 1242);

  EXPECT_EQ(printed[1]["left"].Ints(),
            Values(Joined({Stretch(one, 899, 900), Stretch(twoLeft, 101, 102)})));
  EXPECT_EQ(printed[1]["right"].Ints(),
            Values(Joined({Stretch(one, 899, 900), Stretch(twoRight, 101, 102)})));

  const JsonValue& inserted = printed[2];
  EXPECT_EQ(inserted["length"].Int(), 3805 + 11025);
  EXPECT_EQ(inserted["undo"].String(), "Undo [Insert Silence]");
  EXPECT_EQ(inserted["slides"][1]["start"].Int(), 901);
  EXPECT_EQ(inserted["slides"][2]["start"].Int(), 1601 + 11025);
  EXPECT_EQ(inserted["markers"][2]["position"].Int(), 1242 + 11025);

  const JsonValue& saved = printed[3];
  EXPECT_FALSE(saved["changed"].Bool());
  EXPECT_EQ(saved["undo"].String(), "Undo [Insert Silence]");

  // The tracks, cut at the slides' new boundaries, all stereo now.
  EXPECT_EQ(FileChannel(Track("one.wav"), 1), Stretch(one, 1, 900));
  EXPECT_EQ(FileChannel(Track("one.wav"), 2), Stretch(one, 1, 900));
  const std::vector<int16_t> silence(11025, 0);
  EXPECT_EQ(FileChannel(Track("two.wav"), 1), Joined({silence, Stretch(twoLeft, 101, 800)}));
  EXPECT_EQ(FileChannel(Track("two.wav"), 2), Joined({silence, Stretch(twoRight, 101, 800)}));
  EXPECT_FALSE(std::filesystem::exists(Track("gap.wav")));
  const std::string text = ProjectText();
  EXPECT_EQ(IniValue(text, "1", "Duration"), "0.082");
  EXPECT_EQ(IniValue(text, "1", "ClickMarkerTimes"), "0.01");
  EXPECT_EQ(IniValue(text, "1", "AutoMarkerTimes"), "0.05");
  EXPECT_EQ(IniValue(text, "2", "Duration"), "1.063");
  EXPECT_EQ(IniValue(text, "2", "ClickMarkerTimes"), "1.031");
  EXPECT_EQ(IniValue(text, "3", "Duration"), "0.2");
  EXPECT_EQ(IniValue(HostFlagText(), "Dynamic", "TAEState"), "1");
  ExpectSessionFolderGone();

  // The saved project opens again as it was saved. Durations are written to the
  // millisecond: slide 1, 900 samples (0.0816 s), comes back as 0.082 s, 904 samples; the
  // marker at 1.03093 s as 1.031 s.
  const ProgramRun reopened = Run({"info"});
  EXPECT_EQ(reopened.exitStatus, 0);
  EXPECT_EQ(reopened.out,
            "{\"channels\":2,\"rate\":11025,\"bits\":16,\"length\":14834,\"changed\":false,"
            "\"undo\":\"Undo [Nothing]\",\"slides\":["
            "{\"title\":\"Say \\\"hi\\\" \\\\ caf\xC3\xA9\",\"track\":\"one.wav\",\"start\":1,"
            "\"end\":905},"
            "{\"title\":\"Stereo\",\"track\":\"two.wav\",\"start\":905,\"end\":12630},"
            "{\"title\":\"Gap\",\"track\":\"gap.wav\",\"start\":12630,\"end\":14835}],"
            "\"markers\":[{\"kind\":1,\"position\":111,\"slide\":1},"
            "{\"kind\":2,\"position\":552,\"slide\":1},"
            "{\"kind\":1,\"position\":12272,\"slide\":2}]}\n");
  EXPECT_EQ(reopened.err, "");
}

TEST_F(BatchTool, UndoTakesBackOneCommandAtATime) {
  WriteProject();
  // The delete takes the second slide's marker with it.
  const ProgramRun run = Run({"delete", "901", "1500", "insert-silence", "2", "2.5", "undo", "info",
                              "undo", "info", "samples", "1", "4005", "undo"});
  EXPECT_EQ(run.exitStatus, 0);
  const std::vector<JsonValue> printed = Printed(run);
  ASSERT_EQ(printed.size(), 3u);
  EXPECT_EQ(printed[0]["length"].Int(), 3405);
  EXPECT_EQ(printed[0]["markers"].Size(), 2u);
  EXPECT_EQ(printed[0]["undo"].String(), "Undo [Delete]");
  EXPECT_EQ(printed[1]["length"].Int(), 4005);
  EXPECT_EQ(printed[1]["undo"].String(), "Undo [Nothing]");
  // Back as loaded, the marker deleted with the audio included.
  EXPECT_EQ(printed[1]["slides"][1]["start"].Int(), 1001);
  EXPECT_EQ(printed[1]["markers"].Size(), 3u);
  EXPECT_EQ(printed[1]["markers"][2]["position"].Int(), 1442);
  const std::vector<int16_t> silence(2205, 0);
  EXPECT_EQ(printed[2]["left"].Ints(), Values(Joined({one, twoLeft, silence})));
  EXPECT_EQ(printed[2]["right"].Ints(), Values(Joined({one, twoRight, silence})));
  // With nothing left to undo the tool says so, and goes on.
  const std::vector<JsonValue> messages = Messages(run);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0]["text"].String(), "Undo Failed");
  EXPECT_EQ(messages[0]["icon"].String(), "Exclamation");
  EXPECT_EQ(messages[0]["caption"].String(), "Timeline Audio Editor");
  // Nothing was saved.
  EXPECT_EQ(FileChannel(Track("one.wav"), 1), one);
  EXPECT_EQ(HostFlagText(), "");
}

TEST_F(BatchTool, SavingAnEmptiedDocumentDeletesTheTracksUndoBringsThemBack) {
  WriteProject();
  const ProgramRun emptied = Run({"delete", "1", "4005", "save", "info", "undo", "save"});
  EXPECT_EQ(emptied.exitStatus, 0);
  EXPECT_EQ(emptied.err, "");
  const std::vector<JsonValue> printed = Printed(emptied);
  ASSERT_EQ(printed.size(), 1u);
  EXPECT_EQ(printed[0]["length"].Int(), 0);
  EXPECT_EQ(printed[0]["markers"].Size(), 0u);
  for (int n = 0; n < 3; ++n) {
    EXPECT_EQ(printed[0]["slides"][static_cast<size_t>(n)]["start"].Int(), 1);
  }
  // The first save deleted both tracks; the audio they held came back with undo and was
  // written again.
  EXPECT_EQ(FileChannel(Track("one.wav"), 1), one);
  EXPECT_EQ(FileChannel(Track("two.wav"), 1), twoLeft);
  EXPECT_EQ(FileChannel(Track("two.wav"), 2), twoRight);
  const std::string text = ProjectText();
  EXPECT_EQ(IniValue(text, "1", "Duration"), "0.091");
  EXPECT_EQ(IniValue(text, "2", "ClickMarkerTimes"), "0.04");
}

TEST_F(BatchTool, InsertSilenceRoundsToWholeSeconds) {
  WriteProject();
  for (const auto& [seconds, inserted] :
       std::vector<std::pair<std::string, int>>{{"2.5", 2}, {"1.5", 2}, {"0.5001", 1}, {"3s", 3}}) {
    SCOPED_TRACE(seconds);
    const ProgramRun run = Run({"insert-silence", "1", seconds, "info"});
    EXPECT_EQ(run.exitStatus, 0);
    const std::vector<JsonValue> printed = Printed(run);
    ASSERT_EQ(printed.size(), 1u);
    EXPECT_EQ(printed[0]["length"].Int(), 4005 + 11025 * inserted);
  }
}

TEST_F(BatchTool, MessagesGoToStandardErrorOneJsonObjectALine) {
  plan.slides[0].clicks = "0.01,9";
  WriteProject();
  const ProgramRun run = Run({"info"});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.err,
            "{\"caption\":\"Timeline Audio Editor\",\"text\":\"A marker is out of the slide "
            "duration that is ignored\\r\\nMarker type: Click, Posiion: 9\\r\\nSlide title: Say "
            "\\\"hi\\\" \\\\ caf\xC3\xA9\",\"icon\":\"None\",\"buttons\":\"OKOnly\","
            "\"answer\":\"OK\"}\n");
  const std::vector<JsonValue> printed = Printed(run);
  ASSERT_EQ(printed.size(), 1u);
  EXPECT_EQ(printed[0]["markers"].Size(), 3u);
}

TEST_F(BatchTool, AProjectThatCannotBeLoadedEndsWithStatusOne) {
  struct Case {
    std::string project;
    std::string message;
  };
  ProjectPlan lost;
  lost.targetFolder = folder.File("nowhere");
  lost.slides = {SlidePlan{"Gap", "gap.wav", "1", {}, {}, {}}};
  testing::WriteProject(folder.File("lost.ini"), lost);
  for (const Case& failing : {Case{folder.File("missing.ini"), "File not found"},
                              Case{folder.File("lost.ini"), "Target folder is not found"},
                              Case{"   ", "This program can not run independently"}}) {
    SCOPED_TRACE(failing.project);
    const ProgramRun run = RunWords(failing.project, {"info", "save"});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_EQ(run.out, "");
    const std::vector<JsonValue> messages = Messages(run);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0]["text"].String(), failing.message);
    EXPECT_EQ(messages[0]["caption"].String(), "Timeline Audio Editor");
    EXPECT_EQ(messages[0]["buttons"].String(), "OKOnly");
    EXPECT_EQ(messages[0]["answer"].String(), "OK");
    ExpectSessionFolderGone();
  }
  EXPECT_EQ(HostFlagText(), "");
}

TEST_F(BatchTool, AnErrorThatStopsTheLoadingIsNamed) {
  // A missing track needs the project's sample rate to become silence.
  plan.baseFrequency.reset();
  plan.slides = {SlidePlan{"Gap", "gap.wav", "1", {}, {}, {}}};
  WriteProject();
  const ProgramRun run = Run({"info"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.out, "");
  const std::vector<JsonValue> messages = Messages(run);
  ASSERT_EQ(messages.size(), 1u);
  const std::string text = messages[0]["text"].String();
  const std::string start =
      "Error: Division by zero: the project gives no \"BaseFrequency\" for the missing track "
      "of slide 1\r\nin QuorvaneAudio.QuorvaneModOld.Main at line ";
  EXPECT_EQ(text.substr(0, start.size()), start);
  EXPECT_GT(text.size(), start.size());
  EXPECT_EQ(text.find_first_not_of("0123456789", start.size()), std::string::npos) << text;
  EXPECT_EQ(messages[0]["icon"].String(), "Critical");
  ExpectSessionFolderGone();
}

TEST_F(BatchTool, TheProjectPathMayComeInQuotes) {
  WriteProject();
  const ProgramRun run = RunWords("\"" + Project() + "\"", {"samples", "1", "2"});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.out, "{\"left\":[1,4],\"right\":[1,4]}\n");
}

TEST_F(BatchTool, ACommandLineItDoesNotUnderstandEndsWithStatusTwo) {
  WriteProject();
  const std::string before = ProjectText();
  const std::vector<std::vector<std::string>> refused = {
      {"frobnicate"},
      {"info", "save", "Info"},
      {"samples", "5"},
      {"samples", "5", "4"},
      {"samples", "0", "3"},
      {"samples", "-1", "3"},
      {"samples", "1", "3x"},
      {"delete", "a", "b"},
      {"delete", "10"},
      {"insert-silence", "1"},
      {"insert-silence", "0", "1"},
      {"insert-silence", "1", "0.4"},
      {"insert-silence", "1", "abc"},
      {"save", "undo", "insert-silence", "1", "-3"},
  };
  for (const auto& commands : refused) {
    SCOPED_TRACE(::testing::PrintToString(commands));
    const ProgramRun run = Run(commands);
    EXPECT_EQ(run.exitStatus, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err.rfind(kUsageStart, 0), 0u) << run.err;
  }
  const ProgramRun nothing = testing::RunProgram(QUORVANE_BATCH_PROGRAM, {});
  EXPECT_EQ(nothing.exitStatus, 2);
  EXPECT_EQ(nothing.err.rfind(kUsageStart, 0), 0u) << nothing.err;
  // Nothing ran: nothing was saved.
  EXPECT_EQ(ProjectText(), before);
  EXPECT_EQ(HostFlagText(), "");
}

TEST_F(BatchTool, PositionsOutsideTheDocumentEndTheRunWithStatusTwo) {
  WriteProject();
  for (const auto& commands :
       std::vector<std::vector<std::string>>{{"info", "delete", "4000", "4006", "save"},
                                             {"info", "samples", "4000", "4006", "save"},
                                             {"info", "samples", "4006", "4006", "save"},
                                             {"info", "insert-silence", "4007", "1", "save"},
                                             {"info", "insert-silence", "4006", "1", "save"}}) {
    SCOPED_TRACE(::testing::PrintToString(commands));
    WriteProject();
    const ProgramRun run = Run(commands);
    EXPECT_EQ(run.exitStatus, 2);
    // The commands before it ran; the ones after it did not.
    const std::vector<JsonValue> printed = Printed(run);
    ASSERT_EQ(printed.size(), 1u);
    EXPECT_EQ(printed[0]["length"].Int(), 4005);
    EXPECT_NE(run.err.find(kUsageStart), std::string::npos) << run.err;
    EXPECT_EQ(HostFlagText(), "");
    ExpectSessionFolderGone();
  }
  // Sample positions are 32-bit, the one after the last sample included: 194,783 s at
  // 11025 Hz is more than the document can hold.
  const ProgramRun tooLong = Run({"info", "insert-silence", "1", "194783", "info", "save"});
  EXPECT_EQ(tooLong.exitStatus, 2);
  const std::vector<JsonValue> printed = Printed(tooLong);
  ASSERT_EQ(printed.size(), 1u);
  EXPECT_NE(tooLong.err.find(kUsageStart), std::string::npos) << tooLong.err;
  EXPECT_EQ(HostFlagText(), "");
  // What fits goes in.
  const ProgramRun fits = Run({"insert-silence", "1", "194782", "info"});
  EXPECT_EQ(fits.exitStatus, 0);
  ASSERT_EQ(Printed(fits).size(), 1u);
  EXPECT_EQ(Printed(fits)[0]["length"].Int(), 4005 + 194782LL * 11025);
  EXPECT_EQ(Printed(fits)[0]["slides"][2]["end"].Int(), 4006 + 194782LL * 11025);

  // Silence goes in before a sample: before the last one it belongs to the last slide.
  const ProgramRun beforeLast = Run({"insert-silence", "4005", "1", "info"});
  EXPECT_EQ(beforeLast.exitStatus, 0);
  ASSERT_EQ(Printed(beforeLast).size(), 1u);
  EXPECT_EQ(Printed(beforeLast)[0]["length"].Int(), 4005 + 11025);
  EXPECT_EQ(Printed(beforeLast)[0]["slides"][2]["end"].Int(), 4006 + 11025);
}

TEST_F(BatchTool, AFailedSaveIsReportedAndTheRunStillEndsWell) {
  WriteProject();
  // A configuration "folder" that is a file: the host flag cannot be written.
  const std::string notAFolder = folder.Write("config", "");
  const ProgramRun run = Run({"delete", "1", "10", "save", "info"});
  EXPECT_EQ(run.exitStatus, 0);
  const std::vector<JsonValue> messages = Messages(run);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0]["text"].String(), "Error Saving\r\nCannot write " + notAFolder +
                                              "/VB and VBA Program Settings/Quorvane Stagora.conf");
  const std::vector<JsonValue> printed = Printed(run);
  ASSERT_EQ(printed.size(), 1u);
  EXPECT_TRUE(printed[0]["changed"].Bool());
  EXPECT_EQ(FileChannel(Track("one.wav"), 1), one);
}

TEST_F(BatchTool, StandardErrorCarriesNoEncoderOutput) {
  // lame without --quiet talks on its standard error when it decodes and encodes.
  const std::string wave = folder.File("tone.wav");
  testing::WritePcm16Wav(wave, testing::TestSignal(1, 11025, 5000), 1, 11025);
  const std::string mp3 = folder.File("tone.mp3");
  const ProgramRun encoded = testing::RunProgram("lame", {"-b", "64", wave, mp3});
  ASSERT_EQ(encoded.exitStatus, 0);
  ASSERT_NE(encoded.err, "") << "lame says nothing here; the check below would prove nothing";
  plan.lameSettings = "-b 64";
  plan.slides.push_back(TrackSlide("tone.mp3", testing::ReadFileBytes(mp3)));
  WriteProject();

  const ProgramRun run = Run({"delete", "1", "10", "save"});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(testing::RunProgram("soxi", {"-t", Track("tone.mp3")}).out, "mp3\n");
  ExpectSessionFolderGone();
}

}  // namespace
}  // namespace quorvane
