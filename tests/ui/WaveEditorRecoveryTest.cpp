// The editor started on a project whose last session died with unsaved edits: it asks,
// and brings back the document, slides, markers and undo history as they were after the
// last edit, or drops them.
#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QPushButton>
#include <algorithm>
#include <filesystem>

#include "core/ProjectTables.h"
#include "editing/Recovery.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "tests/support/SessionFixture.h"
#include "tests/ui/EditorWindowFixture.h"
#include "ui/ViewGeometry.h"

namespace quorvane {
namespace {

using namespace quorvane::testing;
namespace fs = std::filesystem;

// Everything recovery must bring back, as the window shows it.
struct Shown {
  std::vector<int16_t> left, right;
  std::vector<int32_t> starts, markers;
  std::string undo, redo;
  bool operator==(const Shown&) const = default;
};

class WaveEditorRecovery : public WaveEditorWindow {
 protected:
  Shown Now() {
    Shown shown;
    FileMemoClass& document = *session->Document();
    for (int32_t p = 1; p <= document.WavWaveINos; ++p) {
      shown.left.push_back(document.WaveL(p));
      shown.right.push_back(document.WaveR(p));
    }
    for (int32_t n = 1; n <= Project().SlideCount + 1; ++n) {
      shown.starts.push_back(Project().Slides[static_cast<size_t>(n)].Start);
    }
    for (int32_t m = 1; m <= Project().MarkerCount; ++m) {
      shown.markers.push_back(Project().Markers[static_cast<size_t>(m)].Position);
    }
    shown.undo = session->Window().MenuItem("Undo_Mnu")->iconText().toStdString();
    shown.redo = session->Window().MenuItem("Redo_Mnu")->iconText().toStdString();
    return shown;
  }
  int Questions() const {
    return static_cast<int>(
        std::count_if(ui.messages.begin(), ui.messages.end(),
                      [](const auto& m) { return m.text == kRecoveryQuestion; }));
  }
  void Trigger(const char* item, int32_t from, int32_t to) {
    Editor().SelStart = from;
    Editor().SelEnd = to;
    session->Window().MenuItem(item)->trigger();
  }
  void DragFlag(int32_t from, int32_t to) {
    PictureBox* strip = session->Window().MarkerDrawPic();
    QTest::mouseMove(strip, QPoint(PixelOf(from), 15));
    QTest::mousePress(strip, Qt::LeftButton, {}, QPoint(PixelOf(from), 15));
    QTest::mouseMove(strip, QPoint(PixelOf(to), 15));
    QTest::mouseRelease(strip, Qt::LeftButton, {}, QPoint(PixelOf(to), 15));
  }
  // What a session killed now would leave: its folder, nobody holding it.
  std::string LeaveAsIfKilled() {
    std::string live;
    for (const auto& entry : fs::directory_iterator(temp.Path())) {
      if (entry.path().filename().string().rfind("fm", 0) == 0) live = entry.path().string();
    }
    const std::string dead = temp.File("fmDeadXY");
    fs::copy(live, dead, fs::copy_options::recursive);
    fs::remove(dead + "/session.lock");
    return dead;
  }
};

TEST_F(WaveEditorRecovery, TheNextStartAsksAndRecoversTheEditsOrDropsThem) {
  Open();
  DragFlag(1 + kRate / 4, 3000);
  DragFlag(kFrames + 1, 6000);  // the boundary, past slide 2's marker, which goes
  Trigger("EditCopy_Mnu", 1, 100);
  Trigger("EditPaste_Mnu", 5001, 5001);
  auto* theirs = new QMimeData;  // audio another program copied
  theirs->setData("audio/x-wav", QByteArray::fromStdString(PcmWave(1, kRate, 16, Ramp(50, 7, 3))));
  QGuiApplication::clipboard()->setMimeData(theirs);
  Trigger("EditPaste_Mnu", 200, 200);
  Trigger("VolumeMaximize_Mnu", 300, 2000);
  Trigger("Undo_Mnu", 0, 0);
  Trigger("EditCut_Mnu", 7001, 7400);
  // The pop-up menus' marker commands, and clearing the oldest undo data.
  MarkerInfo added;
  added.Kind = kAutoMarker;
  added.Position = 1000;
  added.Slide = 1;
  session->Document()->AddMarkers({added}, "Add Auto");
  session->Document()->DeleteMarkers({2}, "Delete Marker");
  WhenDialogShows([](QWidget* dialog) {
    for (QPushButton* button : dialog->findChildren<QPushButton*>()) {
      if (button->text() == "Clear first one") button->click();
    }
  });
  session->Window().MenuItem("UndoClear_Mnu")->trigger();
  const Shown edited = Now();
  ASSERT_EQ(edited.left.size(), 2u * kFrames + 100 + 50 - 400);
  ASSERT_EQ(edited.undo, "Undo [Delete Marker]");
  ASSERT_EQ(edited.markers, std::vector<int32_t>{1000});
  const std::string dead = LeaveAsIfKilled();
  const std::string kept = temp.File("kept-copy");
  fs::copy(dead, kept, fs::copy_options::recursive);
  // What each undo shows, back to where the cleared undo data stops it, and past that.
  std::vector<Shown> undone;
  for (int k = 0; k < 10; ++k) {
    Trigger("Undo_Mnu", 0, 0);
    undone.push_back(Now());
  }
  // Six edits can be undone; the first marker drag's undo data was cleared.
  ASSERT_EQ(undone[4].undo, "Undo [Slide Drag]");
  ASSERT_EQ(undone[5].undo, "Undo [Nothing]");
  ASSERT_TRUE(undone[5] == undone[9]);
  session.reset();

  ui.Answer(MessageAnswer::Yes);
  session = EditorSession::Open(project, &ui);
  ASSERT_NE(session, nullptr);
  EXPECT_EQ(Questions(), 1);
  EXPECT_TRUE(Now() == edited);
  EXPECT_TRUE(Editor().WaveChanged);
  EXPECT_FALSE(fs::exists(dead));
  for (const Shown& expected : undone) {
    Trigger("Undo_Mnu", 0, 0);
    EXPECT_TRUE(Now() == expected);
  }
  session.reset();

  // No: the project as saved, and nothing offered again.
  fs::rename(kept, dead);
  ui.messages.clear();
  ui.Answer(MessageAnswer::No);
  session = EditorSession::Open(project, &ui);
  ASSERT_NE(session, nullptr);
  EXPECT_EQ(Questions(), 1);
  EXPECT_EQ(session->Document()->WavWaveINos, 2 * kFrames);
  EXPECT_EQ(Now().undo, "Undo [Nothing]");
  EXPECT_FALSE(fs::exists(dead));
}

}  // namespace
}  // namespace quorvane
