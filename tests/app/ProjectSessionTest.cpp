// Project files and sessions end to end: real project files and tracks of every format the
// host writes, read with ProjectFileLoad as start-up reads them, joined into one document
// in the session's format, and written back with ProjectFileSave, one file per slide.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "app/AudioFileName.h"
#include "app/CuePoints.h"
#include "app/ProjectFile.h"
#include "core/ErrorReport.h"
#include "core/ProjectTables.h"
#include "core/Settings.h"
#include "editing/EditCommands.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/CompressedWavFixtures.h"
#include "tests/support/ProjectBuilder.h"
#include "tests/support/SessionFixture.h"
#include "tests/support/WaveBuilder.h"

namespace quorvane::testing {
namespace {

constexpr char kTitle[] = "Timeline Audio Editor";
constexpr char kFlagFile[] = "/VB and VBA Program Settings/Quorvane Stagora.conf";
constexpr char kUnreadable[] = "The tracks of these slides could not be read: ";
constexpr char kUnreadableEnd[] =
    "\r\nSaving leaves those files as they are unless you choose to replace them with edited "
    "audio.";

std::vector<int16_t> Widened(std::vector<int16_t> samples) {
  for (int16_t& sample : samples) sample = static_cast<int16_t>(sample * 256);
  return samples;
}

// Every second sample, the second one first: what halving the rate keeps.
std::vector<int16_t> EverySecond(const std::vector<int16_t>& samples) {
  std::vector<int16_t> kept;
  for (size_t i = 1; i < samples.size(); i += 2) kept.push_back(samples[i]);
  return kept;
}

// A session as the editor starts it, with the host flag landing in a configuration folder
// of the case's own. Every message a case expects it takes out of ui.messages; any other
// fails the case.
class ProjectSession : public SessionTest {
 protected:
  // The tracks are checked byte for byte as canonical files; cue points have a case of
  // their own.
  ProjectSession() { SettingPut("", "CuePoints", "0"); }
  ~ProjectSession() override {
    EXPECT_EQ(ui.Texts(), std::vector<std::string>{}) << "messages nobody expected";
    document.StorageReset();
  }

  std::string Track(const std::string& name) const { return files.File("tracks/" + name); }
  std::string TrackBytes(const std::string& name) const { return ReadFileBytes(Track(name)); }
  std::string ProjectText() const { return files.Read("project.ini"); }
  std::string HostFlagText() const { return ReadFileBytes(config.Path() + kFlagFile); }
  // The value of `key` in each slide's section of the project file, "-" where it is missing.
  std::vector<std::string> SlideValues(const std::string& key) const {
    std::vector<std::string> values;
    for (int32_t n = 1; n <= Project().SlideCount; ++n) {
      values.push_back(IniValue(ProjectText(), std::to_string(n), key).value_or("-"));
    }
    return values;
  }

  // Writes "project.ini" with its tracks; the target folder is "tracks", made when missing,
  // unless the plan names one.
  std::string WriteProjectFile(ProjectPlan plan) {
    if (!plan.targetFolder) {
      std::filesystem::create_directories(files.File("tracks"));
      plan.targetFolder = files.File("tracks");
    }
    return WriteProject(files.File("project.ini"), plan);
  }

  // Loads the project as start-up does: storage reset, the document a scratch document
  // while the tracks are joined, then no undo and nothing changed. `changed` gets the
  // command line as ProjectFileLoad leaves it.
  bool Load(std::string commandLine, std::string* changed = nullptr) {
    document.StorageReset();
    document.IsTempObject = true;
    const bool loaded = ProjectFileLoad(commandLine, document);
    document.IsTempObject = false;
    document.UndoInfoReset();
    Editor().WaveChanged = false;
    if (changed) *changed = commandLine;
    return loaded;
  }
  void LoadProject(ProjectPlan plan) {
    ASSERT_TRUE(Load(WriteProjectFile(std::move(plan)))) << ::testing::PrintToString(ui.Texts());
  }

  void Select(int32_t start, int32_t end) {
    Editor().SelStart = start;
    Editor().SelEnd = end;
  }
  std::vector<int32_t> Starts() const {
    std::vector<int32_t> starts;
    for (int32_t n = 1; n <= Project().SlideEntryCount; ++n) {
      starts.push_back(Project().Slides[static_cast<size_t>(n)].Start);
    }
    return starts;
  }
  std::vector<int16_t> Left() const { return ChannelSamples(document, 1); }
  std::vector<int16_t> Right() const { return ChannelSamples(document, 2); }
  // The one message shown so far, taken out: "caption|text".
  std::string TakeMessage() {
    EXPECT_EQ(ui.messages.size(), 1u) << ::testing::PrintToString(ui.Texts());
    if (ui.messages.empty()) return "";
    EXPECT_EQ(ui.messages[0].buttons, MessageButtons::OkOnly);
    const std::string shown = ui.messages[0].caption + "|" + ui.messages[0].text;
    ui.messages.clear();
    return shown;
  }

