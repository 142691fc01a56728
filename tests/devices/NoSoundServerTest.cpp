// The editor on a machine without a sound server: start-up reports the sound driver, play
// says that it is off, recording finds no device, and the session goes on.
#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QTimer>

#include "devices/PlayControl.h"
#include "tests/ui/EditorWindowFixture.h"

namespace quorvane::testing {
namespace {

using WithoutSound = WaveEditorWindow;

TEST_F(WithoutSound, StartUpReportsTheDriverPlaySaysItIsOffRecordFindsNoDevice) {
  session = EditorSession::Open(project, &ui);
  ASSERT_NE(session, nullptr);
  ASSERT_EQ(ui.messages.size(), 1U);
  EXPECT_EQ(ui.messages[0].text,
            "There is an error initializing Sound Driver\n"
            "Check whether the sound server (PulseAudio or PipeWire) is running and has an "
            "output device.\n"
            "If not, start it or choose an output in the desktop's sound settings, then open "
            "the editor again.\n\n"
            "Otherwise, if this problem persists, check your sound card's driver");
  EXPECT_EQ(SoundDriverHandle(), 0);
  WaveEditor_Frm& window = session->Window();
  window.PlayToolbar_ButtonClick("Stop");
  EXPECT_EQ(ui.messages.size(), 1U);
  window.PlayToolbar_ButtonClick("PlayNew");
  ASSERT_EQ(ui.messages.size(), 2U);
  EXPECT_EQ(ui.messages[1].text, "Sound driver is off");
  EXPECT_EQ(ui.messages[1].caption, "Play failed");
  EXPECT_EQ(CurrentPlayState(), 0);
  window.Button("Record")->trigger();
  ASSERT_EQ(ui.messages.size(), 3U);
  EXPECT_EQ(ui.messages[2].text,
            "Audio Device not found\r\n(Open audio device for recording - failed)");
  window.close();
}

}  // namespace
}  // namespace quorvane::testing
