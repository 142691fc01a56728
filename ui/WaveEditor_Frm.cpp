// The window's lifecycle: loading, its menus and toolbars, the layout on resizing, the
// close question and the end of the session, and what the undo history shows in it.
#include "ui/WaveEditor_Frm.h"

#include <QAction>
#include <QCloseEvent>
#include <QComboBox>
#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollBar>
#include <QToolBar>

#include "app/ProjectFile.h"
#include "app/SessionLifetime.h"
#include "core/ErrorReport.h"
#include "core/Interaction.h"
#include "core/Settings.h"
#include "core/Trace.h"
#include "editing/ClipboardExchange.h"
#include "editing/EditCommands.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "storage/PeakBuilder.h"
#include "ui/AboutDialog.h"
#include "ui/EditorWindowProc.h"
#include "ui/ElidedLabel.h"
#include "ui/HostWindow.h"
#include "ui/PlayerLink.h"
#include "ui/ProgressShowerClass.h"
#include "ui/PunchIn.h"
#include "ui/ShowHelp.h"
#include "ui/ToolbarIcons.h"
#include "ui/UndoClearFrm.h"
#include "ui/ViewState.h"

namespace quorvane {

namespace {

constexpr int kTopFrameHeight = 34;
constexpr int kScaleHeight = 18;
constexpr int kMarkerStripHeight = 32;
constexpr int kScrollHeight = 17;
constexpr int kParkedX = -20;

const QColor kStripBackground(235, 233, 237);
const QColor kStripForeground(0, 0, 192);
const QColor kPlayMark(255, 0, 255);
const QColor kMouseLine(128, 128, 128);

}  // namespace

WaveEditor_Frm::WaveEditor_Frm() {
  Trace("Form_Load: Entry");
  try {
    setWindowTitle(kAppTitle);
    resize(900, 560);
    ConnectToHostWindow(*this);
    InstallEditorWindowProc(*this);

    central_ = new QWidget(this);
    setCentralWidget(central_);
    central_->installEventFilter(this);
    BuildMenus();
    BuildToolbars();
    BuildStrips();
    BuildLabels();
    BuildMarkerMenus();
    // The keys that move the cursor and play work from the start, not the slide chooser's.
    Wave_Pic(1)->setFocus();

    blinkCursorTimer_.setInterval(300);
    blinkMarkerTimer_.setInterval(479);
    mouseMoveWaitTimer_.setInterval(70);
    playPosTimer_.setInterval(40);
    connect(&blinkCursorTimer_, &QTimer::timeout, this, [this] { BlinkCursorTimer_Timer(); });
    connect(&blinkMarkerTimer_, &QTimer::timeout, this, [this] { BlinkMarkerTimer_Timer(); });
    connect(&mouseMoveWaitTimer_, &QTimer::timeout, this, [this] { MouseMoveWaitTimer_Timer(); });
    ConnectPlayback();
    peaksReadyTimer_.setSingleShot(true);
    peaksReadyTimer_.setInterval(40);
    connect(&peaksReadyTimer_, &QTimer::timeout, this, [this] {
      if (drawnFromPoints_ && isVisible()) Refresh_Wave_View();
    });
    // Called on the summary builder's thread; the redraw happens on this one.
    SetPeaksReadyNotice([this] {
      QMetaObject::invokeMethod(
          this, [this] { peaksReadyTimer_.start(); }, Qt::QueuedConnection);
    });

    labels_["PlayPosLbl"]->setText("00");
    markHilitShape_->bounds = QRect(kParkedX, 9, 4, 21);
    Button("Undo")->setEnabled(false);
    Button("Redo")->setEnabled(false);
    SetViewColours();
    SetLoopONOFF();
    SetDocumentWindow(this);
    Form_Resize();
  } catch (const std::exception& error) {
    TraceError(error, "WaveEditor_Frm", "Form_Load", true);
  }
  Trace("Form_Load: Exit");
}

WaveEditor_Frm::~WaveEditor_Frm() {
  SetPeaksReadyNotice(nullptr);
  if (&TheDocumentWindow() == this) SetDocumentWindow(nullptr);
}

QAction* WaveEditor_Frm::AddMenuItem(QMenu* menu, const QString& name, const QString& caption,
                                     std::function<void()> handler, const QKeySequence& shortcut) {
  QAction* action = menu->addAction(caption);
  action->setObjectName(name);
  if (!shortcut.isEmpty()) action->setShortcut(shortcut);
  if (handler) connect(action, &QAction::triggered, this, [handler] { handler(); });
  menuItems_[name] = action;
  return action;
}

// Keys that the wave pictures handle themselves (Space and the zoom keys, on release) are
// shown after a tab in the caption, so the menu lists them without taking them over.
void WaveEditor_Frm::BuildMenus() {
  QMenu* file = menuBar()->addMenu("&File");
  AddMenuItem(
      file, "FileImport_Mnu", "&Import...", [this] { FileImport_Mnu_Click(); },
      QKeySequence(Qt::CTRL | Qt::Key_I));
  AddMenuItem(
      file, "FileSave_Mnu", "&Save", [this] { FileSave_Mnu_Click(); }, QKeySequence::Save);
  AddMenuItem(
      file, "FileExit_Mnu", "E&xit", [this] { FileExit_Mnu_Click(); },
      QKeySequence(Qt::CTRL | Qt::Key_Q));

  QMenu* edit = menuBar()->addMenu("&Edit");
  undoMenu_ = AddMenuItem(
      edit, "Undo_Mnu", "&Undo", [this] { Undo_Mnu_Click(1); }, QKeySequence::Undo);
  undoMenu_->setEnabled(false);
  redoMenu_ = AddMenuItem(edit, "Redo_Mnu", "&Redo", [this] { Redo_Mnu_Click(); });
  redoMenu_->setShortcuts(
      {QKeySequence(Qt::CTRL | Qt::Key_Y), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z)});
  redoMenu_->setEnabled(false);
  edit->addSeparator();
  AddMenuItem(
      edit, "EditCut_Mnu", "Cu&t", [this] { EditCut_Mnu_Click(); }, QKeySequence::Cut);
  AddMenuItem(
      edit, "EditCopy_Mnu", "&Copy", [this] { EditCopy_Mnu_Click(); }, QKeySequence::Copy);
  AddMenuItem(
      edit, "EditPaste_Mnu", "&Paste", [this] { EditPaste_Mnu_Click(); }, QKeySequence::Paste);
  AddMenuItem(
      edit, "EditDelete_Mnu", "&Delete", [this] { EditDelete_Mnu_Click(); }, QKeySequence::Delete);
  AddMenuItem(
      edit, "EditSelectAll_Mnu", "&Select All", [this] { EditSelectAll_Mnu_Click(); },
      QKeySequence::SelectAll);
  edit->addSeparator();
  AddMenuItem(
      edit, "EditNextMarker_Mnu1", "&Next Marker", [this] { EditNextMarker_Mnu_Click(1); },
      QKeySequence(Qt::ALT | Qt::Key_Right));
  AddMenuItem(
      edit, "EditNextMarker_Mnu2", "Pre&vious Marker", [this] { EditNextMarker_Mnu_Click(2); },
      QKeySequence(Qt::ALT | Qt::Key_Left));
  edit->addSeparator();
  AddMenuItem(edit, "EditShortenPauses_Mnu", "S&horten Pauses...",
              [this] { EditShortenPauses_Mnu_Click(); });
  edit->addSeparator();
  AddMenuItem(edit, "UndoClear_Mnu", "C&lear Undo Data...", [this] {
    if (document_ != nullptr) document_->UndoClearFiles_UserAssisted();
  });