  TempFolder config;
  ScopedVariable configHome{"XDG_CONFIG_HOME", config.Path()};
  FileMemoClass document;
};

TEST(IsAudioFileName, LooksAtTheTextAfterTheLastPoint) {
  for (const char* name : {"slide1.wav", "/a.b/Slide 2.MP3", "x.WaV"}) {
    EXPECT_TRUE(IsAudioFileName(name)) << name;
  }
  for (const char* name : {"slide.wav.txt", "notes.ogg", "   ", "trailing."}) {
    EXPECT_FALSE(IsAudioFileName(name)) << name;
  }
}

TEST_F(ProjectSession, RefusesToStartWithoutAProjectFile) {
  std::filesystem::create_directories(files.File("folder.ini"));
  const std::string independent = std::string(kTitle) + "|This program can not run independently";
  const std::string notFound = std::string(kTitle) + "|File not found";
  for (const auto& [commandLine, message] : std::vector<std::pair<std::string, std::string>>{
           {"", independent},
           {"\"\"", independent},
           {"\"", independent},
           {files.File("missing.ini"), notFound},
           {"\"" + files.File("missing.ini") + "\"", notFound},
           {files.File("folder.ini"), notFound}}) {
    SCOPED_TRACE(commandLine);
    EXPECT_FALSE(Load(commandLine));
    EXPECT_EQ(ui.messages.at(0).icon, MessageIcon::None);
    EXPECT_EQ(TakeMessage(), message);
    EXPECT_EQ(document.WavWaveINos, 0);
  }
}

TEST_F(ProjectSession,
       TheTargetFolderMustExistAndTheRateBeUsableQuotesAroundTheCommandLineAreRemoved) {
  std::filesystem::create_directories(files.File("tracks"));
  std::filesystem::create_directories(files.File("my talk"));
  files.Write("a file", "");
  const std::string path = files.File("my talk/project.ini");
  for (const std::optional<std::string>& folder : std::vector<std::optional<std::string>>{
           std::nullopt, "", "   ", files.File("nowhere"), files.File("a file")}) {
    SCOPED_TRACE(folder.value_or("(no key)"));
    ProjectPlan plan;
    plan.targetFolder = folder;
    plan.slides = {SlidePlan{}};
    EXPECT_FALSE(Load(WriteProject(path, plan)));
    EXPECT_EQ(TakeMessage(), std::string(kTitle) + "|Target folder is not found");
  }
  // A negative rate (found by fuzzing), one below any recording's or beyond sound devices',
  // a sample size no document can be saved in, or more slides than any presentation has,
  // is refused before any track is read.
  const std::string rateRefused =
      "The sample rate in the project file is not supported (BaseFrequency=";
  const std::string bitsRefused = "The sample size in the project file is not supported (BaseBits=";
  for (const auto& [rate, bits, message] :
       std::vector<std::tuple<std::string, std::string, std::string>>{
           {"-44100", "16", rateRefused + "-44100; 0 or 1000 to 384000 can be used)"},
           {"1", "16", rateRefused + "1; 0 or 1000 to 384000 can be used)"},
           {"384001", "", rateRefused + "384001; 0 or 1000 to 384000 can be used)"},
           {" 8.5e18", "8", rateRefused + "8.5e18; 0 or 1000 to 384000 can be used)"},
           {"22050", "12", bitsRefused + "12; 0, 8 or 16 can be used)"},
           {"", " 24 ", bitsRefused + "24; 0, 8 or 16 can be used)"},
           {"10001", "",
            "The slide count in the project file is not supported (SlideCount=10001; "
            "at most 10000 can be used)"}}) {
    SCOPED_TRACE(rate + "/" + bits);
    ProjectPlan plan;
    plan.targetFolder = Track("");
    const bool slideCount = rate == "10001";
    plan.baseFrequency = slideCount ? "" : rate;
    plan.slideCount = slideCount ? rate : "1";
    plan.baseBits = bits;
    plan.slides = {SlidePlan{}};
    EXPECT_FALSE(Load(WriteProject(path, plan)));
    EXPECT_EQ(TakeMessage(), std::string(kTitle) + "|" + message);
  }
  // Blanks around the folder's name go; a closing separator is added once.
  for (const auto& [folder, quoted] : std::vector<std::pair<std::string, std::string>>{
           {"  " + Track("") + "  ", "\"" + path + "\""},
           {Track(""), "\"" + path},
           {files.File("tracks"), path + "\""}}) {
    SCOPED_TRACE(quoted);
    ProjectPlan plan;
    plan.targetFolder = folder;
    plan.baseFrequency = "11025";
    plan.slides = {TrackSlide("a.wav", PcmWave(1, 11025, 16, Ramp(10)))};
    WriteProject(path, plan);
    std::string commandLine;
    ASSERT_TRUE(Load(quoted, &commandLine));
    EXPECT_EQ(commandLine, path);
    EXPECT_EQ(Project().ProjectPath, path);
    EXPECT_EQ(Project().TargetFolder, Track(""));
    EXPECT_EQ(Left(), Ramp(10));
  }
}

TEST_F(ProjectSession, ASlideCountBelowOneOrMissingGivesOneSlide) {
  const std::vector<int32_t> allStarts = {1, 301, 501, 601};
  for (const auto& [slideCount, slides] : std::vector<std::pair<std::optional<std::string>, int>>{
           {"0", 1}, {"-2", 1}, {"abc", 1}, {{}, 1}, {"2.5", 2}, {"1.5", 2}, {"3 slides", 3}}) {
    SCOPED_TRACE(slideCount.value_or("(no key)"));
    ProjectPlan plan;
    plan.slideCount = slideCount;
    plan.writeSlideCount = slideCount.has_value();
    plan.slides = {TrackSlide("one.wav", PcmWave(1, 11025, 16, Ramp(300, 1))),
                   TrackSlide("two.wav", PcmWave(1, 11025, 16, Ramp(200, 5000))),
                   TrackSlide("three.wav", PcmWave(1, 11025, 16, Ramp(100, -5000)))};
    LoadProject(plan);
    EXPECT_EQ(Project().SlideCount, slides);
    EXPECT_EQ(Starts(), std::vector<int32_t>(allStarts.begin(), allStarts.begin() + slides + 1));
    EXPECT_EQ(document.WavWaveINos, allStarts[static_cast<size_t>(slides)] - 1);
    EXPECT_EQ(Project().Slides[1].Title, "one.wav title");
  }
}

TEST_F(ProjectSession, AMissingSectionOrKeyTakesItsDefaultLongValuesAreReadWhole) {
  ProjectPlan plan;
  plan.slideCount = "3";
  plan.baseFrequency = "11025";
  // Slide 1 has no title and empty marker lists, slide 2 a "*" list, slide 3 no section.
  SlidePlan first = TrackSlide("one.wav", PcmWave(1, 11025, 16, Ramp(400)), "", "", "");
  first.title.reset();
  const std::string track = std::string(56, 't') + ".wav";  // 60 characters
  SlidePlan second = TrackSlide(track, PcmWave(1, 11025, 16, Ramp(100)), "", "*");
  second.track = "  " + track + "  ";
  second.title = std::string(1999, 'x');
  plan.slides = {first, second};
  LoadProject(plan);

  ASSERT_EQ(Project().SlideCount, 3);
  EXPECT_EQ(Project().Slides[1].Title, "Title1");
  EXPECT_EQ(Project().Slides[1].Track, "one.wav");
  EXPECT_EQ(Project().Slides[2].Title, std::string(1999, 'x'));
  EXPECT_EQ(Project().Slides[2].Track, track);
  EXPECT_EQ(Project().Slides[3].Title, "Title3");
  EXPECT_EQ(Project().Slides[3].Track, "Track3.mp3");
  // The third slide has neither audio nor a duration: it is empty.
  EXPECT_EQ(Starts(), (std::vector<int32_t>{1, 401, 501, 501}));
  EXPECT_EQ(Left(), Joined({Ramp(400), Ramp(100)}));
  EXPECT_EQ(Project().MarkerCount, 0);
  // Saved, the slide that had no section gets one without a title, and no file.
  ProjectFileSave(document);
  const std::string text = ProjectText();
  EXPECT_EQ(text.substr(text.find("[3]")),
            "[3]\nSlideTrack=Track3.mp3\nDuration=0.0\nClickMarkerTimes=\nAutoMarkerTimes=\n");
  EXPECT_FALSE(std::filesystem::exists(Track("Track3.mp3")));
}

TEST_F(ProjectSession, ATrackMustBeAnAudioFileOfTheTargetFoldersOwnAndOfOneSlideOnly) {
  namespace fs = std::filesystem;
  const std::string victim = files.Write("victim.wav", PcmWave(1, 22050, 16, Ramp(100, 7)));
  fs::create_directories(Track(""));
  const std::string notes = files.Write("tracks/notes.docx", "my notes");
  fs::create_symlink("../victim.wav", Track("out.wav"));
  fs::create_symlink("notes.docx", Track("notes.wav"));
  const std::string outside =
      "The track of slide 2 is not a WAV or MP3 file inside the target "
      "folder:\r\n";
  for (const auto& [track, message] : std::vector<std::pair<std::string, std::string>>{
           {"../victim.wav", outside + Track("../victim.wav")},
           {victim, outside + victim},
           {"out.wav", outside + Track("out.wav")},
           {"notes.wav", outside + Track("notes.wav")},
           {"notes.docx",
            "The track of slide 2 is not a WAV or MP3 file:\r\n" + Track("notes.docx")},
           {"./sub/../one.WAV", "Slides 1 and 2 name the same track:\r\n" + Track("one.WAV")}}) {
    SCOPED_TRACE(track);
    ProjectPlan plan;
    plan.slides = {TrackSlide("one.WAV", PcmWave(1, 22050, 16, Ramp(100, 1))),
                   SlidePlan{"Bad", track, "1", {}, {}, {}}};
    EXPECT_FALSE(Load(WriteProjectFile(plan)));
    EXPECT_EQ(TakeMessage(), std::string(kTitle) + "|" + message);
  }
  // A save makes its files under names nobody can take beforehand: what is planted under
  // the names of the hidden files it once used leads nowhere.
  ProjectPlan plan;
  plan.slides = {TrackSlide("one.wav", PcmWave(1, 22050, 16, Ramp(100, 1)))};
  LoadProject(plan);
  fs::create_symlink("../victim.wav", Track(".~one.wav"));
  fs::create_directories(files.File(".~project.ini"));
  Select(1, 10);
  EditDelete(document);
  EXPECT_TRUE(ProjectFileSave(document));
  EXPECT_EQ(TrackBytes("one.wav"), PcmWave(1, 22050, 16, Ramp(90, 11)));
  EXPECT_EQ(ReadFileBytes(victim), PcmWave(1, 22050, 16, Ramp(100, 7)));
  EXPECT_EQ(ReadFileBytes(notes), "my notes");
}

TEST_F(ProjectSession, ATrackThatCouldNotBeReadIsReplacedOnlyWhenTheUserSaysSo) {
  // The second track's header promises more audio than the file holds: what is there loads,
  // with the reader's message, and the file is the user's all the same.
  const auto voice = Ramp(300, 100, 5);
  std::string cut = PcmWave(1, 22050, 16, Joined({voice, Ramp(300, -100, 5)}));
  cut.resize(44 + 2 * voice.size());
  ProjectPlan plan;
  plan.slides = {TrackSlide("one.wav", PcmWave(1, 22050, 16, Ramp(100, 1))),
                 TrackSlide("cut.wav", cut, "", "0.01")};
  LoadProject(plan);
  ASSERT_EQ(ui.messages.size(), 3u);
  EXPECT_EQ(ui.messages[2].text, kUnreadable + std::string("2") + kUnreadableEnd);
  ui.messages.clear();
  EXPECT_EQ(Left(), Joined({Ramp(100, 1), voice}));
  const std::string sectionBefore = ProjectText().substr(ProjectText().find("[2]"));

  // Saved unedited, it is left alone without a word.
  EXPECT_TRUE(ProjectFileSave(document));
  EXPECT_EQ(ReadFileBytes(Track("cut.wav")), cut);
  // Edited, the user is asked; the default answer keeps the file, its duration and markers.
  Select(101, 110);
  EditDelete(document);
  EXPECT_FALSE(ProjectFileSave(document));
  ASSERT_EQ(ui.messages.size(), 2u);
  EXPECT_EQ(ui.messages[0].text,
            "The track of slide 2 could not be read when the project was opened. Replace it "
            "with the edited audio?");
  EXPECT_EQ(ui.messages[0].buttons, MessageButtons::YesNo);
  EXPECT_EQ(DefaultAnswer(ui.messages[0]), MessageAnswer::No);
  EXPECT_EQ(ui.messages[1].text,
            "These slides were left as they were, without their edits, because their tracks "
            "could not be read when the project was opened: 2");
  ui.messages.clear();
  EXPECT_EQ(ReadFileBytes(Track("cut.wav")), cut);
  EXPECT_EQ(ProjectText().substr(ProjectText().find("[2]")), sectionBefore);
  EXPECT_EQ(IniValue(ProjectText(), "1", "Duration"), "0.005");

  // Told to replace it, the save writes it, and from then on it is a track like any other.
  ui.Answer(MessageAnswer::Yes);
  EXPECT_TRUE(ProjectFileSave(document));
  EXPECT_EQ(ui.messages.size(), 1u);
  ui.messages.clear();
  EXPECT_EQ(TrackBytes("cut.wav"), PcmWave(1, 22050, 16, Stretch(voice, 11, 300)));
  EXPECT_EQ(SlideValues("ClickMarkerTimes"), (std::vector<std::string>{"", "0.01"}));
  Select(101, 102);
  EditDelete(document);
  EXPECT_TRUE(ProjectFileSave(document));
  EXPECT_EQ(TrackBytes("cut.wav"), PcmWave(1, 22050, 16, Stretch(voice, 13, 300)));
}

TEST_F(ProjectSession, MarkersOutsideTheirSlideAreIgnoredWithAMessage) {
  ProjectPlan plan;
  plan.slides = {
      TrackSlide("intro.wav", PcmWave(1, 22050, 16, Ramp(22050)), "", "0.5, 1.5,-0.1,1.0",
                 "0.25,abc"),
      TrackSlide("results.wav", PcmWave(1, 22050, 16, Ramp(11025)), "", "0", "1.5,0.25")};
  plan.slides[0].title = "Intro";
  plan.slides[1].title = "Results";
  LoadProject(plan);
  const std::string ignored = "A marker is out of the slide duration that is ignored\r\n";
  EXPECT_EQ(ui.Texts(), (std::vector<std::string>{
                            ignored + "Marker type: Click, Position:  1.5\r\nSlide title: Intro",
                            ignored + "Marker type: Click, Position: -0.1\r\nSlide title: Intro",
                            ignored + "Marker type: Auto, Position: 1.5\r\nSlide title: Results"}));
  ui.messages.clear();
  // In position order; 0.25 s is 5512.5 samples, rounded to even; "abc" is 0 s; a marker
  // at the slide's very end is kept, and keeps its place before the next slide's marker
  // at the same position.
  std::vector<std::array<int32_t, 3>> markers;
  for (int32_t m = 1; m <= Project().MarkerCount; ++m) {
    const MarkerInfo& marker = Project().Markers[static_cast<size_t>(m)];
    markers.push_back({marker.Kind, marker.Position, marker.Slide});
  }
  EXPECT_EQ(markers, (std::vector<std::array<int32_t, 3>>{{2, 1, 1},
                                                          {2, 5513, 1},
                                                          {1, 11026, 1},
                                                          {1, 22051, 1},
                                                          {1, 22051, 2},
                                                          {2, 22051 + 5512, 2}}));
}

// Three slides at 22050 Hz of 3.0, 2.5 and 1.235 seconds, with markers.
class ProjectSave : public ProjectSession {
 protected:
  ProjectSave() : one(Ramp(66150, 0, 1)), two(Ramp(55125, 1000, 3)), three(Ramp(27222, -5000, 7)) {
    plan.presentationName = " Quarterly review";
    plan.slideCount = "3 slides";
    plan.baseFrequency = "22050";
    plan.baseBits = "16";
    plan.lameSettings = "--quiet";
    plan.slides = {
        TrackSlide("one.wav", PcmWave(1, 22050, 16, one), "3", "0.5,2.0004"),
        TrackSlide("two.wav", PcmWave(1, 22050, 16, two), "2.5", std::nullopt, "1.23456,0.1"),
        TrackSlide("three.wav", PcmWave(1, 22050, 16, three), "", "1.0"),
    };
    plan.slides[1].title = "  Results, first half ";
    plan.slides[2].title.reset();
  }

