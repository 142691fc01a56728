// The editor window when the sound server it plays through dies, while playing or paused:
// a message, the play toolbar back as after Stop, and Play again once a server answers.
#include <gtest/gtest.h>

#include <QAction>
#include <QElapsedTimer>
#include <QTest>

#include "devices/PlayControl.h"
#include "tests/devices/SoundServer.h"
#include "tests/ui/EditorWindowFixture.h"

namespace quorvane::testing {
namespace {

// Two slides of ten seconds each: long enough to be playing still when the server dies.
class SoundServerLoss : public WaveEditorWindow {
 protected:
  SoundServerLoss() {
    ProjectPlan plan;
    plan.targetFolder = files.Path();
    plan.slides = {TrackSlide("one.wav", TenSeconds()), TrackSlide("two.wav", TenSeconds())};
    project = WriteProject(files.File("long.ini"), plan);
  }

  static std::string TenSeconds() {
    std::vector<int16_t> frames;
    for (int i = 0; i < kRate * 10; ++i) {
      const auto value = static_cast<int16_t>((i / 20) % 2 == 0 ? 6000 : -6000);
      frames.push_back(value);
      frames.push_back(value);
    }
    return PcmWave(2, kRate, 16, frames);
  }

  // The play toolbar as the Stop button leaves it.
  static void ExpectStopped(WaveEditor_Frm& window) {
    for (const char* key : {"PlayNew", "PlaySlid", "Record"}) {
      EXPECT_TRUE(window.Button(key)->isEnabled()) << key;
    }
    EXPECT_FALSE(window.Button("Pause")->isEnabled());
    EXPECT_FALSE(window.Button("Stop")->isEnabled());
    EXPECT_EQ(window.Button("Pause")->data().toString().toStdString(), "Pause");
    EXPECT_EQ(CurrentPlayState(), 0);
  }

  SoundServer server;
};

TEST_F(SoundServerLoss, PlayingOrPausedStopsWithAMessageAndPlaysAgainOnceAServerIsBack) {
  ASSERT_TRUE(server.Answering());
  WaveEditor_Frm& window = Open();
  window.PlayToolbar_ButtonClick("PlayNew");
  ASSERT_TRUE(QTest::qWaitFor([] { return PlayedSamples() > kRate / 2; }, 5000));
  ASSERT_FALSE(window.Button("PlayNew")->isEnabled());

  server.Kill();
  ASSERT_TRUE(QTest::qWaitFor(
      [&] { return !ui.messages.empty() && window.Button("PlayNew")->isEnabled(); }, 5000));
  ASSERT_EQ(ui.messages.size(), 1U);
  EXPECT_EQ(ui.messages[0].text,
            "The sound output stopped while playing.\n"
            "The sound server or the output device is no longer available.");
  EXPECT_EQ(ui.messages[0].caption, "Play failed");
  ExpectStopped(window);

  // Without a server, Play says so again and nothing plays.
  window.PlayToolbar_ButtonClick("PlayNew");
  ASSERT_TRUE(QTest::qWaitFor([&] { return ui.messages.size() == 2; }, 5000));
  EXPECT_EQ(ui.messages[1].text, "The sound output could not be started.");
  EXPECT_EQ(CurrentPlayState(), 0);

  // Qt Multimedia connects to the server again a few seconds after it lost it; until then
  // every Play is refused as above. The user presses Play now and then until it plays.
  ASSERT_TRUE(server.Start());
  QElapsedTimer sincePressed;
  sincePressed.start();
  EXPECT_TRUE(QTest::qWaitFor(
      [&] {
        if (CurrentPlayState() == 0 && sincePressed.elapsed() >= 500) {
          window.PlayToolbar_ButtonClick("PlayNew");
          sincePressed.restart();
        }
        return PlayedSamples() > kRate / 2;
      },
      15000));
  for (size_t index = 2; index < ui.messages.size(); ++index) {
    EXPECT_EQ(ui.messages[index].text, "The sound output could not be started.");
  }
  EXPECT_FALSE(window.Button("PlayNew")->isEnabled());
  EXPECT_TRUE(window.Button("Stop")->isEnabled());

  // Paused, the same: the "Pause" button shows "Pause" again, not "Continue".
  window.PlayToolbar_ButtonClick("Pause");
  ASSERT_EQ(window.Button("Pause")->data().toString(), "Continue");
  const size_t before = ui.messages.size();
  server.Kill();
  ASSERT_TRUE(QTest::qWaitFor(
      [&] { return ui.messages.size() > before && window.Button("PlayNew")->isEnabled(); }, 5000));
  EXPECT_EQ(ui.messages.back().text,
            "The sound output stopped while playing.\n"
            "The sound server or the output device is no longer available.");
  ExpectStopped(window);
  window.close();
}

}  // namespace
}  // namespace quorvane::testing
