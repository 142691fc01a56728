#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>

#include "core/AppFolders.h"
#include "core/DiskSpace.h"
#include "core/Environment.h"
#include "core/FileHelpers.h"
#include "core/MemoryBudget.h"
#include "core/Settings.h"
#include "tests/support/RecordingInteraction.h"
#include "tests/support/TempFolder.h"

namespace quorvane::testing {
namespace {

namespace fs = std::filesystem;

// Each case runs with the program folder and the system temporary folder in a fresh
// folder of its own, so settings and session folders never leak between cases.
class EnvironmentTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetEnvironment();
    configHome.emplace("XDG_CONFIG_HOME", root.File("config"));
    fs::create_directory(root.File("app"));
    fs::create_directory(root.File("tmp"));
    InitAppPaths(root.File("app"), root.File("tmp") + "/");
  }
  void TearDown() override { ResetEnvironment(); }

  TempFolder root;
  std::optional<ScopedVariable> configHome;
};

TEST_F(EnvironmentTest, AppPathsUseTheTemporaryFolderWithoutItsTrailingSlashOrFallBack) {
  EXPECT_EQ(Env().AppPath, root.File("app"));
  EXPECT_EQ(Env().SystemTempPath, root.File("tmp"));
  // An unusable temporary folder falls back to the program folder.
  for (const std::string& unusable :
       {root.File("missing"), root.Write("plainfile", "x"), std::string("   ")}) {
    InitAppPaths(root.File("app"), unusable);
    EXPECT_EQ(Env().SystemTempPath, root.File("app")) << unusable;
  }
}

// The settings file lives in the user's configuration folder (and the clipboard's
// description files beside it), also when the program's folder could be written: nothing
// lands beside the program.
TEST_F(EnvironmentTest, SettingsLiveInTheUsersConfigurationFolder) {
  const std::string folder = root.File("config") + "/quorvane-audio";
  EXPECT_EQ(Env().SettingsFile, folder + "/quorvane-audio.ini");
  EXPECT_TRUE(fs::is_directory(folder)) << "made at start-up";
  SettingPut("Setting", "LoopOn", "1");
  EXPECT_TRUE(fs::exists(folder + "/quorvane-audio.ini"));
  EXPECT_TRUE(fs::is_empty(root.File("app")));
}

TEST_F(EnvironmentTest, SettingsRoundTripWithTheirDefaults) {
  EXPECT_EQ(SettingGet("Setting", "LoopOn", "0"), "0");
  SettingPut("Setting", "LoopOn", "1");
  EXPECT_EQ(SettingGet("setting", "loopon", "0"), "1");
  SettingPut("", "SilceDur", "4");  // empty section is "General"
  EXPECT_EQ(SettingGet("General", "SilceDur", "1"), "4");
  SettingPut("General", "END", "last");
  EXPECT_EQ(SettingGet("", "", "x"), "last");  // empty key is "END"
  SettingPut("General", "Long", std::string(150, 'v'));
  EXPECT_EQ(SettingGet("General", "Long", ""), std::string(99, 'v'));
  // Without a file: defaults, and writes fail quietly.
  Env().SettingsFile = root.File("missing-folder") + "/quorvane-audio.ini";
  SettingPut("General", "ChangeVol", "80");
  EXPECT_EQ(SettingGet("General", "ChangeVol", "150"), "150");
}

TEST_F(EnvironmentTest, TempFolderComesFromTheSettingOrFallsBack) {
  ASSERT_TRUE(InitTempFolder());
  EXPECT_EQ(Env().TempRoot, root.File("tmp"));
  EXPECT_EQ(fs::path(Env().SessionFolder).parent_path(), root.File("tmp"));
  EXPECT_EQ(SettingGet("General", "InstalledPath", ""), root.File("app"));
  EXPECT_GT(std::stoll(SettingGet("General", "FreeHardDisk", "0")), 0);

  for (const std::string& unusable : {root.File("gone"), root.Write("afile", "")}) {
    SettingPut("General", "TmpDir0", unusable);
    ASSERT_TRUE(InitTempFolder());
    EXPECT_EQ(Env().TempRoot, root.File("tmp"));
  }

  fs::create_directory(root.File("chosen"));
  SettingPut("General", "TmpDir0", root.File("chosen"));
  ASSERT_TRUE(InitTempFolder());
  EXPECT_EQ(fs::path(Env().SessionFolder).parent_path(), root.File("chosen"));
}

