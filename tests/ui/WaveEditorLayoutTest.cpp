// What the window's layout lets a user read: the status labels at every window size, the
// dialogs, and the pictures on a scaled screen.
#include <QApplication>
#include <QDialog>
#include <QFontMetrics>
#include <QLabel>

#include "storage/EditorState.h"
#include "tests/ui/EditorWindowFixture.h"

namespace quorvane {
namespace {

using namespace quorvane::testing;

using WaveEditorLayout = WaveEditorWindow;

QRect InFrame(const QWidget* widget, const QWidget* frame) {
  return QRect(widget->mapTo(frame, QPoint(0, 0)), widget->size());
}

// At the smallest size, at the usual one and on a large screen, every status label shows
// its whole text, times of hours included, and none covers another.
TEST_F(WaveEditorLayout, StatusLabelsShowWholeTimesAndNeverOverlap) {
  WaveEditor_Frm& window = Open();
  for (const QSize size : {QSize(400, 300), QSize(820, 520), QSize(1920, 1080)}) {
    SCOPED_TRACE(::testing::Message() << size.width() << "x" << size.height());
    window.resize(size);
    ASSERT_TRUE(QTest::qWaitFor([&] { return window.size() == size; }, 2000));
    for (const char* name : {"DispTotDurLbl", "SelectLbl0", "SelectLbl1", "SelectLbl2",
                             "DispSlideDurLbl", "DispMarkPosLbl", "PlayPosLbl"}) {
      window.Label(name)->setText("1:02:05.25");
    }
    QApplication::processEvents();
    const QWidget* frame = window.Label("PlayPosLbl")->parentWidget()->parentWidget();
    const QList<QLabel*> labels = frame->findChildren<QLabel*>();
    ASSERT_EQ(labels.size(), 8 + 9) << "eight captions and nine values";
    for (const QLabel* label : labels) {
      const std::string text = label->text().toStdString();
      EXPECT_TRUE(frame->rect().contains(InFrame(label, frame))) << text;
      EXPECT_LE(label->fontMetrics().horizontalAdvance(label->text()),
                label->contentsRect().width() - 2 * label->margin())
          << text << " is cut";
      for (const QLabel* other : labels) {
        if (other == label) continue;
        EXPECT_FALSE(InFrame(label, frame).intersects(InFrame(other, frame)))
            << text << " and " << other->text().toStdString();
      }
    }
    EXPECT_GE(window.Wave_Pic(1)->height(), 40) << "the waveform keeps room";
  }
}

// Each dialog keeps one size, wide enough for a title bar to show its whole title beside
// the window's buttons.
TEST_F(WaveEditorLayout, DialogsHaveOneSizeAndRoomForTheirTitles) {
  WaveEditor_Frm& window = Open();
  Editor().SelStart = 1;
  Editor().SelEnd = kFrames;  // Dynamic Balance works on a stretch
  for (const char* item :
       {"VolumeDynamicBal_Mnu", "VolumeChange_Mnu", "VolumeLevelSlides_Mnu", "HelpAbout_Mnu"}) {
    SCOPED_TRACE(item);
    bool shown = false;
    WhenDialogShows([&](QWidget* shownWidget) {
      auto* dialog = qobject_cast<QDialog*>(shownWidget);
      ASSERT_NE(dialog, nullptr);
      shown = true;
      EXPECT_EQ(dialog->minimumSize(), dialog->maximumSize()) << "a fixed size";
      EXPECT_EQ(dialog->size(), dialog->minimumSize());
      QFont bold = dialog->font();
      bold.setBold(true);
      EXPECT_GE(dialog->width(),
                QFontMetrics(bold).horizontalAdvance(dialog->windowTitle().trimmed()) + 100)
          << dialog->windowTitle().toStdString();
      dialog->reject();
    });
    window.MenuItem(item)->trigger();
    EXPECT_TRUE(shown);
    EXPECT_TRUE(ui.messages.empty()) << ui.Texts().front();
  }
}

// On a scaled screen (ctest runs this case again with QT_SCALE_FACTOR=2) the pictures keep
// one pixel per screen pixel, so their lines and text are drawn sharp, not enlarged.
TEST_F(WaveEditorLayout, PicturesKeepOnePixelPerScreenPixel) {
  WaveEditor_Frm& window = Open();
  const qreal ratio = window.devicePixelRatioF();
  const QString factor = qEnvironmentVariable("QT_SCALE_FACTOR", "1");
  EXPECT_EQ(ratio, factor.toDouble());
  for (PictureBox* picture : {window.Wave_Pic(1), window.ScalePic(), window.MarkerDrawPic()}) {
    EXPECT_EQ(picture->Image().width(), qRound(picture->width() * ratio));
    EXPECT_EQ(picture->Image().height(), qRound(picture->height() * ratio));
  }
}

}  // namespace
}  // namespace quorvane