  QMenu* volume = menuBar()->addMenu("Vol&ume");
  AddMenuItem(volume, "VolumeMaximize_Mnu", "&Maximize", [this] { VolumeMaximize_Mnu_Click(); });
  AddMenuItem(volume, "VolumeChange_Mnu", "&Change...", [this] { VolumeChange_Mnu_Click(); });
  AddMenuItem(volume, "VolumeDynamicBal_Mnu", "&Dynamic Balance...",
              [this] { VolumeDynamicBal_Mnu_Click(); });
  AddMenuItem(volume, "VolumeLevelSlides_Mnu", "&Level Slides...",
              [this] { VolumeLevelSlides_Mnu_Click(); });
  AddMenuItem(volume, "VolumeCleanUpVoice_Mnu", "Clean Up &Voice...",
              [this] { VolumeCleanUpVoice_Mnu_Click(); });

  QMenu* view = menuBar()->addMenu("&View");
  const std::array<std::pair<int, const char*>, 5> zooms = {{{1, "&Zoom In\tShift+1"},
                                                             {2, "Zoom &Out\tShift+2"},
                                                             {4, "&Selection\tShift+3"},
                                                             {5, "Sli&de\tShift+4"},
                                                             {6, "&All\tShift+5"}}};
  for (const auto& [index, caption] : zooms) {
    if (index == 4) view->addSeparator();
    const int menuIndex = index;
    AddMenuItem(view, QString("ViewZoom_Mnu%1").arg(index), caption,
                [this, menuIndex] { ViewZoom_Mnu_Click(menuIndex); });
  }

