#include "core/ProjectTables.h"

#include <gtest/gtest.h>

#include <tuple>

#include "core/ProjectIni.h"
#include "tests/support/TempFolder.h"

namespace quorvane::testing {
namespace {

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

}  // namespace
}  // namespace quorvane::testing
