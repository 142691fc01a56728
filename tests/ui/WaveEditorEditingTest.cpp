// Editing in the window as a user does it: flags dragged in the marker strip, the pop-up
// menus, the slide chooser, and every Edit, Insert and Volume command through its menu
// item, with the dialogs answered on screen.
#include <QAction>
#include <QClipboard>
#include <QComboBox>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QSlider>
#include <QTableWidget>
#include <chrono>
#include <cmath>
#include <thread>

#include "core/ProjectTables.h"
#include "core/Settings.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "tests/support/SessionFixture.h"
#include "tests/ui/EditorWindowFixture.h"
#include "ui/DynCompDialog.h"
#include "ui/LevelSlidesDialog.h"
#include "ui/ProgressShowerClass.h"
#include "ui/ShortenPausesDialog.h"
#include "ui/ViewGeometry.h"
#include "ui/ViewState.h"
#include "ui/VolumeChgDialog.h"

namespace quorvane {
namespace {

using namespace quorvane::testing;

constexpr int32_t kClick = 1 + kRate / 4;  // marker 1, slide 1
constexpr int kFlagY = 15;                 // inside both kinds of flag

class WaveEditorEditing : public WaveEditorWindow {
 protected:
  // Presses on the flag at `from`, drags it to `to` and lets go.
  void DragFlag(int32_t from, int32_t to) {
    PictureBox* strip = session->Window().MarkerDrawPic();
    QTest::mouseMove(strip, QPoint(PixelOf(from), kFlagY));
    QTest::mousePress(strip, Qt::LeftButton, {}, QPoint(PixelOf(from), kFlagY));
    QTest::mouseMove(strip, QPoint(PixelOf(to), kFlagY));
    QTest::mouseRelease(strip, Qt::LeftButton, {}, QPoint(PixelOf(to), kFlagY));
  }
  std::string UndoCaption() {
    return session->Window().MenuItem("Undo_Mnu")->iconText().toStdString();
  }
  std::vector<int16_t> Left(int32_t from, int32_t count) {
    std::vector<int16_t> samples;
    for (int32_t p = from; p < from + count; ++p) samples.push_back(session->Document()->WaveL(p));
    return samples;
  }
};

TEST_F(WaveEditorEditing, AMarkerDraggedWithinItsSlideAndItsUndo) {
  WaveEditor_Frm& window = Open();
  DragFlag(kClick, 3000);
  const int32_t dropped = PositionAtPixel(PixelOf(3000), 2 * kFrames);
  EXPECT_EQ(Project().Markers[1].Position, dropped);
  EXPECT_EQ(UndoCaption(), "Undo [Marker Drag]");

  DragFlag(dropped, 7000);  // past its slide's end: held at the next slide's start
  EXPECT_EQ(Project().Markers[1].Position, kFrames + 1);

  window.MenuItem("Undo_Mnu")->trigger();
  window.MenuItem("Undo_Mnu")->trigger();
  EXPECT_EQ(Project().Markers[1].Position, kClick);
}

TEST_F(WaveEditorEditing, ABoundaryDraggedOverAMarkerDeletesItOneUndoBringsBothBackRedoAgain) {
  WaveEditor_Frm& window = Open();
  DragFlag(kFrames + 1, 1500);
  const int32_t dropped = PositionAtPixel(PixelOf(1500), 2 * kFrames);
  EXPECT_EQ(Project().Slides[2].Start, dropped);
  ASSERT_EQ(Project().MarkerCount, 1);
  EXPECT_EQ(Project().Markers[1].Kind, kAutoMarker) << "the passed click marker is gone";
  EXPECT_EQ(UndoCaption(), "Undo [Slide Drag]");

  window.MenuItem("Undo_Mnu")->trigger();
  EXPECT_EQ(Project().Slides[2].Start, kFrames + 1);
  ASSERT_EQ(Project().MarkerCount, 2);
  EXPECT_EQ(Project().Markers[1].Position, kClick);
  EXPECT_EQ(UndoCaption(), "Undo [Nothing]");
  EXPECT_EQ(window.MenuItem("Redo_Mnu")->iconText().toStdString(), "Redo [Slide Drag]");
  EXPECT_TRUE(window.Button("Redo")->isEnabled());

  QTest::keyClick(&window, Qt::Key_Y, Qt::ControlModifier);
  EXPECT_EQ(Project().Slides[2].Start, dropped);
  EXPECT_EQ(Project().MarkerCount, 1);
  EXPECT_EQ(UndoCaption(), "Undo [Slide Drag]");
  EXPECT_EQ(window.MenuItem("Redo_Mnu")->iconText().toStdString(), "Redo [Nothing]");
  EXPECT_FALSE(window.Button("Redo")->isEnabled());
}

// A flag is taken up to three pixels either side of its line, and not further.
TEST_F(WaveEditorEditing, AMarkerFlagIsGrabbedWithinThreePixelsOfItsLine) {
  WaveEditor_Frm& window = Open();
  PictureBox* strip = window.MarkerDrawPic();
  for (const auto& [offset, grabbed] : std::vector<std::pair<int, bool>>{
           {-3, true}, {0, true}, {3, true}, {-5, false}, {5, false}}) {
    SCOPED_TRACE(offset);
    const QPoint from(PixelOf(kClick) + offset, kFlagY);
    const QPoint to(from.x() + 60, kFlagY);
    QTest::mouseMove(strip, from);
    QTest::mousePress(strip, Qt::LeftButton, {}, from);
    QTest::mouseMove(strip, to);
    QTest::mouseRelease(strip, Qt::LeftButton, {}, to);
    EXPECT_EQ(Project().Markers[1].Position != kClick, grabbed);
    if (grabbed) window.MenuItem("Undo_Mnu")->trigger();
  }
}

// While a slide boundary is dragged past markers, the strip says how many the drop deletes.
TEST_F(WaveEditorEditing, DraggingABoundaryPastMarkersSaysBeforeTheDropThatTheyGo) {
  WaveEditor_Frm& window = Open();
  PictureBox* strip = window.MarkerDrawPic();
  auto* warning = strip->findChild<QLabel*>("DragWarningLbl");
  ASSERT_NE(warning, nullptr);
  const QPoint boundary(PixelOf(kFrames + 1), kFlagY);
  QTest::mouseMove(strip, boundary);
  QTest::mousePress(strip, Qt::LeftButton, {}, boundary);
  QTest::mouseMove(strip, QPoint(PixelOf(3000), kFlagY));
  EXPECT_FALSE(warning->isVisible()) << "no marker passed yet";
  QTest::mouseMove(strip, QPoint(PixelOf(1500), kFlagY));
  EXPECT_TRUE(warning->isVisible());
  EXPECT_EQ(warning->text().toStdString(), "Dropping here deletes 1 marker (Undo brings it back)");
  QTest::mouseMove(strip, QPoint(PixelOf(kFrames + 1 + kRate / 5), kFlagY));
  EXPECT_EQ(warning->text().toStdString(), "Dropping here deletes 1 marker (Undo brings it back)")
      << "the auto marker of slide 2, passed to the right";
  QTest::mouseRelease(strip, Qt::LeftButton, {}, QPoint(PixelOf(kFrames + 1 + kRate / 5), kFlagY));
  EXPECT_FALSE(warning->isVisible());
  EXPECT_EQ(Project().MarkerCount, 1) << "the drop deletes it as before";
}

// Flags of markers a few pixels apart are drawn without their labels, which would run over
// each other; a marker with room keeps its label.
TEST_F(WaveEditorEditing, MarkersCloseTogetherDrawNoLabelsOverEachOther) {
  WaveEditor_Frm& window = Open();
  PictureBox* strip = window.MarkerDrawPic();
  for (const int x : {300, 306}) {
    QTest::mouseMove(strip, QPoint(x, 31));
    QTest::mousePress(strip, Qt::RightButton, {}, QPoint(x, 31));
    window.MarkerPop2Mnu()->hide();
    window.findChild<QAction*>("MarkerPop2AddMnu1")->trigger();
  }
  ASSERT_EQ(Project().MarkerCount, 4);
  // Label text, anything but the current slide's band, in the rows of the marker labels
  // from x1 to x2.
  const auto labelInk = [&](int x1, int x2) {
    const QImage image = strip->Image().toImage();
    int ink = 0;
    for (int x = x1; x <= x2; ++x) {
      for (int y = 11; y <= 22; ++y) ink += image.pixel(x, y) != QColor(51, 94, 168).rgb();
    }
    return ink;
  };
  const int close = PixelOf(Project().Markers[2].Position);
  const int next = PixelOf(Project().Markers[3].Position);
  ASSERT_LE(next - close, 7);
  EXPECT_EQ(labelInk(close + 3, next - 2), 0);
  EXPECT_GT(labelInk(PixelOf(kClick) + 3, PixelOf(kClick) + 15), 0) << "the lone marker's label";
}

TEST_F(WaveEditorEditing, PopUpMenusAddAndDeleteMarkers) {
  WaveEditor_Frm& window = Open();
  PictureBox* strip = window.MarkerDrawPic();
  const QPoint empty(PixelOf(1000), 31);
  QTest::mouseMove(strip, empty);
  QTest::mousePress(strip, Qt::RightButton, {}, empty);
  ASSERT_TRUE(window.MarkerPop2Mnu()->isVisible());
  window.MarkerPop2Mnu()->hide();
  window.findChild<QAction*>("MarkerPop2AddMnu1")->trigger();
  ASSERT_EQ(Project().MarkerCount, 3);
  const int32_t added = PositionAtPixel(empty.x(), 2 * kFrames);
  EXPECT_EQ(Project().Markers[1].Position, added) << "sorted before the existing click";
  EXPECT_EQ(Project().Markers[1].Kind, kClickMarker);
  EXPECT_EQ(UndoCaption(), "Undo [Add Click]");

  const QPoint onFlag(PixelOf(added), kFlagY);
  QTest::mouseMove(strip, onFlag);
  QTest::mousePress(strip, Qt::RightButton, {}, onFlag);
  ASSERT_TRUE(window.MarkerPopMnu()->isVisible());
  window.MarkerPopMnu()->hide();
  window.findChild<QAction*>("MarkerPopDeleteMnu")->trigger();
  EXPECT_EQ(Project().MarkerCount, 2);
  EXPECT_EQ(Project().Markers[1].Position, kClick);
  EXPECT_EQ(UndoCaption(), "Undo [Delete Marker]");
}

TEST_F(WaveEditorEditing, TheSlideChooserAndTheMarkerStepping) {
  WaveEditor_Frm& window = Open();
  ASSERT_EQ(window.SlideCombo()->count(), 2);
  EXPECT_EQ(window.SlideCombo()->itemText(1).toStdString(), "2. two.wav title");
  window.ViewZoom_Mnu_Click(5);  // slide 1 alone in view
  window.SlideCombo()->setCurrentIndex(1);
  EXPECT_EQ(View().CurrentSlide, 2);
  EXPECT_EQ(Editor().ViewStart, kFrames + 1);
  EXPECT_EQ(Editor().ViewLength, kFrames);

  window.MenuItem("EditNextMarker_Mnu1")->trigger();
  EXPECT_EQ(View().CurrentMarker, 2);
  EXPECT_EQ(window.Label("DispMarkTypLbl")->text(), "Auto");
  window.MenuItem("EditNextMarker_Mnu1")->trigger();
  EXPECT_EQ(View().CurrentMarker, 1) << "after the last comes the first";
  window.MenuItem("EditNextMarker_Mnu2")->trigger();
  EXPECT_EQ(View().CurrentMarker, 2);
}

TEST_F(WaveEditorEditing, EditMenuCommandsChangeTheDocument) {
  WaveEditor_Frm& window = Open();
  const int32_t length = 2 * kFrames;
  const std::vector<int16_t> head = Left(1, 100);
  Editor().SelStart = 1;
  Editor().SelEnd = 100;
  window.MenuItem("EditCopy_Mnu")->trigger();
  Editor().SelStart = Editor().SelEnd = 5001;
  window.MenuItem("EditPaste_Mnu")->trigger();
  EXPECT_EQ(session->Document()->WavWaveINos, length + 100);
  EXPECT_EQ(Left(5001, 100), head);
  EXPECT_EQ(UndoCaption(), "Undo [Paste]");

  Editor().SelStart = 5001;
  Editor().SelEnd = 5100;
  window.MenuItem("EditCut_Mnu")->trigger();
  EXPECT_EQ(session->Document()->WavWaveINos, length);
  EXPECT_EQ(UndoCaption(), "Undo [Cut]");

  window.MenuItem("EditSelectAll_Mnu")->trigger();
  EXPECT_EQ(Editor().SelStart, 1);
  EXPECT_EQ(Editor().SelEnd, length);

  Editor().SelEnd = Editor().SelStart;
  SettingPut("", "SilceDur", "1");
  window.MenuItem("InsertSilence_Mnu")->trigger();  // the box's proposal: 1 second
  EXPECT_EQ(session->Document()->WavWaveINos, length + kRate);
  EXPECT_EQ(UndoCaption(), "Undo [Insert Silence]");
}

// Other programs take a copied stretch from the desktop clipboard as a WAV file, and the
// WAV audio they copy pastes as an insert.
TEST_F(WaveEditorEditing, CopiedAudioIsWavForOtherProgramsAndTheirWavPastes) {
  WaveEditor_Frm& window = Open();
  const std::vector<int16_t> head = Left(1, 100);
  Editor().SelStart = 1;
  Editor().SelEnd = 100;
  window.MenuItem("EditCopy_Mnu")->trigger();
  const QMimeData* offered = QGuiApplication::clipboard()->mimeData();
  ASSERT_NE(offered, nullptr);
  EXPECT_EQ(offered->data("audio/wav").toStdString(),
            PcmWave(2, kRate, 16, Interleave(head, head)));

  const std::vector<int16_t> ramp = Ramp(50, 7, 3);
  auto* theirs = new QMimeData;
  theirs->setData("audio/x-wav", QByteArray::fromStdString(PcmWave(1, kRate, 16, ramp)));
  QGuiApplication::clipboard()->setMimeData(theirs);
  Editor().SelStart = Editor().SelEnd = 5001;
  window.MenuItem("EditPaste_Mnu")->trigger();
  EXPECT_EQ(session->Document()->WavWaveINos, 2 * kFrames + 50);
  EXPECT_EQ(Left(5001, 50), ramp);
  EXPECT_EQ(UndoCaption(), "Undo [Paste]");
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(WaveEditorEditing, VolumeCommandsThroughTheirDialogs) {
  WaveEditor_Frm& window = Open();
  Editor().SelStart = 1;
  Editor().SelEnd = kFrames;
  WhenDialogShows([](QWidget* dialog) {
    auto* volume = dynamic_cast<VolumeChgDialog*>(dialog);
    ASSERT_NE(volume, nullptr);
    volume->VolSlider()->setValue(50);
    EXPECT_EQ(volume->findChild<QLabel*>("DispVolLbl2")->text(), "(Decrease volume by 50%)");
    volume->findChild<QPushButton*>("OkBtn")->click();
  });
  window.MenuItem("VolumeChange_Mnu")->trigger();
  EXPECT_EQ(session->Document()->WaveL(1), 4000);
  EXPECT_EQ(UndoCaption(), "Undo [Change Volume]");

  window.MenuItem("VolumeMaximize_Mnu")->trigger();
  EXPECT_EQ(session->Document()->WaveL(1), 32767);
  EXPECT_EQ(UndoCaption(), "Undo [Maximize]");

  // A refused value shows the form's message and the form again; Cancel changes nothing.
  WhenDialogShows([](QWidget* dialog) {
    auto* dynamic = dynamic_cast<DynCompDialog*>(dialog);
    ASSERT_NE(dynamic, nullptr);
    dynamic->Box(0)->setText("20");
    WhenDialogShows([](QWidget* again) {
      ASSERT_NE(dynamic_cast<DynCompDialog*>(again), nullptr);
      again->findChild<QPushButton*>("CancelBtn")->click();
    });
    dynamic->findChild<QPushButton*>("OkBtn")->click();
  });
  window.MenuItem("VolumeDynamicBal_Mnu")->trigger();
  EXPECT_EQ(ui.Texts(),
            std::vector<std::string>{"Invalid sampling duration\r\nEntered sampling duration is "
                                     "20\r\n(0.1 to 10.0 is allowed)"});
  EXPECT_EQ(UndoCaption(), "Undo [Maximize]");
}

// Without a selection Shorten Pauses works on the whole document and says what it did.
TEST_F(WaveEditorEditing, ShortenPausesThroughItsDialogSaysHowMuchItRemoved) {
  const std::vector<int16_t> tone(4000, 8000);
  const std::vector<int16_t> talk = Joined({tone, Zeros(16000), tone});
  ProjectPlan plan;
  plan.targetFolder = files.Path();
  plan.slides = {TrackSlide("talk.wav", PcmWave(1, kRate, 16, talk))};
  project = WriteProject(files.File("pauses.ini"), plan);
  WaveEditor_Frm& window = Open();
  WhenDialogShows([](QWidget* dialog) {
    auto* pauses = dynamic_cast<ShortenPausesDialog*>(dialog);
    ASSERT_NE(pauses, nullptr);
    EXPECT_EQ(pauses->Box(0)->text(), "0.8");
    EXPECT_EQ(pauses->Box(1)->text(), "-45");
    pauses->findChild<QPushButton*>("OkBtn")->click();
  });
  window.MenuItem("EditShortenPauses_Mnu")->trigger();
  // The 2 s pause keeps 0.8 s: 1.2 s go.
  EXPECT_EQ(ui.Texts(),
            std::vector<std::string>{"1 pause was shortened; 1.2 seconds were removed."});
  EXPECT_EQ(session->Document()->WavWaveINos, 24000 - 9600);
  EXPECT_EQ(UndoCaption(), "Undo [Shorten Pauses]");

  // While an operation shows its progress, Esc asks to cancel it, and any other key goes
  // unheard: nothing else starts halfway through.
  ProgressShowerClass& progress = window.ProgressShower();
  progress.SetIsVisible(true);
  Editor().SelStart = 1;
  Editor().SelEnd = 100;
  QCoreApplication::postEvent(window.Wave_Pic(1),
                              new QKeyEvent(QEvent::KeyPress, Qt::Key_Delete, Qt::NoModifier));
  EXPECT_FALSE(progress.CancelRequested());
  EXPECT_EQ(session->Document()->WavWaveINos, 24000 - 9600);
  QCoreApplication::postEvent(window.Wave_Pic(1),
                              new QKeyEvent(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier));
  // The operation looks for events only every 50 ms.
  std::this_thread::sleep_for(std::chrono::milliseconds(60));
  EXPECT_TRUE(progress.CancelRequested());
  progress.SetIsVisible(false);
}

TEST_F(WaveEditorEditing, LevelSlidesLevelsTheCheckedSlidesAndShowsTheirLoudnessAfter) {
  WaveEditor_Frm& window = Open();
  const std::vector<int16_t> secondBefore = Left(kFrames + 1, kFrames);
  WhenDialogShows([](QWidget* dialog) {
    auto* level = dynamic_cast<LevelSlidesDialog*>(dialog);
    ASSERT_NE(level, nullptr);
    EXPECT_EQ(level->windowTitle(), "Level Slides");
    EXPECT_EQ(level->TargetTxt()->text(), "-16.0");  // a stereo document
    QTableWidget* table = level->SlidesTbl();
    ASSERT_EQ(table->rowCount(), 2);
    EXPECT_EQ(table->item(0, 0)->checkState(), Qt::Checked);
    EXPECT_EQ(table->item(1, 0)->checkState(), Qt::Checked);
    // Both slides hold the same square wave: the same loudness before.
    EXPECT_EQ(table->item(0, 1)->text(), table->item(1, 1)->text());
    table->item(1, 0)->setCheckState(Qt::Unchecked);
    level->TargetTxt()->setText("5");  // louder than full scale: refused
    level->LevelBtn()->click();
    EXPECT_TRUE(level->LevelBtn()->isEnabled());
    EXPECT_EQ(table->item(0, 2)->text(), "");
    level->TargetTxt()->setText("-20");
    level->LevelBtn()->click();
    EXPECT_TRUE(level->LevelBtn()->isEnabled()) << "another slide may be leveled yet";
    const QString after = table->item(0, 2)->text();
    EXPECT_NEAR(after.toDouble(), -20.0, 0.1 + 1e-9) << after.toStdString();
    EXPECT_LT(table->item(0, 3)->text().toDouble(), -1.0);
    EXPECT_EQ(table->item(1, 2)->text(), "");  // not checked: not leveled
    table->item(0, 0)->setCheckState(Qt::Unchecked);
    EXPECT_FALSE(level->LevelBtn()->isEnabled()) << "no slide checked";
    table->item(1, 0)->setCheckState(Qt::Checked);
    EXPECT_TRUE(level->LevelBtn()->isEnabled());
    level->findChild<QPushButton*>("CloseBtn")->click();
  });
  window.MenuItem("VolumeLevelSlides_Mnu")->trigger();
  EXPECT_LT(std::abs(session->Document()->WaveL(1)), 8000);
  EXPECT_EQ(Left(kFrames + 1, kFrames), secondBefore);
  EXPECT_EQ(UndoCaption(), "Undo [Level Slides]");
  EXPECT_EQ(ui.Texts(),
            std::vector<std::string>{"The target loudness must lie between -70 and 0 LUFS."});

  window.MenuItem("Undo_Mnu")->trigger();
  EXPECT_EQ(session->Document()->WaveL(1), 8000);
}

}  // namespace
}  // namespace quorvane