  QMenu* insert = menuBar()->addMenu("&Insert");
  AddMenuItem(insert, "InsertSilence_Mnu", "&Silence...", [this] { InsertSilence_Mnu_Click(); });
  AddMenuItem(insert, "InsertRecording_Mnu", "&Recording...", nullptr,
              QKeySequence(Qt::CTRL | Qt::Key_R));

  QMenu* record = menuBar()->addMenu("&Record");
  QAction* punch = AddMenuItem(
      record, "PunchIn_Mnu", "Punch &In", [this] { PunchIn_Mnu_Click(); },
      QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R));
  punch->setCheckable(true);

  QMenu* play = menuBar()->addMenu("&Play");
  AddMenuItem(play, "PlayPause_Mnu", "&Play/Pause\tSpace", [this] { Wave_Pic_KeyPress(1, " "); });
  AddMenuItem(
      play, "PlaySlide_Mnu", "Play &Slide", [this] { PlayToolbar_ButtonClick("PlaySlid"); },
      QKeySequence(Qt::SHIFT | Qt::Key_F5));
  AddMenuItem(
      play, "PlayStop_Mnu", "S&top",
      [this] {
        if (Button("Stop")->isEnabled()) PlayToolbar_ButtonClick("Stop");
      },
      Qt::Key_Escape);
  QAction* loop = AddMenuItem(play, "PlayLoop_Mnu", "&Loop", nullptr);
  loop->setCheckable(true);
  connect(loop, &QAction::triggered, this, [this](bool pressed) {
    SetLoopOn(pressed);
    SetLoopONOFF();
  });

  QMenu* help = menuBar()->addMenu("&Help");
  AddMenuItem(
      help, "HelpManual_Mnu", "&Manual", [this] { ShowHelp(*this); }, Qt::Key_F1);
  AddMenuItem(help, "HelpAbout_Mnu", "&About Quorvane Audio...", [this] {
    AboutDialog dialog(this);
    dialog.exec();
  });
}

