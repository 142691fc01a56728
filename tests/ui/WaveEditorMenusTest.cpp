// The menus as a keyboard user meets them: mnemonics that reach one item each, every
// shortcut shown beside its item, and each shortcut reaching its command; the Help menu.
#include <QAction>
#include <QImage>
#include <QMenu>
#include <QMenuBar>
#include <QSignalSpy>
#include <QTextBrowser>
#include <map>
#include <set>

#include "platform/FfmpegLibraries.h"
#include "tests/ui/EditorWindowFixture.h"
#include "ui/AboutDialog.h"
#include "ui/ToolbarIcons.h"

namespace quorvane {
namespace {

using namespace quorvane::testing;

using WaveEditorMenus = WaveEditorWindow;

// The key a menu shows beside an item: its shortcut, or what follows a tab in its caption.
QString ShownKey(const QAction* action) {
  const qsizetype tab = action->text().indexOf('\t');
  if (tab >= 0) return action->text().mid(tab + 1);
  return action->shortcut().toString(QKeySequence::NativeText);
}

// The letter Alt reaches in a caption, lower case; none without a mnemonic.
QChar Mnemonic(const QString& caption) {
  const qsizetype amp = caption.indexOf('&');
  return amp >= 0 && amp + 1 < caption.size() ? caption[amp + 1].toLower() : QChar();
}

std::vector<QMenu*> Menus(WaveEditor_Frm& window) {
  std::vector<QMenu*> menus;
  for (QAction* top : window.menuBar()->actions()) {
    if (top->menu() != nullptr) menus.push_back(top->menu());
  }
  return menus;
}

TEST_F(WaveEditorMenus, EachMnemonicReachesOneItemAndEveryShortcutIsShown) {
  WaveEditor_Frm& window = Open();
  std::vector<QString> barCaptions;
  for (QMenu* menu : Menus(window)) barCaptions.push_back(menu->title());
  const auto expectUnique = [](const std::vector<QString>& captions, const QString& where) {
    std::map<QChar, QString> taken;
    for (const QString& caption : captions) {
      const QChar letter = Mnemonic(caption);
      EXPECT_FALSE(letter.isNull()) << where.toStdString() << ": " << caption.toStdString();
      const auto [at, fresh] = taken.emplace(letter, caption);
      EXPECT_TRUE(fresh) << where.toStdString() << ": " << caption.toStdString() << " and "
                         << at->second.toStdString();
    }
  };
  expectUnique(barCaptions, "menu bar");
  // The items that open a dialog, and only they, end in "...".
  const std::set<QString> dialogs = {"FileImport_Mnu",        "UndoClear_Mnu",
                                     "VolumeChange_Mnu",      "VolumeDynamicBal_Mnu",
                                     "VolumeLevelSlides_Mnu", "InsertSilence_Mnu",
                                     "InsertRecording_Mnu",   "HelpAbout_Mnu",
                                     "EditShortenPauses_Mnu", "VolumeCleanUpVoice_Mnu"};
  for (QMenu* menu : Menus(window)) {
    std::vector<QString> captions;
    for (QAction* item : menu->actions()) {
      if (item->isSeparator()) continue;
      captions.push_back(item->text());
      EXPECT_EQ(item->text().section('\t', 0, 0).endsWith("..."),
                dialogs.count(item->objectName()) == 1)
          << item->text().toStdString();
    }
    expectUnique(captions, menu->title());
  }

  const std::vector<std::pair<const char*, const char*>> shown = {
      {"FileImport_Mnu", "Ctrl+I"},
      {"FileSave_Mnu", "Ctrl+S"},
      {"FileExit_Mnu", "Ctrl+Q"},
      {"Undo_Mnu", "Ctrl+Z"},
      {"Redo_Mnu", "Ctrl+Y"},
      {"EditCut_Mnu", "Ctrl+X"},
      {"EditCopy_Mnu", "Ctrl+C"},
      {"EditPaste_Mnu", "Ctrl+V"},
      {"EditDelete_Mnu", "Del"},
      {"EditSelectAll_Mnu", "Ctrl+A"},
      {"EditNextMarker_Mnu1", "Alt+Right"},
      {"EditNextMarker_Mnu2", "Alt+Left"},
      {"ViewZoom_Mnu1", "Shift+1"},
      {"ViewZoom_Mnu2", "Shift+2"},
      {"ViewZoom_Mnu4", "Shift+3"},
      {"ViewZoom_Mnu5", "Shift+4"},
      {"ViewZoom_Mnu6", "Shift+5"},
      {"InsertRecording_Mnu", "Ctrl+R"},
      {"PlayPause_Mnu", "Space"},
      {"PlaySlide_Mnu", "Shift+F5"},
      {"PlayStop_Mnu", "Esc"},
      {"HelpManual_Mnu", "F1"},
  };
  for (const auto& [name, key] : shown) {
    ASSERT_NE(window.MenuItem(name), nullptr) << name;
    EXPECT_EQ(ShownKey(window.MenuItem(name)).toStdString(), key) << name;
  }
}

// Each listed shortcut, pressed where the waveform has the keyboard, triggers its item once
// (a key given to two items would trigger neither).
TEST_F(WaveEditorMenus, EachShortcutReachesItsCommand) {
  const std::vector<std::pair<QKeySequence, const char*>> cases = {
      {QKeySequence(Qt::CTRL | Qt::Key_I), "FileImport_Mnu"},
      {QKeySequence(Qt::CTRL | Qt::Key_S), "FileSave_Mnu"},
      {QKeySequence(Qt::CTRL | Qt::Key_R), "InsertRecording_Mnu"},
      {QKeySequence(Qt::SHIFT | Qt::Key_F5), "PlaySlide_Mnu"},
      {QKeySequence(Qt::Key_Escape), "PlayStop_Mnu"},
      {QKeySequence(Qt::ALT | Qt::Key_Right), "EditNextMarker_Mnu1"},
      {QKeySequence(Qt::ALT | Qt::Key_Left), "EditNextMarker_Mnu2"},
      {QKeySequence(Qt::Key_F1), "HelpManual_Mnu"},
      {QKeySequence(Qt::CTRL | Qt::Key_Q), "FileExit_Mnu"},
  };
  WaveEditor_Frm& window = Open();
  const ScopedVariable noBrowser("PATH", files.File("no-programs"));
  for (const auto& [key, name] : cases) {
    SCOPED_TRACE(name);
    QSignalSpy triggered(window.MenuItem(name), &QAction::triggered);
    // A dialog the command opens is closed again at once.
    WhenDialogShows([](QWidget* dialog) {
      if (dialog != nullptr) dialog->close();
    });
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTest::keySequence(window.Wave_Pic(1), key);
    EXPECT_EQ(triggered.count(), 1);
  }
  EXPECT_FALSE(window.isVisible()) << "Ctrl+Q closed the window";
}

// Each zoom button has a picture of its own, at the screen's scale and at twice that.
TEST(ToolbarIcons, TheFiveZoomButtonsLookDifferent) {
  const std::vector<QString> keys = {"ZoomIn", "ZoomOut", "ZoomSel", "ZoomSlid", "ZoomAll"};
  for (const qreal ratio : {1.0, 2.0}) {
    std::vector<QImage> pictures;
    for (const QString& key : keys) {
      pictures.push_back(ToolbarIcon(key).pixmap(QSize(20, 20), ratio).toImage());
    }
    for (size_t a = 0; a < keys.size(); ++a) {
      for (size_t b = a + 1; b < keys.size(); ++b) {
        EXPECT_NE(pictures[a], pictures[b])
            << keys[a].toStdString() << " and " << keys[b].toStdString() << " at " << ratio;
      }
    }
  }
}

// Without a browser on the desktop, F1 shows the manual in a window of the editor's own.
TEST_F(WaveEditorMenus, WithoutABrowserTheManualOpensInTheEditorsOwnWindow) {
  WaveEditor_Frm& window = Open();
  const ScopedVariable noBrowser("PATH", files.File("no-programs"));
  QTest::keyClick(window.Wave_Pic(1), Qt::Key_F1);
  auto* manual = window.findChild<QTextBrowser*>("ManualWindow");
  ASSERT_NE(manual, nullptr);
  EXPECT_TRUE(manual->isVisible());
  EXPECT_TRUE(manual->isWindow());
  EXPECT_EQ(manual->windowTitle().toStdString(), "Quorvane Audio: user manual");
  EXPECT_TRUE(manual->toPlainText().contains("Keys"));
}

TEST_F(WaveEditorMenus, AboutNamesTheVersionAndTheLicencesOfQtFfmpegAndLame) {
  WaveEditor_Frm& window = Open();
  QString said;
  WhenDialogShows([&](QWidget* dialog) {
    auto* about = dynamic_cast<AboutDialog*>(dialog);
    ASSERT_NE(about, nullptr);
    said = about->Text();
    about->reject();
  });
  window.MenuItem("HelpAbout_Mnu")->trigger();
  EXPECT_TRUE(said.contains(QString("Quorvane Audio ") + QUORVANE_VERSION)) << said.toStdString();
  EXPECT_TRUE(said.contains(QString("Qt ") + qVersion()));
  EXPECT_TRUE(said.contains(QString::fromStdString("FFmpeg " + FfmpegVersion())));
  EXPECT_TRUE(said.contains(QString::fromStdString(FfmpegLicence())));
  EXPECT_TRUE(said.contains("LAME"));
  EXPECT_EQ(said.count("GNU Lesser General Public License"), 2) << "Qt's and LAME's";
}

}  // namespace
}  // namespace quorvane
