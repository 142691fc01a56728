#include "formats/OpenSaveAcmClass.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

#include "core/Environment.h"
#include "core/Settings.h"
#include "tests/support/RecordingInteraction.h"
#include "tests/support/TempFolder.h"

namespace quorvane {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::FloatEq;
using ::testing::Return;

class MockLibrary : public DecodingLibrary {
 public:
  MOCK_METHOD(int32_t, xAcm_CreateObject, (const std::string&), (override));
  MOCK_METHOD(void, xAcm_DestroyObject, (int32_t), (override));
  MOCK_METHOD(int32_t, xAcm_DecodeFile, (int32_t, const std::string&, const std::string&),
              (override));
  MOCK_METHOD(int32_t, xAcm_GetDecodingPercent, (int32_t), (override));
  MOCK_METHOD(int32_t, xAcm_GetErrorString, (int32_t, char*, int32_t), (override));
};

constexpr AcmPollTiming kNoWaits{std::chrono::milliseconds(0), std::chrono::milliseconds(0)};

class OpenSaveAcmClassTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetEnvironment();
    Env().SettingsFile = folder.File("quorvane-audio.ini");
    ON_CALL(library, xAcm_CreateObject(_)).WillByDefault(Return(7));
    ON_CALL(library, xAcm_DecodeFile(_, _, _)).WillByDefault(Return(1));
    ON_CALL(library, xAcm_GetDecodingPercent(_)).WillByDefault(Return(100));
  }
  void TearDown() override { ResetEnvironment(); }

  testing::TempFolder folder;
  testing::RecordingInteraction ui;
  ::testing::NiceMock<MockLibrary> library;
};

TEST_F(OpenSaveAcmClassTest, CreationWritesTheWindowSizeForTheLibraryAndFailuresAreTold) {
  folder.Write("quorvane-audio.ini", "[Misc]\r\nWindowSize=1\r\nKeep=this\r\n");
  EXPECT_CALL(library, xAcm_CreateObject(folder.File("quorvane-audio.ini")))
      .WillOnce([](const std::string&) {
        EXPECT_EQ(SettingGet("Misc", "WindowSize", ""), "196500");
        return 7;
      });
  {
    OpenSaveAcmClass acm(library, kNoWaits);
    EXPECT_TRUE(acm.HandleReady);
    EXPECT_EQ(SettingGet("Misc", "Keep", ""), "this");
    EXPECT_CALL(library, xAcm_DestroyObject(7));  // when the object goes
  }
  ::testing::Mock::VerifyAndClearExpectations(&library);
  EXPECT_TRUE(ui.messages.empty());

  EXPECT_CALL(library, xAcm_CreateObject(_))
      .WillOnce(Return(0))
      .WillOnce([](const std::string&) -> int32_t { throw std::runtime_error("Out of handles"); });
  EXPECT_CALL(library, xAcm_DecodeFile(_, _, _)).Times(0);
  OpenSaveAcmClass acm(library, kNoWaits);
  EXPECT_FALSE(acm.HandleReady);
  EXPECT_FALSE(acm.AcmDecodeFile("in.wav", "out.wav", 0.8F));
  EXPECT_FALSE(OpenSaveAcmClass(library, kNoWaits).HandleReady);
  EXPECT_EQ(ui.Texts(), (std::vector<std::string>{"Failed to create decoding object.",
                                                  "Failed to create decoding object.\r\n"
                                                  "Out of handles"}));
  EXPECT_EQ(ui.messages[0].caption, "Timeline Audio Editor");
}

TEST_F(OpenSaveAcmClassTest, ProgressGoesFromTheBaseThroughTheShareUntilDoneOrANegativePercent) {
  // A decoding that does not start shows no progress; over 100 counts as done.
  EXPECT_CALL(library, xAcm_DecodeFile(7, "in.wav", "out.wav"))
      .WillOnce(Return(0))
      .WillRepeatedly(Return(1));
  EXPECT_CALL(library, xAcm_GetDecodingPercent(7))
      .WillOnce(Return(0))
      .WillOnce(Return(40))
      .WillOnce(Return(150))
      .WillOnce(Return(10))
      .WillOnce(Return(-1));
  EXPECT_CALL(library, xAcm_GetErrorString(7, _, _)).WillOnce([](int32_t, char* buffer, int32_t) {
    std::strcpy(buffer, "Codec missing");
    return 14;
  });
  OpenSaveAcmClass acm(library, kNoWaits);
  EXPECT_FALSE(acm.AcmDecodeFile("in.wav", "out.wav", 0.8F));
  EXPECT_EQ(ui.progress.timesShown, 0);

  ui.progress.progress = 0.1F;
  EXPECT_TRUE(acm.AcmDecodeFile("in.wav", "out.wav", 0.8F));
  EXPECT_THAT(ui.progress.values, ElementsAre(FloatEq(0.1F), FloatEq(0.42F), FloatEq(0.9F)));
  EXPECT_EQ(ui.progress.timesShown, 1);
  EXPECT_FALSE(ui.progress.shown);  // hidden again: it was hidden before

  ui.progress.progress = 0.0F;
  ui.progress.values.clear();
  ui.progress.shown = true;
  EXPECT_FALSE(acm.AcmDecodeFile("in.wav", "out.wav", 0.5F));
  EXPECT_EQ(ui.progress.values, std::vector<float>{0.05F});
  EXPECT_TRUE(ui.progress.shown);  // it was visible before, so it stays
  EXPECT_EQ(acm.GetLastError(), "Codec missing");
}

}  // namespace
}  // namespace quorvane
