#include "formats/OpenSaveAcmClass.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <filesystem>
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
  void xAcm_DestroyObject(int32_t destroyedHandle) override {
    destroyed.push_back(destroyedHandle);
  }
  int32_t xAcm_DecodeFile(int32_t, const std::string& source, const std::string&) override {
    decodedSources.push_back(source);
    return decodeStarts;
  }
  int32_t xAcm_GetDecodingPercent(int32_t) override {
    ++polls;
    const int32_t percent = percents.front();
    if (percents.size() > 1) percents.pop_front();
    return percent;
  }
  int32_t xAcm_GetErrorString(int32_t, char* buffer, int32_t bufferSize) override {
    errorBufferSize = bufferSize;
    error.copy(buffer, error.size());
    buffer[error.size()] = '\0';
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
  std::vector<std::string> decodedSources;
  int polls = 0;
  int32_t errorBufferSize = 0;
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

TEST_F(OpenSaveAcmClassTest, CreationWritesTheWindowSizeAndGivesTheLibraryTheSettingsFile) {
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
}

TEST_F(OpenSaveAcmClassTest, AFailedCreationIsToldAndNothingIsDecodedWithoutAStart) {
  library.handle = 0;
  OpenSaveAcmClass acm(library, kNoWaits);
  EXPECT_FALSE(acm.HandleReady);
  ASSERT_EQ(ui.messages.size(), 1U);
  EXPECT_EQ(ui.messages[0].text, "Failed to create decoding object.");
  EXPECT_EQ(ui.messages[0].caption, "Timeline Audio Editor");
  EXPECT_FALSE(acm.AcmDecodeFile("in.wav", "out.wav", 0.8F));
  EXPECT_TRUE(library.decodedSources.empty());

  library.createError = "Out of handles";
  OpenSaveAcmClass broken(library, kNoWaits);
  EXPECT_FALSE(broken.HandleReady);
  EXPECT_EQ(ui.messages.back().text, "Failed to create decoding object.\r\nOut of handles");

  library.createError = nullptr;
  library.handle = 7;
  library.decodeStarts = 0;  // a decoding that does not start shows no progress
  OpenSaveAcmClass ready(library, kNoWaits);
  EXPECT_FALSE(ready.AcmDecodeFile("in.wav", "out.wav", 0.8F));
  EXPECT_EQ(library.polls, 0);
  EXPECT_EQ(ui.progress.timesShown, 0);
}

TEST_F(OpenSaveAcmClassTest, ProgressGoesFromTheBaseThroughTheShareAndOver100CountsAsDone) {
  library.percents = {0, 40, 150};
  ui.progress.progress = 0.1F;
  OpenSaveAcmClass acm(library, kNoWaits);
  EXPECT_TRUE(acm.AcmDecodeFile("in.wav", "out.wav", 0.8F));
  EXPECT_EQ(library.polls, 3);
  EXPECT_THAT(ui.progress.values, ElementsAre(FloatEq(0.1F), FloatEq(0.42F), FloatEq(0.9F)));
  EXPECT_EQ(ui.progress.timesShown, 1);
  EXPECT_FALSE(ui.progress.shown);  // hidden again: it was hidden before
}

TEST_F(OpenSaveAcmClassTest, ANegativePercentEndsTheWaitAsAFailureWithTheLibrarysReason) {
  library.percents = {10, -1};
  library.error = "Codec missing";
  ui.progress.shown = true;
  OpenSaveAcmClass acm(library, kNoWaits);
  EXPECT_FALSE(acm.AcmDecodeFile("in.wav", "out.wav", 0.5F));
  EXPECT_EQ(ui.progress.values, std::vector<float>{0.05F});
  EXPECT_TRUE(ui.progress.shown);  // it was visible before, so it stays
  EXPECT_EQ(acm.GetLastError(), "Codec missing");
  EXPECT_EQ(library.errorBufferSize, 256);
  library.error = "";
  EXPECT_EQ(acm.GetLastError(), "");
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
