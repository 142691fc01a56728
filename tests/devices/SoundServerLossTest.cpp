// The editor window when the sound server it plays through dies, while playing or paused:
// a message, and the play toolbar back as after Stop.
#include <gtest/gtest.h>

#include <QAction>
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

  void ExpectLossStopsTheWindow(bool paused) {
    ASSERT_TRUE(server.Answering());
    WaveEditor_Frm& window = Open();
    window.PlayToolbar_ButtonClick("PlayNew");
    ASSERT_TRUE(QTest::qWaitFor([] { return PlayedSamples() > kRate / 2; }, 5000));
    ASSERT_FALSE(window.Button("PlayNew")->isEnabled());
    if (paused) {
      window.PlayToolbar_ButtonClick("Pause");
      ASSERT_EQ(window.Button("Pause")->data().toString(), "Continue");
    }
    server.Kill();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return !ui.messages.empty() && window.Button("PlayNew")->isEnabled(); }, 5000));
    ASSERT_EQ(ui.messages.size(), 1U);
    EXPECT_EQ(ui.messages[0].text,
              "The sound output stopped while playing.\n"
              "The sound server or the output device is no longer available.");
    EXPECT_EQ(ui.messages[0].caption, "Play failed");
    ExpectStopped(window);
    // Without a server, Play says so and nothing plays.
    window.PlayToolbar_ButtonClick("PlayNew");
    ASSERT_TRUE(QTest::qWaitFor([&] { return ui.messages.size() == 2; }, 5000));
    EXPECT_EQ(ui.messages[1].text, "The sound output could not be started.");
    EXPECT_EQ(CurrentPlayState(), 0);
    window.close();
  }

  SoundServer server;
};

// Playing, or paused (the "Pause" button then shows "Continue"): the window says so and
// its toolbar is as after Stop, with "Pause" showing "Pause" again. Each case runs in a
// process of its own, with a connection to the server of its own.
TEST_F(SoundServerLoss, WhilePlayingTheWindowStopsWithAMessage) { ExpectLossStopsTheWindow(false); }

TEST_F(SoundServerLoss, WhilePausedTheWindowStopsWithAMessage) { ExpectLossStopsTheWindow(true); }

}  // namespace
}  // namespace quorvane::testing
