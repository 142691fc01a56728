// The editor window with a sound server: the play toolbar's buttons and the play marks
// follow the player, and the Record button puts a recording into the document.
#include <gtest/gtest.h>

#include <QAction>
#include <QElapsedTimer>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>

#include "core/Settings.h"
#include "devices/PlayControl.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "tests/devices/LoopbackRecorder.h"
#include "tests/ui/EditorWindowFixture.h"
#include "ui/InsertPosDialog.h"
#include "ui/PunchIn.h"
#include "ui/Recd_Frm.h"
#include "ui/ViewGeometry.h"
#include "ui/ViewState.h"

namespace quorvane::testing {
namespace {

using WindowPlayback = WaveEditorWindow;

TEST_F(WindowPlayback, PlayToolbarFollowsPlayPauseContinueAndTheEnd) {
  WaveEditor_Frm& window = Open();
  EXPECT_TRUE(ui.messages.empty());
  window.PlayToolbar_ButtonClick("PlayNew");
  ASSERT_TRUE(QTest::qWaitFor([&] { return !window.Button("PlayNew")->isEnabled(); }, 1000));
  EXPECT_TRUE(window.Button("Pause")->isEnabled() && window.Button("Stop")->isEnabled());
  EXPECT_FALSE(window.Button("PlaySlid")->isEnabled() || window.Button("Record")->isEnabled());
  ASSERT_TRUE(QTest::qWaitFor([] { return PlayedSamples() > kRate / 10; }, 3000));
  window.PlayToolbar_ButtonClick("Pause");
  EXPECT_EQ(window.Button("Pause")->data().toString(), "Continue");
  const QString shown = window.Label("PlayPosLbl")->text();
  EXPECT_NE(shown, "00");
  window.PlayToolbar_ButtonClick("Pause");
  EXPECT_EQ(window.Button("Pause")->data().toString(), "Pause");
  EXPECT_TRUE(QTest::qWaitFor([&] { return window.Button("PlayNew")->isEnabled(); }, 5000));
  EXPECT_FALSE(window.Button("Pause")->isEnabled() || window.Button("Stop")->isEnabled());
  EXPECT_TRUE(window.Button("Record")->isEnabled());
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(WindowPlayback, EscapeStopsPlayback) {
  WaveEditor_Frm& window = Open();
  window.PlayToolbar_ButtonClick("PlayNew");
  ASSERT_TRUE(QTest::qWaitFor([] { return PlayedSamples() > kRate / 10; }, 3000));
  QTest::keyClick(window.Wave_Pic(1), Qt::Key_Escape);
  EXPECT_EQ(CurrentPlayState(), 0);
  EXPECT_TRUE(QTest::qWaitFor([&] { return window.Button("PlayNew")->isEnabled(); }, 1000));
  EXPECT_FALSE(window.Button("Stop")->isEnabled());
  EXPECT_LT(PlayedSamples(), 2 * kFrames) << "stopped before the end";
}

// The stretches of sound in a recording, in seconds: runs of loud frames at most a tenth
// of a second apart.
std::vector<double> SoundLengths(const std::vector<int16_t>& samples, int32_t channels,
                                 int32_t rate) {
  std::vector<double> lengths;
  const auto frames = static_cast<int64_t>(samples.size()) / channels;
  int64_t first = -1;
  int64_t last = -1;
  for (int64_t i = 0; i <= frames; ++i) {
    const bool loud = i < frames && std::abs(samples[static_cast<size_t>(i * channels)]) > 2000;
    if (first >= 0 && (i == frames || (!loud && i - last > rate / 10))) {
      lengths.push_back(static_cast<double>(last - first + 1) / rate);
      first = -1;
    }
    if (loud) {
      if (first < 0) first = i;
      last = i;
    }
  }
  return lengths;
}

// A half-second selection played with Space is heard once, the window is back in its
// stopped state as soon as it has played, and Space plays it again.
TEST_F(WindowPlayback, ASelectionPlayedWithSpaceEndsAndSpacePlaysItAgain) {
  WaveEditor_Frm& window = Open();
  Editor().SelStart = 1;
  Editor().SelEnd = kFrames;
  const LoopbackRecorder ear(2, kRate);
  QTest::qWait(200);
  for (int round = 1; round <= 2; ++round) {
    SCOPED_TRACE(round);
    QElapsedTimer clock;
    clock.start();
    QTest::keyClick(window.Wave_Pic(1), Qt::Key_Space);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !window.Button("PlayNew")->isEnabled(); }, 1000));
    ASSERT_TRUE(QTest::qWaitFor([&] { return window.Button("PlayNew")->isEnabled(); }, 2000));
    EXPECT_LE(clock.elapsed(), 500 + 150);
    EXPECT_FALSE(window.Button("Pause")->isEnabled() || window.Button("Stop")->isEnabled());
    QTest::qWait(300);
  }
  const std::vector<double> heard = SoundLengths(ear.Samples(), 2, kRate);
  ASSERT_EQ(heard.size(), 2u);
  for (const double seconds : heard) EXPECT_NEAR(seconds, 0.5, 0.05);
}