  // The project file as saving the loaded project writes it: durations and marker times
  // of every slide, in table order (position order); the rest as the host wrote it.
  std::string Saved() const {
    return "[Project]\nPresentationName= Quarterly review\nTargetFolder=" + files.File("tracks") +
           "\nSlideCount=3 slides\nBaseFrequency=22050\nBaseBits=16\nLameSettings=--quiet\n\n[1]\n"
           "SlideTitle=one.wav title\nSlideTrack=one.wav\nDuration=3.0\nClickMarkerTimes=0.5,2.0\n"
           "AutoMarkerTimes=\n\n[2]\nSlideTitle=  Results, first half \nSlideTrack=two.wav\n"
           "Duration=2.5\nAutoMarkerTimes=0.1,1.235\nClickMarkerTimes=\n\n[3]\n"
           "SlideTrack=three.wav\nClickMarkerTimes=1.0\nDuration=1.235\nAutoMarkerTimes=\n";
  }

  // The three track files, and what they are when they hold these samples.
  std::vector<std::string> Tracks() const {
    return {TrackBytes("one.wav"), TrackBytes("two.wav"), TrackBytes("three.wav")};
  }
  static std::vector<std::string> Waves(const std::vector<std::vector<int16_t>>& slides) {
    std::vector<std::string> waves;
    for (const auto& samples : slides) waves.push_back(PcmWave(1, 22050, 16, samples));
    return waves;
  }