void WaveEditor_Frm::BuildToolbars() {
  topFrame_ = new QWidget(central_);
  topFrame_->setObjectName("TopFrame");
  auto* row = new QHBoxLayout(topFrame_);
  row->setContentsMargins(2, 0, 2, 0);
  row->setSpacing(4);
  const auto toolbar = [&](const char* name) {
    auto* bar = new QToolBar(name, topFrame_);
    bar->setObjectName(name);
    bar->setIconSize(QSize(20, 20));
    row->addWidget(bar);
    return bar;
  };
  const auto button = [&](QToolBar* bar, const QString& key, const QString& tip,
                          std::function<void()> handler) {
    QAction* action = bar->addAction(ToolbarIcon(key), key);
    action->setObjectName(key);
    action->setToolTip(tip.isEmpty() ? key : tip);
    if (handler) connect(action, &QAction::triggered, this, [handler] { handler(); });
    buttons_[key] = action;
    return action;
  };

  playToolbar_ = toolbar("PlayToolbar");
  for (const auto& [key, tip] : {std::pair{"PlayNew", "Play"},
                                 {"PlaySlid", "Play Slide"},
                                 {"Pause", "Pause/Continue"},
                                 {"Stop", "Stop"}}) {
    const QString k = key;
    button(playToolbar_, key, tip, [this, k] { PlayToolbar_ButtonClick(k); });
  }
  QAction* loop = button(playToolbar_, "Loop", "Loop", nullptr);
  loop->setCheckable(true);
  connect(loop, &QAction::triggered, this, [this](bool pressed) {
    SetLoopOn(pressed);
    SetLoopONOFF();
  });
  button(playToolbar_, "Record", "Record", nullptr);
  button(playToolbar_, "PunchIn", "Punch In (Ctrl+Shift+R)", [this] {
    PunchIn_Mnu_Click();
  })->setCheckable(true);
  Button("Pause")->setEnabled(false);
  Button("Stop")->setEnabled(false);

  fileToolbar_ = toolbar("FileToolbar");
  button(fileToolbar_, "Open", "Insert audio file", [this] { FileImport_Mnu_Click(); });
  button(fileToolbar_, "Save", "Save", [this] { FileSave_Mnu_Click(); });

  viewToolbar_ = toolbar("ViewToolbar");
  const std::array<std::tuple<const char*, const char*, int>, 5> zooms = {
      {{"ZoomIn", "Zoom In (Shift+1)", 1},
       {"ZoomOut", "Zoom Out (Shift+2)", 2},
       {"ZoomSel", "View Selection (Shift+3)", 5},
       {"ZoomSlid", "View Current Slide (Shift+4)", 6},
       {"ZoomAll", "View All (Shift+5)", 4}}};
  for (const auto& [key, tip, mode] : zooms) {
    const int zoomMode = mode;
    button(viewToolbar_, key, tip, [this, zoomMode] { ZoomView(zoomMode); });
  }

  editToolbar_ = toolbar("EditToolbar");
  button(editToolbar_, "Undo", "Undo", [this] { Undo_Mnu_Click(1); });
  button(editToolbar_, "Redo", "Redo", [this] { Redo_Mnu_Click(); });
  button(editToolbar_, "Cut", "Cut", [this] { EditCut_Mnu_Click(); });
  button(editToolbar_, "Copy", "Copy", [this] { EditCopy_Mnu_Click(); });
  button(editToolbar_, "Paste", "Paste", [this] { EditPaste_Mnu_Click(); });
  button(editToolbar_, "Delete", "Delete", [this] { EditDelete_Mnu_Click(); });

  slideCombo_ = new QComboBox(topFrame_);
  slideCombo_->setObjectName("SlideCombo");
  slideCombo_->setMinimumContentsLength(12);
  slideCombo_->installEventFilter(this);
  connect(slideCombo_, &QComboBox::currentIndexChanged, this, [this] { SlideCombo_Click(); });
  row->addWidget(slideCombo_, 1);
}

void WaveEditor_Frm::BuildStrips() {
  scalePic_ = new PictureBox(central_, kStripBackground);
  scalePic_->setObjectName("ScalePic");
  scalePic_->installEventFilter(this);
  markerDrawPic_ = new PictureBox(central_, kStripBackground);
  markerDrawPic_->setObjectName("MarkerDrawPic");
  markerDrawPic_->installEventFilter(this);
  markerDrawPic_->setFocusPolicy(Qt::ClickFocus);
  markerDrawPic_->setMouseTracking(true);
  markHilitShape_ = &markerDrawPic_->AddShape(QRect(kParkedX, 9, 4, 21), Qt::yellow);
  markHilitShape_->visible = false;
  markPickedShape_ = &markerDrawPic_->AddShape(QRect(kParkedX, 2, 7, 26), Qt::black);
  markPickedShape_->visible = false;

  for (int index = 1; index <= 2; ++index) {
    auto* picture = new PictureBox(central_, Qt::white);
    picture->setObjectName(QString("Wave_Pic%1").arg(index));
    picture->setFocusPolicy(Qt::StrongFocus);
    picture->setMouseTracking(true);
    picture->setCursor(Qt::CrossCursor);
    picture->installEventFilter(this);
    const auto slot = static_cast<size_t>(index);
    wavePic_[slot] = picture;
    mouseLine_[slot] = &picture->AddShape(QRect(kParkedX, 0, 1, 1), kMouseLine, true);
    blinkPosShp_[slot] = &picture->AddShape(QRect(kParkedX, 0, 3, 1), Qt::black);
    playPosShp_[slot] = &picture->AddShape(QRect(kParkedX, 0, 3, 1), kPlayMark);
  }

  hScroll_ = new QScrollBar(Qt::Horizontal, central_);
  hScroll_->setObjectName("HScroll");
  hScroll_->setRange(0, kScrollMaximum);
  hScroll_->installEventFilter(this);
  connect(hScroll_, &QScrollBar::valueChanged, this, [this] { HScroll_Change(); });

  progDisplayPic_ = new QFrame(central_);
  progDisplayPic_->setObjectName("ProgDisplayPic");
  static_cast<QFrame*>(progDisplayPic_)->setFrameStyle(QFrame::Box | QFrame::Plain);
  progDisplayPic_->setAutoFillBackground(true);
  progDisplayPic_->setGeometry(0, 0, 280, 26);
  progBarPic_ = new PictureBox(progDisplayPic_, QColor(255, 255, 255));
  progBarPic_->setObjectName("ProgBarPic");
  progBarPic_->setGeometry(3, 3, 204, 20);
  auto* cancel = new QPushButton("Cancel", progDisplayPic_);
  cancel->setObjectName("ProgCancelBtn");
  cancel->setGeometry(210, 2, 67, 22);
  progDisplayPic_->hide();
  progress_ = std::make_unique<ProgressShowerClass>(*progDisplayPic_, *progBarPic_, *cancel);
}