// Zoomed in, the view pages on with the play cursor, which stays in sight.
TEST_F(WindowPlayback, TheViewPagesOnWithThePlayCursor) {
  WaveEditor_Frm& window = Open();
  View().ViewAll = false;
  Editor().ViewStart = 1;
  Editor().ViewLength = kRate / 10;
  Editor().CursorPos = Editor().SelStart = Editor().SelEnd = 1;
  window.Refresh_Wave_View();
  window.PlayToolbar_ButtonClick("PlayNew");
  ASSERT_TRUE(QTest::qWaitFor([] { return PlayedSamples() > kRate / 2; }, 3000));
  const int32_t position = PlayingFirst() + PlayedSamples();
  EXPECT_GT(Editor().ViewStart, kRate / 4);
  EXPECT_LE(Editor().ViewStart, position);
  EXPECT_EQ(Editor().ViewLength, kRate / 10);
  window.PlayToolbar_ButtonClick("Stop");
}

TEST_F(WindowPlayback, AClickDuringPlaybackMovesThePlayPositionThere) {
  WaveEditor_Frm& window = Open();
  window.PlayToolbar_ButtonClick("PlayNew");
  ASSERT_TRUE(QTest::qWaitFor([] { return PlayedSamples() > kRate / 20; }, 3000));
  const int x = PixelOf(kFrames + kRate / 5);
  QTest::mouseClick(window.Wave_Pic(1), Qt::LeftButton, {}, QPoint(x, 5));
  const int32_t clicked = PositionAtPixel(x, 2 * kFrames);
  ASSERT_TRUE(QTest::qWaitFor([&] { return PlayingFirst() == clicked; }, 1000));
  EXPECT_NE(CurrentPlayState(), 0);
  EXPECT_EQ(PlayingLast(), 2 * kFrames);
  EXPECT_TRUE(QTest::qWaitFor([&] { return window.Button("PlayNew")->isEnabled(); }, 5000));
}

TEST_F(WindowPlayback, RecordButtonInsertsTheRecordingAtTheCursor) {
  WaveEditor_Frm& window = Open();
  Editor().CursorPos = 1;
  int64_t recorded = 0;
  WhenDialogShows([&](QWidget* dialog) {
    auto* form = dynamic_cast<Recd_Frm*>(dialog);
    ASSERT_NE(form, nullptr);
    form->Start_Btn->click();
    EXPECT_TRUE(QTest::qWaitFor([&] { return form->FramesWritten() >= kRate / 2; }, 3000));
    form->Start_Btn->click();
    EXPECT_TRUE(QTest::qWaitFor([] { return !RecBufferReady; }, 1000));
    recorded = form->FramesWritten();
    WhenDialogShows([](QWidget* where) {
      auto* position = dynamic_cast<InsertPosDialog*>(where);
      ASSERT_NE(position, nullptr);
      position->Option(0)->setChecked(true);
      position->OkBtn_Click();
    });
    form->Done_Btn->click();
  });
  window.Button("Record")->trigger();
  EXPECT_GT(recorded, kRate / 2 - 1);
  EXPECT_EQ(session->Document()->WavWaveINos, 2 * kFrames + recorded);
  EXPECT_EQ(window.MenuItem("Undo_Mnu")->iconText().toStdString(), "Undo [Insert Recording]");
}

