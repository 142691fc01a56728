// The editor window driven as a user drives it, on a generated two-slide stereo project:
// what it draws, what the mouse and keys select and zoom, and what closing asks.
#include <gtest/gtest.h>

#include <QAction>
#include <QLabel>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <filesystem>

#include "core/Environment.h"
#include "core/ProjectTables.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "tests/support/ProjectBuilder.h"
#include "tests/ui/EditorWindowFixture.h"
#include "ui/Main.h"
#include "ui/ViewGeometry.h"
#include "ui/ViewState.h"
#include "ui/WaveEditor_Frm.h"

namespace quorvane {
namespace {

using namespace quorvane::testing;

TEST_F(WaveEditorWindow, DrawsTheTimelineWithItsSlidesMarkersAndLabels) {
  WaveEditor_Frm& window = Open();
  const QPixmap& left = window.Wave_Pic(1)->Image();
  const QPixmap& strip = window.MarkerDrawPic()->Image();
  const int slide2 = PixelOf(kFrames + 1);
  const int click = PixelOf(1 + kRate / 4);
  const int quarter = static_cast<int>(View().CentreY / 2);

  EXPECT_TRUE(window.Wave_Pic(2)->isVisible()) << "stereo shows both channels";
  EXPECT_EQ(PixelAt(left, slide2, 1), Rgb(QColor(255, 0, 0))) << "slide boundary line";
  EXPECT_EQ(PixelAt(left, click, 1), Rgb(QColor(80, 80, 255))) << "click marker line";
  EXPECT_EQ(PixelAt(left, PixelOf(kFrames + 1 + kRate / 10), 1), Rgb(QColor(0, 128, 0)))
      << "auto marker line";
  EXPECT_EQ(PixelAt(left, click + 8, quarter), Rgb(QColor(192, 192, 192))) << "quarter line";
  EXPECT_EQ(PixelAt(left, click + 8, 1), Rgb(Qt::white));
  EXPECT_EQ(PixelAt(strip, click + 20, 31), Rgb(QColor(51, 94, 168))) << "current-slide band";
  EXPECT_EQ(PixelAt(strip, slide2 + 40, 31), Rgb(QColor(235, 233, 237)));
  EXPECT_EQ(PixelAt(window.WaveBak_Pic(1), slide2, 1), PixelAt(left, slide2, 1));
  // Two half-second slides at 8 kHz; the click marker sits a quarter second into slide 1.
  EXPECT_EQ(window.Label("DispTotDurLbl")->text(), "01");
  EXPECT_EQ(window.Label("DispSlideNoLbl")->text(), "1/2");
  EXPECT_EQ(window.Label("DispSlideDurLbl")->text(), "00.50");
  EXPECT_EQ(window.Label("DispMarkTypLbl")->text(), "Click");
  EXPECT_EQ(window.Label("DispMarkPosLbl")->text(), "00.25");
  EXPECT_FALSE(window.HScroll()->isEnabled()) << "the whole document is in view";
  // One read per drawn line: about ViewPixels / 0.85 per channel, whatever the length.
  EXPECT_LE(window.DocumentReads(), 2 * 1.1 * View().ViewPixels / 0.85);
}

TEST_F(WaveEditorWindow, DraggingSelectsWithInvertedFeedbackAndEdgesMove) {
  WaveEditor_Frm& window = Open();
  PictureBox* picture = window.Wave_Pic(1);
  const int32_t from = PositionAtPixel(100, kFrames * 2);
  const int32_t to = PositionAtPixel(300, kFrames * 2);

  QTest::mousePress(picture, Qt::LeftButton, {}, QPoint(100, 5));
  QTest::qWait(100);  // moves in the first 70 ms after a plain press are not looked at
  window.ResetDocumentReads();
  QTest::mouseMove(picture, QPoint(300, 5));
  EXPECT_EQ(window.DocumentReads(), 0) << "a drag step reads nothing";
  const QImage shown = picture->Image().toImage();
  const QImage kept = window.WaveBak_Pic(1).toImage();
  EXPECT_EQ(shown.pixel(200, 5) & 0xFFFFFF, ~kept.pixel(200, 5) & 0xFFFFFF) << "inverted";
  EXPECT_EQ(shown.pixel(400, 5), kept.pixel(400, 5)) << "outside the drag as drawn";
  QTest::mouseRelease(picture, Qt::LeftButton, {}, QPoint(300, 5));

  EXPECT_EQ(Editor().SelStart, from);
  EXPECT_EQ(Editor().SelEnd, to);
  EXPECT_EQ(Editor().CursorPos, to);
  EXPECT_EQ(PixelAt(picture->Image(), 200, 1), Rgb(QColor(64, 64, 0))) << "selection background";
  EXPECT_EQ(PixelAt(picture->Image(), 400, 1), Rgb(Qt::white));

  // The start edge grabbed and dragged past the end edge: the old end becomes the start.
  const int startEdge = PixelOf(from);
  QTest::mousePress(picture, Qt::LeftButton, {}, QPoint(startEdge, 5));
  QTest::mouseMove(picture, QPoint(450, 5));
  QTest::mouseRelease(picture, Qt::LeftButton, {}, QPoint(450, 5));
  EXPECT_EQ(Editor().SelStart, to);
  EXPECT_EQ(Editor().SelEnd, PositionAtPixel(450, kFrames * 2));

  // A plain click leaves a one-sample selection where it was.
  QTest::mouseClick(picture, Qt::LeftButton, {}, QPoint(600, 5));
  EXPECT_EQ(Editor().SelStart, PositionAtPixel(600, kFrames * 2));
  EXPECT_EQ(Editor().SelEnd, Editor().SelStart);
  EXPECT_EQ(View().CurrentSlide, 2) << "a click in slide 2 makes it current";
  EXPECT_EQ(window.Label("DispSlideNoLbl")->text(), "2/2");
}

TEST_F(WaveEditorWindow, ZoomKeysAndTheScrollBarMoveTheView) {
  WaveEditor_Frm& window = Open();
  PictureBox* picture = window.Wave_Pic(1);
  Editor().SelStart = 0;
  QTest::keyRelease(picture, Qt::Key_3, Qt::ShiftModifier);
  ASSERT_EQ(ui.Texts(), std::vector<std::string>{"No selection found"});
  EXPECT_EQ(ui.messages[0].icon, MessageIcon::Exclamation);

  Editor().CursorPos = kFrames + 1;  // in the middle, where zooming in keeps it
  QTest::keyRelease(picture, Qt::Key_1, Qt::ShiftModifier);
  EXPECT_EQ(Editor().ViewStart, 1601);
  EXPECT_EQ(Editor().ViewLength, 4800);
  EXPECT_TRUE(window.HScroll()->isEnabled());
  window.HScroll()->setValue(10000);
  EXPECT_EQ(Editor().ViewStart, 8000 - 4800) << "scrolled to the end";

  window.MenuItem("ViewZoom_Mnu6")->trigger();
  EXPECT_TRUE(View().ViewAll);
  EXPECT_EQ(Editor().ViewLength, 8000);
}

TEST_F(WaveEditorWindow, ClosingAsksAboutUnsavedChangesAndCancelKeepsTheSession) {
  WaveEditor_Frm& window = Open();
  Editor().SelStart = 101;
  Editor().SelEnd = 200;
  window.MenuItem("EditDelete_Mnu")->trigger();
  EXPECT_EQ(session->Document()->WavWaveINos, 2 * kFrames - 100);
  EXPECT_EQ(window.MenuItem("Undo_Mnu")->iconText(), "Undo [Delete]");
  EXPECT_TRUE(window.Button("Undo")->isEnabled());

  const std::string sessionFolder = Env().SessionFolder;
  QSignalSpy unloaded(&window, &WaveEditor_Frm::Unloaded);
  ui.Answer(MessageAnswer::Cancel);
  window.MenuItem("FileExit_Mnu")->trigger();
  ASSERT_EQ(ui.Texts(),
            std::vector<std::string>{"The current waveform has changed.\nDo you wish to save it?"});
  EXPECT_EQ(ui.messages[0].buttons, MessageButtons::YesNoCancel);
  EXPECT_EQ(ui.messages[0].icon, MessageIcon::Question);
  EXPECT_TRUE(window.isVisible());
  EXPECT_NE(session->Document(), nullptr);

  ui.Answer(MessageAnswer::No);
  window.close();
  EXPECT_EQ(unloaded.count(), 1);
  EXPECT_EQ(session->Document(), nullptr) << "the session ended with the window";
  EXPECT_FALSE(std::filesystem::exists(sessionFolder));
  EXPECT_EQ(IniValue(ReadFileBytes(project), "1", "Duration"), std::nullopt) << "nothing was saved";
}

TEST_F(WaveEditorWindow, AnUnchangedDocumentClosesWithoutAQuestion) {
  WaveEditor_Frm& window = Open();
  window.close();
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_EQ(session->Document(), nullptr);
}

}  // namespace
}  // namespace quorvane
