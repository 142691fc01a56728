#include "core/ProjectIni.h"

#include <gtest/gtest.h>

#include <tuple>

namespace quorvane::testing {
namespace {

TEST(ProjectIni, LongValuesAreReadWholeUpTo1999Characters) {
  ProfileDocument file;
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
