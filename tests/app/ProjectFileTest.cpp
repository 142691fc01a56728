// The project file end to end: real project files and tracks in a folder, read with
// ProjectFileLoad as start-up reads them, written back with ProjectFileSave, and the file
// checked value by value afterwards.
#include "app/ProjectFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "core/HostFlag.h"
#include "core/ProjectTables.h"
#include "editing/EditCommands.h"
#include "storage/EditorState.h"
#include "tests/app/ProjectSessionFixture.h"
#include "tests/support/WaveBuilder.h"

namespace quorvane {
namespace {

using testing::IniValue;
using testing::PcmWave;
using testing::ProjectPlan;
using testing::Ramp;
using testing::ReadFileBytes;
using testing::SectionKeys;
using testing::SectionLines;
using testing::SlidePlan;
using testing::TrackSlide;

constexpr char kTitle[] = "Timeline Audio Editor";

struct Marker {
  int32_t kind;
  int32_t position;
  int32_t slide;
  bool operator==(const Marker&) const = default;
};

std::vector<Marker> MarkerTable() {
  std::vector<Marker> markers;
  for (int32_t m = 1; m <= Project().MarkerCount; ++m) {
    const MarkerInfo& marker = Project().Markers[static_cast<size_t>(m)];
    markers.push_back({marker.Kind, marker.Position, marker.Slide});
  }
  return markers;
}

std::vector<int32_t> SlideStarts() {
  std::vector<int32_t> starts;
  for (int32_t n = 1; n <= Project().SlideEntryCount; ++n) {
    starts.push_back(Project().Slides[static_cast<size_t>(n)].Start);
  }
  return starts;
}

void PrintTo(const Marker& marker, std::ostream* out) {
  *out << "{" << marker.kind << ", " << marker.position << ", " << marker.slide << "}";
}

class ProjectFileLoadTest : public testing::ProjectSessionTest {};

TEST_F(ProjectFileLoadTest, RefusesToStartWithoutAProjectFile) {
  std::filesystem::create_directories(files.File("folder.ini"));
  struct Case {
    std::string commandLine;
    std::string message;
  };
  const std::vector<Case> cases = {
      {"", "This program can not run independently"},
      {"\"\"", "This program can not run independently"},
      {"\"", "This program can not run independently"},
      {files.File("missing.ini"), "File not found"},
      {"\"" + files.File("missing.ini") + "\"", "File not found"},
      {files.File("folder.ini"), "File not found"},
  };
  for (const Case& refused : cases) {
    SCOPED_TRACE(refused.commandLine);
    ui.messages.clear();
    EXPECT_FALSE(Load(refused.commandLine));
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text, refused.message);
    EXPECT_EQ(ui.messages[0].caption, kTitle);
    EXPECT_EQ(ui.messages[0].buttons, MessageButtons::OkOnly);
    EXPECT_EQ(ui.messages[0].icon, MessageIcon::None);
    EXPECT_EQ(document.WavWaveINos, 0);
  }
}

TEST_F(ProjectFileLoadTest, QuotesAroundTheCommandLineAreRemovedInPlace) {
  std::filesystem::create_directories(files.File("my talk"));
  ProjectPlan plan;
  plan.targetFolder = Tracks();
  plan.slides = {TrackSlide("a.wav", PcmWave(1, 11025, 16, Ramp(100)))};
  const std::string path = testing::WriteProject(files.File("my talk/project.ini"), plan);
  for (const std::string& quoted : {"\"" + path + "\"", "\"" + path, path + "\""}) {
    SCOPED_TRACE(quoted);
    std::string commandLine = quoted;
    ASSERT_TRUE(Load(commandLine));
    EXPECT_EQ(commandLine, path);
    EXPECT_EQ(Project().ProjectPath, path);
    EXPECT_EQ(Left(), Ramp(100));
  }
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(ProjectFileLoadTest, TheTargetFolderMustExist) {
  std::filesystem::create_directories(Tracks());
  files.Write("a file", "");
  for (const std::optional<std::string>& folder :
       {std::optional<std::string>{}, std::optional<std::string>{""},
        std::optional<std::string>{"   "}, std::optional<std::string>{files.File("nowhere")},
        std::optional<std::string>{files.File("a file")}}) {
    SCOPED_TRACE(folder.value_or("(no key)"));
    ui.messages.clear();
    ProjectPlan plan;
    plan.targetFolder = folder;
    plan.slides = {SlidePlan{}};
    EXPECT_FALSE(Load(testing::WriteProject(files.File("project.ini"), plan)));
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text, "Target folder is not found");
    EXPECT_EQ(ui.messages[0].caption, kTitle);
    EXPECT_EQ(ui.messages[0].buttons, MessageButtons::OkOnly);
  }

  // Blanks around the name go; a closing separator is added once.
  for (const std::string& folder : {"  " + Tracks() + "  ", Tracks() + "/"}) {
    ProjectPlan plan;
    plan.targetFolder = folder;
    plan.baseFrequency = "11025";
    plan.slides = {TrackSlide("a.wav", PcmWave(1, 11025, 16, Ramp(10)))};
    ASSERT_TRUE(Load(testing::WriteProject(files.File("project.ini"), plan)));
    EXPECT_EQ(Project().TargetFolder, Tracks() + "/");
    EXPECT_EQ(Left(), Ramp(10));
  }
}

TEST_F(ProjectFileLoadTest, ASlideCountBelowOneOrMissingGivesOneSlide) {
  struct Case {
    std::optional<std::string> slideCount;  // nothing: no key
    int32_t slides;
  };
  for (const Case& count : {Case{"0", 1}, Case{"-2", 1}, Case{"abc", 1}, Case{{}, 1},
                            Case{"2.5", 2}, Case{"1.5", 2}, Case{"3 slides", 3}}) {
    SCOPED_TRACE(count.slideCount.value_or("(no key)"));
    ProjectPlan plan;
    plan.slideCount = count.slideCount;
    plan.writeSlideCount = count.slideCount.has_value();
    plan.slides = {TrackSlide("one.wav", PcmWave(1, 11025, 16, Ramp(300, 1))),
                   TrackSlide("two.wav", PcmWave(1, 11025, 16, Ramp(200, 5000))),
                   TrackSlide("three.wav", PcmWave(1, 11025, 16, Ramp(100, -5000)))};
    LoadProject(plan);
    EXPECT_EQ(Project().SlideCount, count.slides);
    EXPECT_EQ(Project().SlideEntryCount, count.slides + 1);
    const std::vector<int32_t> allStarts = {1, 301, 501, 601};
    EXPECT_EQ(SlideStarts(),
              std::vector<int32_t>(allStarts.begin(), allStarts.begin() + count.slides + 1));
    EXPECT_EQ(document.WavWaveINos, allStarts[static_cast<size_t>(count.slides)] - 1);
    EXPECT_EQ(Project().Slides[1].Title, "one.wav title");
  }
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(ProjectFileLoadTest, AMissingSectionOrKeyTakesItsDefault) {
  ProjectPlan plan;
  plan.slideCount = "3";
  plan.baseFrequency = "11025";
  // Slide 1 has no title and empty marker lists, slide 2 a "*" list, slide 3 no section.
  SlidePlan first = TrackSlide("one.wav", PcmWave(1, 11025, 16, Ramp(400)), "", "", "");
  first.title.reset();
  SlidePlan second = TrackSlide("two.wav", PcmWave(1, 11025, 16, Ramp(100)), "", "*");
  second.track = "  two.wav  ";
  plan.slides = {first, second};
  LoadProject(plan);

  ASSERT_EQ(Project().SlideCount, 3);
  EXPECT_EQ(Project().Slides[1].Title, "Title1");
  EXPECT_EQ(Project().Slides[1].Track, "one.wav");
  EXPECT_EQ(Project().Slides[2].Title, "two.wav title");
  EXPECT_EQ(Project().Slides[2].Track, "two.wav");
  EXPECT_EQ(Project().Slides[3].Title, "Title3");
  EXPECT_EQ(Project().Slides[3].Track, "Track3.mp3");
  // The third slide has neither audio nor a duration: it is empty.
  EXPECT_EQ(SlideStarts(), (std::vector<int32_t>{1, 401, 501, 501}));
  EXPECT_EQ(document.WavWaveINos, 500);
  EXPECT_EQ(Project().MarkerCount, 0);
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(ProjectFileLoadTest, LongValuesAreReadWhole) {
  const std::string track = std::string(56, 't') + ".wav";  // 60 characters
  const std::string title(1999, 'x');
  ProjectPlan plan;
  plan.slides = {TrackSlide(track, PcmWave(1, 11025, 16, Ramp(20)))};
  plan.slides[0].title = title;
  LoadProject(plan);
  EXPECT_EQ(Project().Slides[1].Track, track);
  EXPECT_EQ(Project().Slides[1].Title, title);
  EXPECT_EQ(Left(), Ramp(20));
}

TEST_F(ProjectFileLoadTest, MarkersOutsideTheirSlideAreIgnoredWithAMessage) {
  ProjectPlan plan;
  plan.slides = {
      TrackSlide("intro.wav", PcmWave(1, 22050, 16, Ramp(22050)), "", "0.5, 1.5,-0.1,1.0",
                 "0.25,abc"),
      TrackSlide("results.wav", PcmWave(1, 22050, 16, Ramp(11025)), "", "0", "1.5,0.25"),
  };
  plan.slides[0].title = "Intro";
  plan.slides[1].title = "Results";
  LoadProject(plan);

  const std::string ignored = "A marker is out of the slide duration that is ignored\r\n";
  ASSERT_EQ(ui.messages.size(), 3u);
  EXPECT_EQ(ui.messages[0].text,
            ignored + "Marker type: Click, Posiion:  1.5\r\nSlide title: Intro");
  EXPECT_EQ(ui.messages[1].text,
            ignored + "Marker type: Click, Posiion: -0.1\r\nSlide title: Intro");
  EXPECT_EQ(ui.messages[2].text,
            ignored + "Marker type: Auto, Posiion: 1.5\r\nSlide title: Results");
  for (const MessageRequest& message : ui.messages) {
    EXPECT_EQ(message.caption, kTitle);
    EXPECT_EQ(message.buttons, MessageButtons::OkOnly);
  }

  // In position order; 0.25 s is 5512.5 samples, rounded to even; "abc" is 0 s; a marker
  // at the slide's very end is kept, and keeps its place before the next slide's marker
  // at the same position.
  EXPECT_EQ(MarkerTable(), (std::vector<Marker>{{2, 1, 1},
                                                {2, 5513, 1},
                                                {1, 11026, 1},
                                                {1, 22051, 1},
                                                {1, 22051, 2},
                                                {2, 22051 + 5512, 2}}));
}

// Three slides at 22050 Hz of 3.0, 2.5 and 1.235 seconds, with markers.
class ProjectFileSaveTest : public testing::ProjectSessionTest {
 protected:
  ProjectFileSaveTest()
      : one(Ramp(66150, 0, 1)), two(Ramp(55125, 1000, 3)), three(Ramp(27222, -5000, 7)) {
    plan.presentationName = " Quarterly review";
    plan.slideCount = "3 slides";
    plan.baseFrequency = "22050";
    plan.baseBits = "16";
    plan.lameSettings = "--quiet";
    plan.targetFolder = Tracks();
    plan.slides = {
        TrackSlide("one.wav", PcmWave(1, 22050, 16, one), "3", "0.5,2.0004"),
        TrackSlide("two.wav", PcmWave(1, 22050, 16, two), "2.5", std::nullopt, "1.23456,0.1"),
        TrackSlide("three.wav", PcmWave(1, 22050, 16, three), "", "1.0"),
    };
    plan.slides[1].title = "  Results, first half ";
    plan.slides[2].title.reset();
  }

  std::string TrackBytes(int n) const {
    return ReadFileBytes(Track(*plan.slides[static_cast<size_t>(n - 1)].track));
  }

  std::vector<int16_t> one;
  std::vector<int16_t> two;
  std::vector<int16_t> three;
  ProjectPlan plan;
};

TEST_F(ProjectFileSaveTest, WritesDurationsAndMarkerTimesOfEverySlide) {
  LoadProject(plan);
  ProjectFileSave(document);
  const std::string text = ProjectText();
  EXPECT_EQ(IniValue(text, "1", "SlideTrack"), "one.wav");
  EXPECT_EQ(IniValue(text, "1", "Duration"), "3.0");
  EXPECT_EQ(IniValue(text, "1", "ClickMarkerTimes"), "0.5,2.0");
  EXPECT_EQ(IniValue(text, "1", "AutoMarkerTimes"), "");
  EXPECT_EQ(IniValue(text, "2", "Duration"), "2.5");
  EXPECT_EQ(IniValue(text, "2", "ClickMarkerTimes"), "");
  // In table order, which is position order.
  EXPECT_EQ(IniValue(text, "2", "AutoMarkerTimes"), "0.1,1.235");
  EXPECT_EQ(IniValue(text, "3", "SlideTrack"), "three.wav");
  EXPECT_EQ(IniValue(text, "3", "Duration"), "1.235");
  EXPECT_EQ(IniValue(text, "3", "ClickMarkerTimes"), "1.0");
  EXPECT_EQ(IniValue(text, "3", "AutoMarkerTimes"), "");
  // Same format, same samples: the same files.
  EXPECT_EQ(TrackBytes(1), PcmWave(1, 22050, 16, one));
  EXPECT_EQ(TrackBytes(2), PcmWave(1, 22050, 16, two));
  EXPECT_EQ(TrackBytes(3), PcmWave(1, 22050, 16, three));
  EXPECT_TRUE(ui.messages.empty()) << ::testing::PrintToString(Shown());
}

TEST_F(ProjectFileSaveTest, NeverWritesTheProjectSectionOrTheTitles) {
  LoadProject(plan);
  const std::string before = ProjectText();
  ProjectFileSave(document);
  const std::string after = ProjectText();
  EXPECT_EQ(SectionLines(after, "Project"), SectionLines(before, "Project"));
  EXPECT_EQ(IniValue(after, "Project", "SlideCount"), "3 slides");
  EXPECT_EQ(IniValue(after, "1", "SlideTitle"), "one.wav title");
  EXPECT_EQ(IniValue(after, "2", "SlideTitle"), "Results, first half");
  EXPECT_THAT(SectionKeys(after, "3"),
              ::testing::UnorderedElementsAre("SlideTrack", "Duration", "ClickMarkerTimes",
                                              "AutoMarkerTimes"));
}

TEST_F(ProjectFileSaveTest, WritesASlideThatHadNoSectionWithoutATitle) {
  plan.slideCount = "4";
  plan.slides.pop_back();
  plan.slides.pop_back();
  // Slide 2 is a missing track; 3 and 4 have no section at all.
  plan.slides.push_back(SlidePlan{"Gap", "gap.wav", "0.5", {}, {}, {}});
  LoadProject(plan);
  EXPECT_EQ(document.WavWaveINos, 66150 + 11025);
  ProjectFileSave(document);
  const std::string text = ProjectText();
  for (const char* section : {"3", "4"}) {
    SCOPED_TRACE(section);
    EXPECT_EQ(SectionKeys(text, section),
              (std::vector<std::string>{"SlideTrack", "Duration", "ClickMarkerTimes",
                                        "AutoMarkerTimes"}));
    EXPECT_EQ(IniValue(text, section, "Duration"), "0.0");
  }
  EXPECT_EQ(IniValue(text, "3", "SlideTrack"), "Track3.mp3");
  EXPECT_EQ(IniValue(text, "2", "Duration"), "0.5");
  // Silence and empty slides get no file.
  EXPECT_FALSE(std::filesystem::exists(Track("gap.wav")));
  EXPECT_FALSE(std::filesystem::exists(Track("Track3.mp3")));
  EXPECT_TRUE(ui.messages.empty()) << ::testing::PrintToString(Shown());
}

TEST_F(ProjectFileSaveTest, AWindowsProjectFileKeepsItsLineEnds) {
  plan.crlf = true;
  LoadProject(plan);
  EXPECT_EQ(Project().Slides[2].Title, "Results, first half");
  EXPECT_EQ(document.WavWaveINos, 66150 + 55125 + 27222);
  EXPECT_EQ(Project().MarkerCount, 5);
  ProjectFileSave(document);
  const std::string text = ProjectText();
  EXPECT_EQ(IniValue(text, "2", "AutoMarkerTimes"), "0.1,1.235");
  size_t lineEnds = 0;
  for (size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1)) {
    ++lineEnds;
    ASSERT_TRUE(at > 0 && text[at - 1] == '\r') << "a bare line feed at " << at;
  }
  EXPECT_GT(lineEnds, 20u);
}

TEST_F(ProjectFileSaveTest, RaisesTheHostFlagAndClearsTheChange) {
  LoadProject(plan);
  EXPECT_EQ(HostFlag(), std::nullopt);
  Editor().SelStart = 10;
  Editor().SelEnd = 19;
  EditDelete(document);
  ASSERT_TRUE(Editor().WaveChanged);
  ProjectFileSave(document);
  EXPECT_EQ(HostFlag(), "1");
  EXPECT_EQ(GetHostFlag(), "1");
  EXPECT_FALSE(Editor().WaveChanged);
}

TEST_F(ProjectFileSaveTest, EditsMoveDurationsMarkersAndFilesAndUndoBringsThemBack) {
  LoadProject(plan);
  // Across the boundary of slides 1 and 2: slide 1 loses 6150 samples, slide 2 its first
  // 3850 and the marker at 0.1 s.
  Editor().SelStart = 60001;
  Editor().SelEnd = 70000;
  EditDelete(document);
  EXPECT_EQ(SlideStarts(), (std::vector<int32_t>{1, 60001, 111276, 138498}));
  // One second into slide 3, 100 samples after its start.
  Editor().SelStart = Editor().SelEnd = 111376;
  ASSERT_TRUE(InsertSilenceSeconds(document, "1"));
  EXPECT_EQ(menu.menuCaption, "Undo [Insert Silence]");
  ProjectFileSave(document);

  std::string text = ProjectText();
  EXPECT_EQ(IniValue(text, "1", "Duration"), "2.721");  // 60000 samples
  EXPECT_EQ(IniValue(text, "1", "ClickMarkerTimes"), "0.5,2.0");
  EXPECT_EQ(IniValue(text, "2", "Duration"), "2.325");  // 51275 samples
  EXPECT_EQ(IniValue(text, "2", "AutoMarkerTimes"), "1.06");
  EXPECT_EQ(IniValue(text, "3", "Duration"), "2.235");  // 49272 samples
  EXPECT_EQ(IniValue(text, "3", "ClickMarkerTimes"), "2.0");
  EXPECT_EQ(TrackBytes(1), PcmWave(1, 22050, 16, testing::Stretch(one, 1, 60000)));
  EXPECT_EQ(TrackBytes(2), PcmWave(1, 22050, 16, testing::Stretch(two, 3851, 55125)));
  EXPECT_EQ(TrackBytes(3), PcmWave(1, 22050, 16,
                                   testing::Joined({testing::Stretch(three, 1, 100),
                                                    std::vector<int16_t>(22050, 0),
                                                    testing::Stretch(three, 101, 27222)})));

  EditUndo(document);
  EditUndo(document);
  EXPECT_EQ(menu.menuCaption, "Undo [Nothing]");
  ProjectFileSave(document);
  text = ProjectText();
  EXPECT_EQ(IniValue(text, "1", "Duration"), "3.0");
  EXPECT_EQ(IniValue(text, "2", "Duration"), "2.5");
  EXPECT_EQ(IniValue(text, "2", "AutoMarkerTimes"), "0.1,1.235");
  EXPECT_EQ(IniValue(text, "3", "Duration"), "1.235");
  EXPECT_EQ(IniValue(text, "3", "ClickMarkerTimes"), "1.0");
  EXPECT_EQ(TrackBytes(1), PcmWave(1, 22050, 16, one));
  EXPECT_EQ(TrackBytes(2), PcmWave(1, 22050, 16, two));
  EXPECT_EQ(TrackBytes(3), PcmWave(1, 22050, 16, three));
  EXPECT_TRUE(ui.messages.empty()) << ::testing::PrintToString(Shown());
}

TEST_F(ProjectFileSaveTest, AHostFlagThatCannotBeWrittenStopsTheSave) {
  LoadProject(plan);
  Editor().SelStart = 1;
  Editor().SelEnd = 1000;
  EditDelete(document);
  const std::string before = ProjectText();
  // A configuration "folder" that is a file: the flag's folder cannot be made.
  const std::string notAFolder = config.Write("not a folder", "");
  ::setenv("XDG_CONFIG_HOME", notAFolder.c_str(), 1);
  ProjectFileSave(document);
  ASSERT_EQ(ui.messages.size(), 1u);
  EXPECT_EQ(ui.messages[0].text, "Error Saving\r\nCannot write " + notAFolder +
                                     "/VB and VBA Program Settings/Quorvane Stagora.conf");
  EXPECT_EQ(ui.messages[0].caption, kTitle);
  EXPECT_EQ(ui.messages[0].buttons, MessageButtons::OkOnly);
  EXPECT_TRUE(Editor().WaveChanged);
  EXPECT_EQ(ProjectText(), before);
  EXPECT_EQ(TrackBytes(1), PcmWave(1, 22050, 16, one));
}

TEST_F(ProjectFileSaveTest, AProjectFileThatCannotBeWrittenStopsTheSave) {
  std::filesystem::create_directories(files.File("talk"));
  const std::string project = testing::WriteProject(files.File("talk/project.ini"), plan);
  ASSERT_TRUE(Load(project));
  Editor().SelStart = 1;
  Editor().SelEnd = 1000;
  EditDelete(document);
  // The project's folder is gone, and a file has its name.
  std::filesystem::remove_all(files.File("talk"));
  files.Write("talk", "");
  ProjectFileSave(document);
  ASSERT_EQ(ui.messages.size(), 1u) << ::testing::PrintToString(Shown());
  EXPECT_EQ(ui.messages[0].text, "Error Saving\r\nCannot write " + project);
  EXPECT_EQ(ui.messages[0].caption, kTitle);
  EXPECT_TRUE(Editor().WaveChanged);
  // The flag came first and stays written; no track was reached.
  EXPECT_EQ(HostFlag(), "1");
  EXPECT_EQ(TrackBytes(1), PcmWave(1, 22050, 16, one));
}

}  // namespace
}  // namespace quorvane
