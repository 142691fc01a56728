// A generated two-slide stereo project opened in the editor window on the offscreen
// platform, for the tests that drive the window as a user does.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QPixmap>
#include <QTest>
#include <QTimer>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>

#include "platform/ProgramFile.h"
#include "tests/support/ProjectBuilder.h"
#include "tests/support/RecordingInteraction.h"
#include "tests/support/TempFolder.h"
#include "tests/support/WaveBuilder.h"
#include "ui/Main.h"
#include "ui/WaveEditor_Frm.h"

namespace quorvane::testing {

inline constexpr int kRate = 8000;
inline constexpr int kFrames = 4000;  // half a second per slide

// A stereo track of a square wave of the given amplitude.
inline std::string SquareTrack(int amplitude) {
  std::vector<int16_t> frames;
  for (int i = 0; i < kFrames; ++i) {
    const auto value = static_cast<int16_t>((i / 20) % 2 == 0 ? amplitude : -amplitude);
    frames.push_back(value);
    frames.push_back(value);
  }
  return PcmWave(2, kRate, 16, frames);
}

// Answers the next modal dialog with `step` once it is on screen.
inline void WhenDialogShows(std::function<void(QWidget*)> step) {
  QTimer::singleShot(0, [step = std::move(step)] { step(QApplication::activeModalWidget()); });
}

inline QRgb Rgb(const QColor& colour) { return colour.rgb(); }

// Slide 1 has a click marker a quarter second in, slide 2 an auto marker a tenth in.
class WaveEditorWindow : public ::testing::Test {
 protected:
  WaveEditorWindow() {
    ProjectPlan plan;
    plan.targetFolder = files.Path();
    plan.slides = {TrackSlide("one.wav", SquareTrack(8000), "", "0.25"),
                   TrackSlide("two.wav", SquareTrack(8000), "", std::nullopt, "0.1")};
    project = WriteProject(files.File("talk.ini"), plan);
  }

  WaveEditor_Frm& Open() {
    session = EditorSession::Open(project, &ui);
    EXPECT_NE(session, nullptr);
    WaveEditor_Frm& window = session->Window();
    window.resize(820, 520);
    window.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
    window.ResetDocumentReads();
    window.Refresh_Wave_View();
    ui.messages.clear();  // the sound output's message, where this machine has none
    return window;
  }

  static QRgb PixelAt(const QPixmap& image, int x, int y) { return image.toImage().pixel(x, y); }

  TempFolder files;
  TempFolder temp;
  ScopedVariable tmpdir{"TMPDIR", temp.Path()};
  ScopedVariable config{"XDG_CONFIG_HOME", files.Path()};  // the settings of each case
  RecordingInteraction ui;
  std::string project;
  std::unique_ptr<EditorSession> session;
};

}  // namespace quorvane::testing