  std::vector<int16_t> one, two, three;
  ProjectPlan plan;
};

// With cue points on, a saved track carries its slide's markers after the data, and the
// RIFF size covers them; a track no save has written is not written while its slide is
// as loaded.
TEST_F(ProjectSave, AWrittenTrackCarriesItsSlidesMarkersAsCuePoints) {
  SettingPut("", "CuePoints", "1");
  LoadProject(plan);
  const auto inode = [this](const char* name) {
    struct stat status {};
    ::stat(Track(name).c_str(), &status);
    return status.st_ino;
  };
  const ino_t loaded = inode("one.wav");
  ProjectFileSave(document);
  EXPECT_EQ(inode("one.wav"), loaded);
  Select(2, 3);
  EditDelete(document);
  ProjectFileSave(document);
  const std::vector<WaveCuePoint> points = {{11023, "Click 1"}, {44107, "Click 2"}};
  EXPECT_EQ(ReadWaveCuePoints(Track("one.wav")).Points, points);
  const std::string bytes = TrackBytes("one.wav");
  const std::string samples =
      PcmWave(1, 22050, 16, Joined({Stretch(one, 1, 1), Stretch(one, 4, 66150)}));
  EXPECT_EQ(bytes.substr(44, samples.size() - 44), samples.substr(44));
  EXPECT_EQ(static_cast<uint8_t>(bytes[4]) | static_cast<uint8_t>(bytes[5]) << 8 |
                static_cast<uint8_t>(bytes[6]) << 16,
            static_cast<int>(bytes.size()) - 8);
}

TEST_F(ProjectSave, EditsMoveDurationsMarkersAndFilesUndoBringsThemBack) {
  LoadProject(plan);
  const auto inodes = [this] {
    std::vector<ino_t> numbers;
    for (const char* name : {"one.wav", "two.wav", "three.wav"}) {
      struct stat status {};
      ::stat(Track(name).c_str(), &status);
      numbers.push_back(status.st_ino);
    }
    return numbers;
  };
  const std::vector<ino_t> loaded = inodes();
  ProjectFileSave(document);
  // Same format, same samples: the same files, not even written again.
  EXPECT_EQ(ProjectText(), Saved());
  EXPECT_EQ(Tracks(), Waves({one, two, three}));
  EXPECT_EQ(inodes(), loaded);
  EXPECT_EQ(HostFlagText(), "[Dynamic]\nTAEState=1\n");

  // Across the boundary of slides 1 and 2: slide 1 loses 6150 samples, slide 2 its first
  // 3850 and the marker at 0.1 s. Then one second into slide 3, 100 samples after its start.
  Select(60001, 70000);
  EditDelete(document);
  EXPECT_EQ(Starts(), (std::vector<int32_t>{1, 60001, 111276, 138498}));
  Select(111376, 111376);
  ASSERT_TRUE(InsertSilenceSeconds(document, "1"));
  EXPECT_EQ(menu.menuCaption, "Undo [Insert Silence]");
  ASSERT_TRUE(Editor().WaveChanged);
  ProjectFileSave(document);
  EXPECT_FALSE(Editor().WaveChanged);
  // 60000, 51275 and 49272 samples.
  EXPECT_EQ(SlideValues("Duration"), (std::vector<std::string>{"2.721", "2.325", "2.235"}));
  EXPECT_EQ(SlideValues("ClickMarkerTimes"), (std::vector<std::string>{"0.5,2.0", "", "2.0"}));
  EXPECT_EQ(SlideValues("AutoMarkerTimes"), (std::vector<std::string>{"", "1.06", ""}));
  EXPECT_EQ(Tracks(),
            Waves({Stretch(one, 1, 60000), Stretch(two, 3851, 55125),
                   Joined({Stretch(three, 1, 100), Zeros(22050), Stretch(three, 101, 27222)})}));

  EditUndo(document);
  EditUndo(document);
  EXPECT_EQ(menu.menuCaption, "Undo [Nothing]");
  ProjectFileSave(document);
  EXPECT_EQ(ProjectText(), Saved());
  EXPECT_EQ(Tracks(), Waves({one, two, three}));
}

TEST_F(ProjectSave, AHostFlagOrAProjectFileThatCannotBeWrittenStopsTheSave) {
  std::filesystem::create_directories(files.File("talk"));
  plan.targetFolder = files.File("tracks");
  std::filesystem::create_directories(files.File("tracks"));
  const std::string project = WriteProject(files.File("talk/project.ini"), plan);
  ASSERT_TRUE(Load(project));
  Select(1, 1000);
  EditDelete(document);
  const std::string before = ReadFileBytes(project);
  {
    // A configuration "folder" that is a file: the flag's folder cannot be made.
    const std::string notAFolder = config.Write("not a folder", "");
    const ScopedVariable configHome("XDG_CONFIG_HOME", notAFolder);
    ProjectFileSave(document);
    EXPECT_EQ(TakeMessage(),
              std::string(kTitle) + "|Error Saving\r\nCannot write " + notAFolder + kFlagFile);
    EXPECT_EQ(ReadFileBytes(project), before);
  }
  // The project's folder is gone, and a file has its name.
  std::filesystem::remove_all(files.File("talk"));
  files.Write("talk", "");
  ProjectFileSave(document);
  EXPECT_EQ(TakeMessage(), std::string(kTitle) + "|Error Saving\r\nCannot write " + project);
  EXPECT_TRUE(Editor().WaveChanged);
  // The flag came first and stays written; no track was reached by either save.
  EXPECT_EQ(HostFlagText(), "[Dynamic]\nTAEState=1\n");
  EXPECT_EQ(TrackBytes("one.wav"), PcmWave(1, 22050, 16, one));
  // A folder where the project file was: it cannot be replaced, the last of all, and the
  // tracks already put in place go back, so that they still match the project's durations.
  std::filesystem::remove(files.File("talk"));
  std::filesystem::create_directories(project);
  ProjectFileSave(document);
  EXPECT_EQ(TakeMessage(), std::string(kTitle) + "|Error Saving\r\nCannot write " + project);
  EXPECT_EQ(TrackBytes("one.wav"), PcmWave(1, 22050, 16, one));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(files.File("tracks")), {}), 3);
}