// Punch In over a selection on the suite's sound server, whose null sink the take records
// from: after the pre-roll the take holds what was played in the selection, lined up with
// it, and replaces it as one undo item.
TEST_F(WindowPlayback, PunchInReplacesTheSelectionWithATakeLinedUpWithThePlayedTimeline) {
  const std::vector<int16_t> noise = Noise(3 * kRate, 12000, 7);
  ProjectPlan plan;
  plan.targetFolder = files.Path();
  plan.slides = {TrackSlide("noise.wav", PcmWave(1, kRate, 16, noise))};
  project = WriteProject(files.File("noise.ini"), plan);
  WaveEditor_Frm& window = Open();
  SettingPut("", "PunchPreRoll", "0.5");
  SettingPut("", "PunchOutAtEnd", "1");
  SettingPut("", "PunchCrossfadeMs", "0");
  Editor().SelStart = kRate + 1;
  Editor().SelEnd = 2 * kRate;
  QTest::keyClick(window.Wave_Pic(1), Qt::Key_R, Qt::ControlModifier | Qt::ShiftModifier);
  ASSERT_NE(window.RunningPunch(), nullptr);
  EXPECT_TRUE(window.Button("PunchIn")->isChecked());
  ASSERT_TRUE(QTest::qWaitFor([&] { return window.RunningPunch() == nullptr; }, 5000));
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_EQ(window.MenuItem("Undo_Mnu")->iconText().toStdString(), "Undo [Punch In]");
  // Punched out at the selection's end: the take is exactly as long as the selection.
  FileMemoClass& document = *session->Document();
  ASSERT_EQ(document.WavWaveINos, 3 * kRate);
  std::vector<int16_t> take;
  std::vector<int16_t> unused;
  document.WaveCollectBuff(kRate + 1, 2 * kRate, 1, take, unused);
  const std::vector<int16_t> original(noise.begin() + kRate, noise.begin() + 2 * kRate);
  EXPECT_LE(std::abs(BestLag(original, take, kRate / 20)), kRate / 100) << "within 10 ms";
  EXPECT_NE(take, original) << "recorded, not the document's own samples";
}

// Without a selection the take goes in at the cursor, after the pre-roll, and Stop ends it.
TEST_F(WindowPlayback, PunchInWithoutASelectionInsertsTheTakeAtTheCursor) {
  WaveEditor_Frm& window = Open();
  SettingPut("", "PunchPreRoll", "0.25");
  Editor().SelStart = Editor().SelEnd = Editor().CursorPos = kFrames + 1;
  const int32_t before = session->Document()->WavWaveINos;
  window.MenuItem("PunchIn_Mnu")->trigger();
  ASSERT_NE(window.RunningPunch(), nullptr);
  ASSERT_TRUE(
      QTest::qWaitFor([&] { return window.RunningPunch()->FramesRecorded() >= kRate / 2; }, 3000));
  window.PlayToolbar_ButtonClick("Stop");
  ASSERT_TRUE(QTest::qWaitFor([&] { return window.RunningPunch() == nullptr; }, 2000));
  const int32_t taken = session->Document()->WavWaveINos - before;
  EXPECT_GE(taken, kRate / 2);
  EXPECT_LT(taken, 2 * kRate);
  EXPECT_EQ(Editor().SelStart, kFrames + 1);
  EXPECT_EQ(Editor().SelEnd, kFrames + taken);
  EXPECT_EQ(window.MenuItem("Undo_Mnu")->iconText().toStdString(), "Undo [Punch In]");
  EXPECT_FALSE(window.Button("PunchIn")->isChecked());
}

}  // namespace
}  // namespace quorvane::testing