void WaveEditor_Frm::BuildLabels() {
  botFrame_ = new QWidget(central_);
  botFrame_->setObjectName("BotFrame");
  // Each value label is as wide as the longest text it shows: a time of up to ten hours, a
  // slide count, a marker's kind.
  const QString time = "0:00:00.00";
  QWidget* pair = nullptr;
  const auto add = [&](const QString& caption, const QString& name, const QString& text,
                       const QString& widest) {
    if (!caption.isEmpty()) {
      pair = new QWidget(botFrame_);
      auto* row = new QHBoxLayout(pair);
      row->setContentsMargins(0, 0, 0, 0);
      row->setSpacing(4);
      row->addWidget(new QLabel(caption, pair));
      statusPairs_.push_back(pair);
    }
    auto* label = new ElidedLabel(text, widest, pair);
    label->setObjectName(name);
    pair->layout()->addWidget(label);
    labels_[name] = label;
  };
  add("Total:", "DispTotDurLbl", "00:00:00.000", time);
  add("Selection:", "SelectLbl0", "00:00:00.000", time);
  add("From:", "SelectLbl1", "00:00:00.000", time);
  add("To:", "SelectLbl2", "00:00:00.000", time);
  add("Slide:", "DispSlideNoLbl", "00/00", "000/000");
  add("Length:", "DispSlideDurLbl", "00:00:00.000", time);
  add("Marker:", "DispMarkPosLbl", "00:00:00.000", time);
  add("", "DispMarkTypLbl", "", "Click");
  add("Play:", "PlayPosLbl", "00", time);
}

int WaveEditor_Frm::LayoutStatusLabels(int width) {
  // The caption and value pairs run left to right and go on in a new row where the next
  // would not fit, so at any width each is whole and none covers another.
  constexpr int kMargin = 6;
  constexpr int kSpacing = 10;
  constexpr int kRowGap = 2;
  constexpr int kTopBottom = 3;
  int x = kMargin;
  int y = kTopBottom;
  int rowHeight = 0;
  for (QWidget* pair : statusPairs_) {
    const QSize wanted = pair->sizeHint();
    const int pairWidth = std::min(wanted.width(), width - 2 * kMargin);
    if (x > kMargin && x + pairWidth > width - kMargin) {
      x = kMargin;
      y += rowHeight + kRowGap;
      rowHeight = 0;
    }
    pair->setGeometry(x, y, pairWidth, wanted.height());
    x += pairWidth + kSpacing;
    rowHeight = std::max(rowHeight, wanted.height());
  }
  return y + rowHeight + kTopBottom;
}

QLabel* WaveEditor_Frm::Label(const QString& name) const {
  const auto found = labels_.find(name);
  return found == labels_.end() ? nullptr : found->second;
}

QAction* WaveEditor_Frm::Button(const QString& key) const {
  const auto found = buttons_.find(key);
  return found == buttons_.end() ? nullptr : found->second;
}

QAction* WaveEditor_Frm::MenuItem(const QString& name) const {
  const auto found = menuItems_.find(name);
  return found == menuItems_.end() ? nullptr : found->second;
}

void WaveEditor_Frm::SetViewColours() {
  for (int index = 1; index <= 2; ++index) Wave_Pic(index)->SetBackground(Qt::white);
  scalePic_->SetBackground(kStripBackground);
  markerDrawPic_->SetBackground(kStripBackground);
  for (int index = 1; index <= 2; ++index) {
    playPosShp_[static_cast<size_t>(index)]->border = kPlayMark;
  }
}

void WaveEditor_Frm::SetLoopONOFF() {
  try {
    Button("Loop")->setChecked(LoopOn());
    MenuItem("PlayLoop_Mnu")->setChecked(LoopOn());
    SettingPut("Setting", "LoopOn", LoopOn() ? "1" : "0");
    PassLoopToPlayer(LoopOn());
  } catch (const std::exception& error) {
    UserInterface().Message(LocatedErrorText(ErrorDescription(error), "WaveEditor_Frm",
                                             "SetLoopONOFF", ErrorLine(error)));
  }
}

