// The editor window with a sound server: the play toolbar's buttons and the play marks
// follow the player, and the Record button puts a recording into the document.
#include <gtest/gtest.h>

#include <QAction>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>

#include "devices/PlayControl.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "tests/ui/EditorWindowFixture.h"
#include "ui/InsertPosDialog.h"
#include "ui/Recd_Frm.h"

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
}

}  // namespace
}  // namespace quorvane::testing
