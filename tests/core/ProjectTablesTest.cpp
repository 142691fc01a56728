#include "core/ProjectTables.h"

#include <gtest/gtest.h>

#include <tuple>

#include "core/HostFlag.h"
#include "core/ProjectIni.h"
#include "tests/support/TempFolder.h"

namespace quorvane::testing {
namespace {

TEST(ProjectTables, DefaultsBeforeReadingHoldOneSlideNamedNew) {
  SetProjectDefaults("/opt/quorvane");
  const ProjectData& project = Project();
  EXPECT_EQ(project.SlideCount, 1);
  EXPECT_EQ(project.SlideEntryCount, 2);
  ASSERT_EQ(project.Slides.size(), 3u);
  EXPECT_EQ(project.Slides[1].Title, "New");
  EXPECT_EQ(project.Slides[1].Track, "New");
  EXPECT_EQ(project.MarkerCount, 0);
  EXPECT_EQ(project.PresentationName, "New Presentation");
  EXPECT_EQ(project.TargetFolder, "/opt/quorvane/");
  EXPECT_EQ(project.BaseFrequency, 0);
  EXPECT_FALSE(project.LamePath.empty());
}

TEST(ProjectTables, SortingKeepsMarkersAtEqualPositionsInTheirOrder) {
  SetProjectDefaults("/");
  for (const auto& [kind, position, slide] :
       {std::tuple{kAutoMarker, 300, 1}, std::tuple{kClickMarker, 100, 1},
        std::tuple{kAutoMarker, 100, 2}, std::tuple{kClickMarker, 50, 1},
        std::tuple{kClickMarker, 100, 3}}) {
    AddMarker(MarkerInfo{kind, 0.0F, position, slide});
  }
  SortMarkers();
  const auto& markers = Project().Markers;
  ASSERT_EQ(Project().MarkerCount, 5);
  EXPECT_EQ(markers[1].Position, 50);
  EXPECT_EQ(markers[2].Slide, 1);
  EXPECT_EQ(markers[3].Slide, 2);
  EXPECT_EQ(markers[4].Slide, 3);
  EXPECT_EQ(markers[5].Position, 300);

  RemoveMarker(2);
  EXPECT_EQ(Project().MarkerCount, 4);
  EXPECT_EQ(Project().Markers[2].Slide, 2);
  RemoveMarker(9);  // no such marker
  EXPECT_EQ(Project().MarkerCount, 4);
}

TEST(ProjectTables, SlideEndPositionIsTheNextEntrysStart) {
  SetProjectDefaults("/");
  ProjectData& project = Project();
  project.SlideCount = 2;
  project.SlideEntryCount = 3;
  project.Slides.resize(4);
  project.Slides[1].Start = 1;
  project.Slides[2].Start = 1001;
  project.Slides[3].Start = 2501;
  for (const auto& [slide, end] : {std::pair{1, 1001}, std::pair{2, 2501}, std::pair{3, 2501},
                                   std::pair{0, 0}, std::pair{4, 0}}) {
    EXPECT_EQ(SlideEndPosition(slide, 2500), end) << slide;
  }
}

TEST(ProjectIni, LongValuesAreReadWholeUpTo1999Characters) {
  TempFolder folder;
  const std::string file = folder.File("project.ini");
  for (const auto& [key, written, read] :
       {std::tuple{"SlideTrack", 60, 60}, std::tuple{"Exact49", 49, 49},
        std::tuple{"Huge", 2500, 1999}}) {
    ProjectIniPut("1", key, std::string(written, 'v'), file);
    EXPECT_EQ(ProjectIniGet("1", key, "", file), std::string(read, 'v')) << key;
  }
  EXPECT_EQ(ProjectIniGet("9", "SlideTrack", "Track9.mp3", file), "Track9.mp3");
  ProjectIniPut("", "Loose", "v", file);
  EXPECT_EQ(ProjectIniGet("General", "Loose", "", file), "v");
}

// Where a save writes the flag and what the file then holds, the project session tests check.
TEST(HostFlag, ReadsBackWhatWasWrittenAndNothingBefore) {
  TempFolder folder;
  const ScopedVariable configHome("XDG_CONFIG_HOME", folder.Path());
  EXPECT_EQ(GetHostFlag(), "");
  EXPECT_TRUE(SetHostFlag("1"));
  EXPECT_EQ(GetHostFlag(), "1");
}

}  // namespace
}  // namespace quorvane::testing
