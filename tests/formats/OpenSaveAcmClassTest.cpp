#include "formats/OpenSaveAcmClass.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <stdexcept>

#include "core/Environment.h"
#include "core/Settings.h"
#include "tests/support/RecordingInteraction.h"
#include "tests/support/TempFolder.h"

namespace quorvane {
namespace {

using ::testing::ElementsAre;
using ::testing::FloatEq;

// A decoding library that reports what the test scripts and records how it was called.
class ScriptedLibrary : public DecodingLibrary {
 public:
  int32_t xAcm_CreateObject(const std::string& settingsFileName) override {
    settingsFile = settingsFileName;
    windowSizeAtCreation = SettingGet("Misc", "WindowSize", "");
    if (createError) throw std::runtime_error(createError);
    return handle;
  }
  void xAcm_DestroyObject(int32_t gone) override { destroyed.push_back(gone); }
  int32_t xAcm_DecodeFile(int32_t, const std::string&, const std::string&) override {
    ++decodes;
    return decodeStarts;
  }
  int32_t xAcm_GetDecodingPercent(int32_t) override {
    ++polls;
    const int32_t percent = percents.front();
    if (percents.size() > 1) percents.pop_front();
    return percent;
  }
  int32_t xAcm_GetErrorString(int32_t, char* buffer, int32_t) override {
    buffer[error.copy(buffer, error.size())] = '\0';
    return static_cast<int32_t>(error.size() + 1);
  }

  int32_t handle = 7;
  const char* createError = nullptr;
  int32_t decodeStarts = 1;
  std::deque<int32_t> percents = {100};
  std::string error;

  std::string settingsFile;
  std::string windowSizeAtCreation;
  std::vector<int32_t> destroyed;
  int decodes = 0;
  int polls = 0;
};

constexpr AcmPollTiming kNoWaits{std::chrono::milliseconds(0), std::chrono::milliseconds(0)};

class OpenSaveAcmClassTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetEnvironment();
    Env().SettingsFile = folder.File("quorvane-audio.ini");
  }
  void TearDown() override { ResetEnvironment(); }

  testing::TempFolder folder;
  testing::RecordingInteraction ui;
  ScriptedLibrary library;
};

TEST_F(OpenSaveAcmClassTest, CreationWritesTheWindowSizeForTheLibraryAndFailuresAreTold) {
  folder.Write("quorvane-audio.ini", "[Misc]\r\nWindowSize=1\r\nKeep=this\r\n");
  {
    OpenSaveAcmClass acm(library, kNoWaits);
    EXPECT_TRUE(acm.HandleReady);
    EXPECT_EQ(library.settingsFile, folder.File("quorvane-audio.ini"));
    EXPECT_EQ(library.windowSizeAtCreation, "196500");
    EXPECT_EQ(SettingGet("Misc", "Keep", ""), "this");
    EXPECT_TRUE(library.destroyed.empty());
  }
  EXPECT_EQ(library.destroyed, std::vector<int32_t>{7});
  EXPECT_TRUE(ui.messages.empty());

  library.handle = 0;
  OpenSaveAcmClass acm(library, kNoWaits);
  EXPECT_FALSE(acm.HandleReady);
  EXPECT_FALSE(acm.AcmDecodeFile("in.wav", "out.wav", 0.8F));
  EXPECT_EQ(library.decodes, 0);
  library.createError = "Out of handles";
  EXPECT_FALSE(OpenSaveAcmClass(library, kNoWaits).HandleReady);
  EXPECT_EQ(ui.Texts(), (std::vector<std::string>{"Failed to create decoding object.",
                                                  "Failed to create decoding object.\r\n"
                                                  "Out of handles"}));
  EXPECT_EQ(ui.messages[0].caption, "Timeline Audio Editor");
}

TEST_F(OpenSaveAcmClassTest, ProgressGoesFromTheBaseThroughTheShareUntilDoneOrANegativePercent) {
  OpenSaveAcmClass acm(library, kNoWaits);
  library.decodeStarts = 0;  // a decoding that does not start shows no progress
  EXPECT_FALSE(acm.AcmDecodeFile("in.wav", "out.wav", 0.8F));
  EXPECT_EQ(library.polls, 0);
  EXPECT_EQ(ui.progress.timesShown, 0);

  library.decodeStarts = 1;
  library.percents = {0, 40, 150};  // over 100 counts as done
  ui.progress.progress = 0.1F;
  EXPECT_TRUE(acm.AcmDecodeFile("in.wav", "out.wav", 0.8F));
  EXPECT_EQ(library.polls, 3);
  EXPECT_THAT(ui.progress.values, ElementsAre(FloatEq(0.1F), FloatEq(0.42F), FloatEq(0.9F)));
  EXPECT_EQ(ui.progress.timesShown, 1);
  EXPECT_FALSE(ui.progress.shown);  // hidden again: it was hidden before

  library.percents = {10, -1};
  library.error = "Codec missing";
  ui.progress.progress = 0.0F;
  ui.progress.values.clear();
  ui.progress.shown = true;
  EXPECT_FALSE(acm.AcmDecodeFile("in.wav", "out.wav", 0.5F));
  EXPECT_EQ(ui.progress.values, std::vector<float>{0.05F});
  EXPECT_TRUE(ui.progress.shown);  // it was visible before, so it stays
  EXPECT_EQ(acm.GetLastError(), "Codec missing");
}

// The system library decoding real files through this class is what the WAV reader's
// compressed-file test runs.
TEST_F(OpenSaveAcmClassTest, TheProgramWaits100MsThenPollsEvery250MsWhichOnlyAHarnessChanges) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(OpenSaveAcmClass(library).AcmDecodeFile("in.wav", "out.wav", 0.8F));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(350));
  EXPECT_EQ(OpenSaveAcmClass().Timing().firstWait, std::chrono::milliseconds(100));
  EXPECT_EQ(OpenSaveAcmClass().Timing().pollInterval, std::chrono::milliseconds(250));
  SetProgramAcmPollTiming({std::chrono::milliseconds(1), std::chrono::milliseconds(2)});
  const OpenSaveAcmClass shortened;
  const OpenSaveAcmClass withLibrary(library);
  SetProgramAcmPollTiming({});
  EXPECT_EQ(shortened.Timing().firstWait, std::chrono::milliseconds(1));
  EXPECT_EQ(shortened.Timing().pollInterval, std::chrono::milliseconds(2));
  // An object given its library keeps its own timing.
  EXPECT_EQ(withLibrary.Timing().pollInterval, std::chrono::milliseconds(250));
  EXPECT_EQ(ProgramAcmPollTiming().pollInterval, std::chrono::milliseconds(250));
}

}  // namespace
}  // namespace quorvane