TEST_F(EnvironmentTest, SessionFolderIsPrivateAndItsNameCannotBeToldBeforehand) {
  ASSERT_TRUE(InitTempFolder());
  const fs::path folder = Env().SessionFolder;
  EXPECT_EQ(folder.parent_path(), root.File("tmp"));
  EXPECT_EQ(folder.filename().string().substr(0, 2), "fm");
  EXPECT_TRUE(fs::is_directory(folder));
  // It holds only the lock that tells later starts the folder is in use.
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
  EXPECT_TRUE(fs::exists(folder / "session.lock"));
  EXPECT_EQ(fs::status(folder).permissions() & fs::perms::all, fs::perms::owner_all);
  // The next run's name cannot be told from this one's.
  const std::string next = MakeSessionFolder();
  EXPECT_NE(next, "");
  EXPECT_NE(next, folder.string());
  Env().TempRoot = root.File("not-there");
  EXPECT_EQ(MakeSessionFolder(), "");
}

TEST_F(EnvironmentTest, TemporaryNamesSkipExistingFilesAndGoWithTheSessionFolder) {
  ASSERT_TRUE(InitTempFolder());
  const std::string folder = Env().SessionFolder;
  EXPECT_EQ(NewTempFileName("wav"), folder + "/tm1.wav");
  EXPECT_EQ(NewTempFileName("wav"), folder + "/tm2.wav");
  std::ofstream(folder + "/tm3.wav");
  EXPECT_EQ(NewTempFileName("wav"), folder + "/tm4.wav");
  EXPECT_EQ(NewTempFileName(""), folder + "/tm5.tmp");
  std::ofstream(folder + "/tm1.tmp") << "1234";
  RemoveSessionFolder();
  EXPECT_FALSE(fs::exists(folder));

  ASSERT_TRUE(InitTempFolder());
  fs::create_directory(Env().SessionFolder + "/inner");  // not ours: the folder stays
  std::ofstream(Env().SessionFolder + "/tm1.tmp") << "1234";
  RemoveSessionFolder();
  EXPECT_TRUE(fs::exists(Env().SessionFolder + "/inner"));
  EXPECT_FALSE(fs::exists(Env().SessionFolder + "/tm1.tmp"));
}

TEST_F(EnvironmentTest, FreeDiskCheckReportsLowSpace) {
  RecordingInteraction recorder;
  Env().TempRoot = root.File("tmp");
  const int64_t free = FreeDiskBytes();
  ASSERT_GT(free, 0);
  EXPECT_TRUE(CheckFreeDisk(0));
  EXPECT_FALSE(CheckFreeDisk(std::numeric_limits<int64_t>::max()));
  ASSERT_EQ(recorder.Texts(), std::vector<std::string>{"Free disk space for this is low."});

  Env().TempRoot = root.File("vanished");
  EXPECT_EQ(FreeDiskBytes(), 0);
  EXPECT_FALSE(CheckFreeDisk(0));
}

TEST(MemoryBudget, FollowsTheShareOfPhysicalMemory) {
  using Case = std::pair<uint64_t, int64_t>;
  for (const auto& [memory, budget] :
       {Case{268'435'456, 67'108'864}, Case{134'217'728, 44'291'850}, Case{16'777'216, 11'072'963},
        Case{8'388'608, 10'000'000}, Case{50'000'000, 25'000'000}, Case{24ULL << 30, 67'108'864},
        Case{0, 10'000'000}}) {
    EXPECT_EQ(MemoryBudgetFor(memory), budget) << memory;
  }
}

TEST_F(EnvironmentTest, MemoryBudgetComesFromMeminfoAndIsWrittenForOtherPrograms) {
  // 128 MiB in all, a quarter of it available: a load of 75 %.
  InitMemoryBudget(QueryMemoryStatus(root.Write(
      "meminfo", "MemTotal:  131072 kB\nMemFree:  10 kB\nMemAvailable:    32768 kB\ngarbage\n")));
  EXPECT_EQ(Env().MemoryBudget, 44'291'850);
  EXPECT_EQ(SettingGet("General", "PhyMemorySz", ""), "134217728");
  EXPECT_EQ(SettingGet("General", "PhyMemoryLoad", ""), "75");

  InitMemoryBudget(QueryMemoryStatus(root.File("no-meminfo")));
  EXPECT_EQ(Env().MemoryBudget, 10'000'000);
  EXPECT_EQ(SettingGet("General", "PhyMemorySz", ""), "0");
  EXPECT_EQ(SettingGet("General", "PhyMemoryLoad", ""), "0");
}

}  // namespace
}  // namespace quorvane::testing
