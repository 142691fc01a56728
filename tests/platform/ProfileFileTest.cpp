#include "platform/ProfileFile.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/TempFolder.h"

namespace quorvane::testing {
namespace {

std::string Get(const std::string& file, const std::string& section, const std::string& key,
                size_t size = 2000) {
  return GetProfileString(file, section, key, "<default>", size).value;
}

class ProfileFile : public ::testing::Test {
 protected:
  TempFolder folder;
};

TEST_F(ProfileFile, ReadMatchesNamesWithoutCaseTakesTheFirstOfEachAndCleansValues) {
  const std::string file = folder.Write("p.ini",
                                        "; a comment\n"
                                        "garbage line without equals\r\n"
                                        "[Project]\n"
                                        "TargetFolder =  /data/tracks  \n"
                                        "Quoted=\"  spaced  \"\n"
                                        "Single='one'\n"
                                        "Half=\"open\n"
                                        "Empty=\n"
                                        "Duration=1.5\r\n"
                                        "Duration=9\r\n"
                                        "[broken\r\n"
                                        "  [ Slide One ]  \n"
                                        "a=b=c\n"
                                        "[project]\r\n"
                                        "Other=x\r\n"
                                        "\xff\xfe=\xe9t\xe9\r\n");
  EXPECT_EQ(Get(file, "project", "TARGETFOLDER"), "/data/tracks");
  EXPECT_EQ(Get(file, "Project", "Quoted"), "  spaced  ");
  EXPECT_EQ(Get(file, "Project", "Single"), "one");
  EXPECT_EQ(Get(file, "Project", "Half"), "\"open");
  EXPECT_EQ(Get(file, "Project", "Empty"), "");
  EXPECT_EQ(Get(file, "Project", "Duration"), "1.5");
  EXPECT_EQ(Get(file, "Project", "Other"), "<default>");  // only the first [Project] is searched
  EXPECT_EQ(Get(file, "slide one", "a"), "b=c");
  EXPECT_EQ(Get(file, "broken", "a"), "<default>");
  EXPECT_EQ(Get(file, "Project", "Missing"), "<default>");
  EXPECT_EQ(Get(file, "Nowhere", "a"), "<default>");
  EXPECT_EQ(Get(folder.File("absent.ini"), "Project", "a"), "<default>");
}

TEST_F(ProfileFile, WriteChangesOnlyTheLineItConcerns) {
  const std::string file = folder.Write("p.ini",
                                        "; keep me\n"
                                        "[Project]\n"
                                        "SlideCount=2\n"
                                        "\n"
                                        "[1]\n"
                                        "SlideTitle=Intro\n"
                                        "duration=1.0\n"
                                        "Unknown=keep\n"
                                        "\n"
                                        "[2]\n"
                                        "SlideTitle=End\n");
  ASSERT_TRUE(WriteProfileString(file, "1", "Duration", "2.5"));
  ASSERT_TRUE(WriteProfileString(file, "1", "ClickMarkerTimes", "0.5,1.0"));
  ASSERT_TRUE(WriteProfileString(file, "2", "Duration", "3.0"));
  ASSERT_TRUE(WriteProfileString(file, "3", "SlideTrack", "c.wav"));
  EXPECT_EQ(folder.Read("p.ini"),
            "; keep me\n"
            "[Project]\n"
            "SlideCount=2\n"
            "\n"
            "[1]\n"
            "SlideTitle=Intro\n"
            "Duration=2.5\n"
            "Unknown=keep\n"
            "ClickMarkerTimes=0.5,1.0\n"
            "\n"
            "[2]\n"
            "SlideTitle=End\n"
            "Duration=3.0\n"
            "[3]\n"
            "SlideTrack=c.wav\n");
}

TEST_F(ProfileFile, WriteKeepsCrLfEndingsCreatesMissingFilesAndValuesComeBackToTheBuffer) {
  const std::string file = folder.Write("p.ini", "[A]\r\nx=1\r\n");
  ASSERT_TRUE(WriteProfileString(file, "A", "y", "2"));
  EXPECT_EQ(folder.Read("p.ini"), "[A]\r\nx=1\r\ny=2\r\n");
  ASSERT_TRUE(WriteProfileString(folder.File("new.ini"), "General", "InstalledPath", "/opt/q"));
  EXPECT_EQ(folder.Read("new.ini"), "[General]\nInstalledPath=/opt/q\n");
  ASSERT_TRUE(WriteProfileString(folder.Write("n.ini", "[A]\nx=1"), "A", "x", "5"));
  EXPECT_EQ(folder.Read("n.ini"), "[A]\nx=5\n");
  // Long values and foreign bytes come back as written; reads are cut to the buffer, less
  // the terminating zero.
  const std::string value = std::string(3000, 'v') + "\xe9\xff";
  ASSERT_TRUE(WriteProfileString(file, "S", "k", value));
  EXPECT_EQ(GetProfileString(file, "S", "k", "", 4000).value, value);
  EXPECT_EQ(GetProfileString(file, "S", "k", "", 4000).copied, value.size());
  EXPECT_EQ(GetProfileString(file, "S", "k", "", 50).value, std::string(49, 'v'));
  EXPECT_EQ(GetProfileString(file, "S", "k", "", 50).copied, 49u);
  EXPECT_EQ(GetProfileString(file, "S", "missing", "defaultvalue", 5).value, "defa");
  EXPECT_EQ(GetProfileString(file, "S", "k", "", 0).copied, 0u);
  EXPECT_FALSE(WriteProfileString(folder.File("no/such/folder.ini"), "A", "x", "1"));
  // A file an editor saved as UTF-8 starts with a byte-order mark, which it keeps.
  const std::string marked =
      folder.Write("bom.ini", "\xEF\xBB\xBF[Project]\r\nTargetFolder=/t\r\n");
  EXPECT_EQ(Get(marked, "Project", "TargetFolder"), "/t");
  ASSERT_TRUE(WriteProfileString(marked, "1", "Duration", "2.0"));
  EXPECT_EQ(folder.Read("bom.ini"),
            "\xEF\xBB\xBF[Project]\r\nTargetFolder=/t\r\n[1]\r\nDuration=2.0\r\n");
}

}  // namespace
}  // namespace quorvane::testing