TEST_F(ProjectSave, ASlideFileThatCannotBeWrittenLeavesEveryFileAndTheDocumentAsTheyWere) {
  LoadProject(plan);
  Select(60001, 70000);
  EditDelete(document);
  const std::string before = ProjectText();
  // No file may grow beyond 100,000 bytes: the first slide's new file (120,044) cannot be
  // written whole, the others could.
  {
    const ScopedFileSizeLimit full(100'000);
    EXPECT_FALSE(ProjectFileSave(document));
  }
  // The writer's own report, then the save's.
  ASSERT_EQ(ui.messages.size(), 2u);
  EXPECT_NE(ui.messages[0].text.find("File too large"), std::string::npos);
  EXPECT_EQ(ui.messages[1].text, "Error Saving\r\nCannot write " + Track("one.wav"));
  ui.messages.clear();
  EXPECT_TRUE(Editor().WaveChanged);
  EXPECT_EQ(menu.menuCaption, "Undo [Delete]");
  EXPECT_EQ(ProjectText(), before);
  EXPECT_EQ(Tracks(), Waves({one, two, three}));
  std::vector<std::string> left;
  for (const auto& entry : std::filesystem::directory_iterator(files.File("tracks"))) {
    left.push_back(entry.path().filename().string());
  }
  std::sort(left.begin(), left.end());
  EXPECT_EQ(left, (std::vector<std::string>{"one.wav", "three.wav", "two.wav"}));

  // With room again the same save goes through.
  EXPECT_TRUE(ProjectFileSave(document));
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_FALSE(Editor().WaveChanged);
  EXPECT_EQ(TrackBytes("one.wav"), PcmWave(1, 22050, 16, Stretch(one, 1, 60000)));
}

TEST_F(ProjectSession, TracksKeepTheirFormatWhenTheProjectGivesNone) {
  struct Format {
    int channels, rate, bits;
    const char* duration;  // of 3000 frames, as the project file gets it
  };
  int round = 0;
  for (const Format& format : {Format{1, 11025, 8, "0.272"}, Format{2, 22050, 16, "0.136"}}) {
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
    // Same format, same samples: the same file.
    EXPECT_EQ(TrackBytes(name), bytes);
    EXPECT_EQ(IniValue(ProjectText(), "1", "Duration"), format.duration);
  }
}

TEST_F(ProjectSession, TracksAreBroughtToTheBitsAndRateTheProjectGives) {
  // Widened; halved in rate, every second sample kept; doubled in rate, every second sample
  // on the curve through the source's. The stereo slide makes the whole document stereo,
  // a mono slide heard on both sides.
  const auto low = EightBitPattern(1000, 3);
  const auto fastLeft = Ramp(2000, 0, 13);
  const auto fastRight = Ramp(2000, 7000, -9);
  const auto slow = Ramp(500, -3000, 50);
  ProjectPlan plan;
  plan.baseBits = "16";
  plan.baseFrequency = "22050";
  plan.slides = {TrackSlide("low.wav", PcmWave(1, 22050, 8, low), "", "0.03125"),
                 TrackSlide("fast.wav", PcmWave(2, 44100, 16, Interleave(fastLeft, fastRight))),
                 TrackSlide("slow.wav", PcmWave(1, 11025, 16, slow))};
  LoadProject(plan);
  EXPECT_EQ(document.WavFmtBits, 16);
  EXPECT_EQ(document.WavFmtFreq, 22050);
  ASSERT_EQ(Starts(), (std::vector<int32_t>{1, 1001, 2001, 3001}));
  ASSERT_EQ(Project().MarkerCount, 1);
  EXPECT_EQ(Project().Markers[1].Position, 690);  // 689.0625 rounded, plus the start
  // Joining the tracks is not an edit the user could undo.
  EXPECT_EQ(menu.menuCaption, "Undo [Nothing]");
  const auto curve = Stretch(Left(), 2001, 3000);
  EXPECT_EQ(Left(), Joined({Widened(low), EverySecond(fastLeft), curve}));
  EXPECT_EQ(Right(), Joined({Widened(low), EverySecond(fastRight), curve}));
  for (size_t k = 0; k < slow.size(); ++k) {
    ASSERT_EQ(curve[2 * k], slow[k]) << k;
    if (k + 1 < slow.size()) {
      EXPECT_GT(curve[2 * k + 1], curve[2 * k]) << k;
    }
  }
  ProjectFileSave(document);
  EXPECT_EQ(TrackBytes("low.wav"), PcmWave(2, 22050, 16, Interleave(Widened(low), Widened(low))));
  EXPECT_EQ(TrackBytes("fast.wav"),
            PcmWave(2, 22050, 16, Interleave(EverySecond(fastLeft), EverySecond(fastRight))));
  EXPECT_EQ(TrackBytes("slow.wav"), PcmWave(2, 22050, 16, Interleave(curve, curve)));
  EXPECT_EQ(IniValue(ProjectText(), "2", "Duration"), "0.045");
}

TEST_F(ProjectSession, LongTracksAreConvertedAcrossBlocks) {
  // More samples than one block holds (524,288 for this memory budget), converted in bits
  // and then in rate: the second half of every pair, widened.
  const auto source = EightBitPattern(1'200'001, 5);
  ProjectPlan plan;
  plan.baseBits = "16";
  plan.baseFrequency = "11025";
  plan.slides = {TrackSlide("long.wav", PcmWave(1, 22050, 8, source))};
  LoadProject(plan);
  const auto expected = Widened(EverySecond(source));
  ASSERT_EQ(document.WavWaveINos, 600'000);
  EXPECT_TRUE(Left() == expected);
  ProjectFileSave(document);
  EXPECT_TRUE(TrackBytes("long.wav") == PcmWave(1, 11025, 16, expected));

  // Interpolated to four times the rate, every source sample is kept across blocks too.
  const auto left = Ramp(140'000, 0, 1);
  const auto right = Ramp(140'000, 0, -1);
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
}

TEST_F(ProjectSession, AMissingOrEmptyTrackIsSilenceOfItsDurationAShortOnePaddedALongOneKept) {
  const auto voice = Ramp(33075, 100, 3);  // 1.5 s at 22050 Hz
  ProjectPlan plan;
  plan.baseFrequency = "22050";
  plan.slides = {TrackSlide("padded.wav", PcmWave(1, 22050, 16, voice), "2.5"),
                 SlidePlan{"Gap", "absent.wav", "2.5", "2.5", {}, ""},  // an empty file
                 TrackSlide("kept.wav", PcmWave(1, 22050, 16, voice), "1"),
                 TrackSlide("last.wav", PcmWave(1, 22050, 16, Ramp(5, 1)), "0")};
  LoadProject(plan);
  EXPECT_EQ(Starts(), (std::vector<int32_t>{1, 55126, 110251, 143326, 143331}));
  EXPECT_EQ(Left(), Joined({voice, Zeros(22050), Zeros(55125), voice, Ramp(5, 1)}));
  // A marker at the end of the silence is still the slide's.
  ASSERT_EQ(Project().MarkerCount, 1);
  EXPECT_EQ(Project().Markers[1].Position, 110251);
  EXPECT_EQ(Project().Markers[1].Slide, 2);
  ProjectFileSave(document);
  EXPECT_EQ(TrackBytes("padded.wav"), PcmWave(1, 22050, 16, Joined({voice, Zeros(22050)})));
  EXPECT_FALSE(std::filesystem::exists(Track("absent.wav")));
  EXPECT_EQ(TrackBytes("kept.wav"), PcmWave(1, 22050, 16, voice));
  EXPECT_EQ(SlideValues("Duration"), (std::vector<std::string>{"2.5", "2.5", "1.5", "0.0"}));
  EXPECT_EQ(IniValue(ProjectText(), "2", "ClickMarkerTimes"), "2.5");
}

TEST_F(ProjectSession, AudioLongerThanADocumentHoldsEndsTheLoadWithOverflow) {
  // At 22050 Hz a document holds 97,391.5 s: one slide of 1e40 s, or a second slide of
  // 50,000 s after one of as long, would wrap the 32-bit positions round.
  for (const std::vector<std::string>& durations :
       std::vector<std::vector<std::string>>{{"1e40"}, {"50000", "50000"}}) {
    SCOPED_TRACE(durations.size());
    ProjectPlan plan;
    plan.baseFrequency = "22050";
    for (const std::string& duration : durations) {
      const std::string track = "absent" + std::to_string(plan.slides.size()) + ".wav";
      plan.slides.push_back(SlidePlan{"Gap", track, duration, {}, {}, {}});
    }
    try {
      Load(WriteProjectFile(plan));
      ADD_FAILURE() << "the project loaded";
    } catch (const std::exception& error) {
      EXPECT_EQ(ErrorNumber(error), 6);
      EXPECT_EQ(ErrorDescription(error),
                "Overflow: the audio of slide " + std::to_string(durations.size()) +
                    " makes the presentation longer than the editor can hold");
    }
  }
}

TEST_F(ProjectSession, Mp3TracksGoThroughLameBothWays) {
  const std::string tone = files.File("tone.wav");
  WritePcm16Wav(tone, TestSignal(1, 22050, 22050), 1, 22050);
  const std::string mp3 = files.File("voice.mp3");
  ASSERT_EQ(RunProgram("lame", {"--quiet", "-b", "128", tone, mp3}).exitStatus, 0);
  // What lame's own decoder makes of the file is what the session must hold.
  const std::string reference = files.File("reference.wav");
  ASSERT_EQ(RunProgram("lame", {"--quiet", "--decode", mp3, reference}).exitStatus, 0);
  const auto decoded = ReadWavFile(reference)->Samples();

  ProjectPlan plan;
  plan.lameSettings = "--quiet -b 128";
  // An encoder that is not there: the one on the PATH stays in use.
  plan.lamePath = files.File("no such lame");
  plan.slides = {TrackSlide("voice.mp3", ReadFileBytes(mp3), "", "0.5"),
                 TrackSlide("after.wav", PcmWave(1, 22050, 16, Ramp(100, 1)))};
  LoadProject(plan);
  EXPECT_EQ(document.WavFmtFreq, 22050);
  EXPECT_EQ(Left(), Joined({decoded, Ramp(100, 1)}));

  // The first 0.1 s goes; the file written again is an MP3 of what is left.
  Select(1, 2205);
  EditDelete(document);
  ProjectFileSave(document);
  EXPECT_EQ(RunProgram("soxi", {"-t", Track("voice.mp3")}).out, "mp3\n");
  const std::string again = files.File("again.wav");
  ASSERT_EQ(RunProgram("lame", {"--quiet", "--decode", Track("voice.mp3"), again}).exitStatus, 0);
  EXPECT_NEAR(static_cast<double>(ReadWavFile(again)->Frames()),
              static_cast<double>(decoded.size() - 2205), 1152.0);
  EXPECT_EQ(IniValue(ProjectText(), "1", "ClickMarkerTimes"), "0.4");
}

TEST_F(ProjectSession, AFailingConversionOrInsertIsReportedByName) {
  ui.progress.failWhenShownInColor = Rgb(0, 128, 128);
  ProjectPlan plan;
  plan.baseBits = "8";
  plan.slides = {TrackSlide("loud.wav", PcmWave(1, 11025, 16, Ramp(1000, 0, 20)))};
  LoadProject(plan);
  // A track that could not be brought to the session's format is kept as it is.
  ASSERT_EQ(ui.messages.size(), 2u);
  EXPECT_EQ(ui.messages[0].caption + "|" + ui.messages[0].text, "Open Wave Error|Out of memory");
  EXPECT_EQ(ui.messages[1].text, kUnreadable + std::string("1") + kUnreadableEnd);
  ui.messages.clear();
  EXPECT_TRUE(Project().Slides[1].TrackUnreadable);
  EXPECT_FALSE(ui.progress.IsVisible());
  EXPECT_EQ(ui.busyDepth, 0);

  // The display is shown for the first time, still uncoloured, when the silence of the
  // missing track is joined.
  ui.progress.color = 0;
  ui.progress.failWhenShownInColor = 0;
  plan.baseFrequency = "11025";
  plan.slides = {SlidePlan{"Gap", "absent.wav", "1", {}, {}, {}}};
  LoadProject(plan);
  EXPECT_EQ(TakeMessage(), "File Insert Error|Out of memory");
  EXPECT_EQ(document.WavWaveINos, 0);
  EXPECT_EQ(ui.busyDepth, 0);
}

TEST_F(ProjectSession, ASilentSlideLosesItsFileUndoBringsItsAudioBack) {
  const std::vector<int16_t> tiny = {1000, -1000, 5, 6, 7};
  ProjectPlan plan;
  plan.baseFrequency = "22050";
  plan.slides = {TrackSlide("loud.wav", PcmWave(1, 22050, 16, Ramp(1000, 1))),
                 TrackSlide("quiet.wav", PcmWave(2, 22050, 16, Zeros(4000))),
                 TrackSlide("tiny.wav", PcmWave(1, 22050, 16, tiny)),
                 TrackSlide("emptied.wav", PcmWave(1, 22050, 16, Ramp(10, 1))),
                 SlidePlan{"Gap", "absent.wav", "1", {}, {}, {}}};
  LoadProject(plan);
  EXPECT_EQ(document.WavFmtChannel, 2);
  // One slide loses all its audio; two samples of the tiny one are left, too few to write.
  Select(3006, 3015);
  EditDelete(document);
  Select(3003, 3005);
  EditDelete(document);
  ASSERT_EQ(Starts()[3], 3003);
  ProjectFileSave(document);
  EXPECT_TRUE(std::filesystem::exists(Track("loud.wav")));
  for (const char* gone : {"quiet.wav", "tiny.wav", "emptied.wav", "absent.wav"}) {
    EXPECT_FALSE(std::filesystem::exists(Track(gone))) << gone;
  }
  EXPECT_EQ(SlideValues("Duration"),
            (std::vector<std::string>{"0.045", "0.091", "0.0", "0.0", "1.0"}));
  // The deleted file's audio the undo history still held was kept before the file went.
  EditUndo(document);
  ProjectFileSave(document);
  EXPECT_EQ(TrackBytes("tiny.wav"), PcmWave(2, 22050, 16, Interleave(tiny, tiny)));
}

}  // namespace
}  // namespace quorvane::testing