void WaveEditor_Frm::Form_Resize() {
  const int width = std::max(central_->width(), 300);
  const int height = std::max(central_->height(), 200);
  topFrame_->setGeometry(0, 0, width, kTopFrameHeight);
  scalePic_->setGeometry(0, kTopFrameHeight, width, kScaleHeight);
  markerDrawPic_->setGeometry(0, kTopFrameHeight + kScaleHeight - 1, width, kMarkerStripHeight);
  const int botFrameHeight = LayoutStatusLabels(width);
  botFrame_->setGeometry(0, height - botFrameHeight, width, botFrameHeight);
  hScroll_->setGeometry(0, height - botFrameHeight - kScrollHeight, width, kScrollHeight);
  slideCombo_->setMinimumWidth(std::max(width / 6, 800 / 15));
  progDisplayPic_->move((central_->width() - progDisplayPic_->width()) / 2,
                        kTopFrameHeight + (kScaleHeight - progDisplayPic_->height()) / 2);
  Refresh_Wave_View();
}

// ---- Closing ---------------------------------------------------------------------------

bool WaveEditor_Frm::Form_QueryUnload() {
  if (Editor().WaveChanged) {
    MessageRequest question;
    question.text = "The current waveform has changed.\nDo you wish to save it?";
    question.icon = MessageIcon::Question;
    question.buttons = MessageButtons::YesNoCancel;
    const MessageAnswer answer = UserInterface().MsgBox(question);
    if (answer == MessageAnswer::Cancel) return false;
    if (answer == MessageAnswer::Yes) FileSave_Mnu_Click();
  }
  BusyPointer busy;
  PlayControl(6);
  ReleasePlayingFiles(false);
  ClipboardRelease();
  if (SoundDriverHandle() != 0) SoundDriverSwitch(false, *this);
  SetPlayToolbar({});
  SetPlayDocument(nullptr);
  ReleasePlayer();
  blinkCursorTimer_.stop();
  blinkMarkerTimer_.stop();
  playPosTimer_.stop();
  document_ = nullptr;
  if (sessionEnd_) sessionEnd_(LastInsertFolder());
  return true;
}

void WaveEditor_Frm::closeEvent(QCloseEvent* event) {
  if (unloaded_) {
    event->accept();
    return;
  }
  if (!Form_QueryUnload()) {
    event->ignore();
    return;
  }
  unloaded_ = true;
  event->accept();
  SetDocumentWindow(nullptr);
  emit Unloaded();
}

void WaveEditor_Frm::FileExit_Mnu_Click() { close(); }

void WaveEditor_Frm::FileSave_Mnu_Click() {
  if (document_ == nullptr) return;
  if (IsPlaying()) PlayControl(2);
  ReleasePlayingFiles(true);
  ProjectFileSave(*document_);
}

// ---- What the undo history shows -------------------------------------------------------

namespace {

// The undo history's caption ("Undo [Delete]") with Alt reaching its first letter.
QString WithMnemonic(const std::string& caption) {
  return "&" + QString::fromStdString(caption).replace("&", "&&");
}

}  // namespace

void WaveEditor_Frm::SetUndoMenuItem(const std::string& caption, bool enabled) {
  undoMenu_->setText(WithMnemonic(caption));
  undoMenu_->setEnabled(enabled);
}

void WaveEditor_Frm::SetUndoButton(bool enabled, const std::string& toolTip) {
  Button("Undo")->setEnabled(enabled);
  if (!toolTip.empty()) Button("Undo")->setToolTip(QString::fromStdString(toolTip));
}

void WaveEditor_Frm::SetRedoItem(const std::string& caption, bool enabled) {
  const QString text = QString::fromStdString(caption);
  redoMenu_->setText(WithMnemonic(caption));
  redoMenu_->setEnabled(enabled);
  Button("Redo")->setEnabled(enabled);
  Button("Redo")->setToolTip(text);
}

UndoClearChoice WaveEditor_Frm::ShowUndoClearFrm(const std::vector<std::string>& AvailList) {
  UndoClearFrm dialog(this, AvailList);
  dialog.exec();
  return dialog.Choice();
}

}  // namespace quorvane
