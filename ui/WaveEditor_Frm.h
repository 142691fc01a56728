// The editor window: the toolbars and slide chooser on top, the time scale, the marker
// strip, one wave picture per channel, the scroll bar and the labels below. It draws what
// the document and the view state say and turns the mouse, keys, menus and toolbars into
// calls of the document, the edit commands and the view arithmetic; it never reaches into
// the block tables.
#pragma once

#include <QMainWindow>
#include <QPixmap>
#include <QPoint>
#include <QTimer>
#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "editing/InsertAudioFile.h"
#include "storage/DocumentWindow.h"
#include "ui/PictureBox.h"

class QAction;
class QComboBox;
class QLabel;
class QScrollBar;
class QMenu;
class QToolBar;
class QPainter;

namespace quorvane {

class FileMemoClass;
class ProgressShowerClass;
class PunchIn;

// The scroll bar's range is 0 to this.
inline constexpr int32_t kScrollMaximum = 10000;

// Bits of the shift state the mouse and key handlers are given.
inline constexpr int kShiftMask = 1;
inline constexpr int kCtrlMask = 2;
inline constexpr int kAltMask = 4;

class WaveEditor_Frm : public QMainWindow, public DocumentWindow, public InsertFilePrompts {
  Q_OBJECT

 public:
  // Form_Load: builds the window (not shown) and installs it as the document's window.
  WaveEditor_Frm();
  ~WaveEditor_Frm() override;

  // The document the window shows and edits; null before loading and after the session.
  void AttachDocument(FileMemoClass* document) { document_ = document; }
  // What ends the session after the window agreed to close: releasing the document and
  // the storage engine's files and folders.
  void SetSessionEnd(std::function<void(const std::string& lastWaveDir)> end) {
    sessionEnd_ = std::move(end);
  }
  ProgressShowerClass& ProgressShower() { return *progress_; }

  // Drawing of the view.
  void Refresh_Wave_View();
  void RefreshDrawScale();
  void RefreshDrawMarkers();
  void RefreshScrollScale();
  void PositionBlinkCursor();
  void UpdateSlideInfo();
  void UpdateSelectionLabels(bool Dragging);
  void UpdateSlideCombo();
  void DrawMarkerFlag(int32_t X, int32_t Kind, int32_t Number, int32_t TextColour);

  // Commands reached from menus, toolbars and keys.
  void ZoomView(int32_t Mode);
  void ViewZoom_Mnu_Click(int32_t Index);
  void FileSave_Mnu_Click();
  void FileExit_Mnu_Click();
  void Undo_Mnu_Click(int32_t Index);
  void Redo_Mnu_Click();
  void EditCopy_Mnu_Click();
  void EditCut_Mnu_Click();
  void EditPaste_Mnu_Click();
  void EditDelete_Mnu_Click();
  void EditSelectAll_Mnu_Click();
  void EditNextMarker_Mnu_Click(int32_t Index);
  void InsertSilence_Mnu_Click();
  void FileImport_Mnu_Click();
  void VolumeChange_Mnu_Click();
  void VolumeMaximize_Mnu_Click();
  void VolumeDynamicBal_Mnu_Click();
  void EditShortenPauses_Mnu_Click();
  void VolumeCleanUpVoice_Mnu_Click();
  void VolumeLevelSlides_Mnu_Click();

  // ---- Playback and recording (WaveEditor_FrmPlay.cpp) ----
  void PlayToolbar_ButtonClick(const QString& key);
  // While playing, playback goes on from `position` to the end of what it was playing (or
  // of the document, when the position lies past it).
  void MovePlayPosition(int32_t position);
  void PlayPosTimer_Timer();
  void PlayCursorPositioning();
  void InsertRecording_Mnu_Click();
  // Starts a punch, or ends the one that runs.
  void PunchIn_Mnu_Click();
  // The punch that runs; null when none does.
  PunchIn* RunningPunch() const { return punch_.get(); }
  // ----

  // DocumentWindow: the undo menu entry, the undo button and the undo-clearing dialog.
  void SetUndoMenuItem(const std::string& caption, bool enabled) override;
  void SetUndoButton(bool enabled, const std::string& toolTip) override;
  void SetRedoItem(const std::string& caption, bool enabled) override;
  void SetMenu_To_DefaultFormat() override {}
  UndoClearChoice ShowUndoClearFrm(const std::vector<std::string>& AvailList) override;

  // InsertFilePrompts: the open-file dialog and the insert-position dialog.
  std::string SelectFile(const OpenFileRequest& request) override;
  void ShowInsertPosFrm(InsertPosFrm& form) override;

  // Slide boundaries and markers with the mouse in the marker strip, and its pop-ups.
  void MarkerDrawPic_MouseDown(Qt::MouseButton Button, int Shift, double X, double Y);
  void MarkerDrawPic_MouseMove(int Shift, double X, double Y);
  void MarkerDrawPic_MouseUp(double X);
  void MarkerPop2AddMnu_Click(int32_t Index);
  void MarkerPopDeleteMnu_Click();
  QMenu* MarkerPopMnu() const { return markerPopMnu_; }
  QMenu* MarkerPop2Mnu() const { return markerPop2Mnu_; }

  // Elements, for the tests and the benchmark that look at what a user sees.
  PictureBox* Wave_Pic(int index) const { return wavePic_[static_cast<size_t>(index)]; }
  const QPixmap& WaveBak_Pic(int index) const { return waveBak_[static_cast<size_t>(index)]; }
  PictureBox* ScalePic() const { return scalePic_; }
  PictureBox* MarkerDrawPic() const { return markerDrawPic_; }
  QScrollBar* HScroll() const { return hScroll_; }
  QComboBox* SlideCombo() const { return slideCombo_; }
  QLabel* Label(const QString& name) const;
  QAction* Button(const QString& key) const;
  QAction* MenuItem(const QString& name) const;
  // Reads of the document (one sample, or both channels at once) by drawing since the last
  // reset.
  int64_t DocumentReads() const { return documentReads_; }
  // Whether the last redraw read single samples because a summary in view was not made.
  bool DrawnFromPoints() const { return drawnFromPoints_; }
  void ResetDocumentReads() { documentReads_ = 0; }

  // Mouse and key handlers of the wave pictures (Index 1 left, 2 right). Shift is the
  // shift state: kShiftMask, kCtrlMask and kAltMask.
  void Wave_Pic_MouseDown(int Index, double X, int Shift = 0);
  void Wave_Pic_MouseMove(int Index, double X);
  void Wave_Pic_MouseUp(int Index, double X);
  void Wave_Pic_KeyPress(int Index, const QString& Key);
  void Wave_Pic_KeyUp(int Index, int KeyCode, int Shift);
  // The cursor and view keys (Qt key codes) of the wave pictures, the marker strip and the
  // scroll bar; false for a key they leave alone.
  bool Wave_Pic_KeyDown(int KeyCode, int Shift);
  // The wheel over the wave pictures and the strips: scrolls, or with Ctrl zooms around the
  // position under the pointer at X.
  void Wave_Pic_MouseWheel(QPoint angleDelta, int Shift, double X);
  void HScroll_Change();

 signals:
  // The window has closed and the session has ended.
  void Unloaded();

 protected:
  void closeEvent(QCloseEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void BuildMenus();
  void BuildToolbars();
  void BuildStrips();
  void BuildLabels();
  // Places the status label pairs in as many rows as the width needs; returns the height of
  // the bottom bar.
  int LayoutStatusLabels(int width);
  void BuildMarkerMenus();
  void MarkerHoverTest(double X, double Y, int Shift);
  void ShowDragIndicator(int32_t position);
  // While a slide boundary is dragged: says in the strip how many markers a drop at the
  // position would delete, or hides the warning when none.
  void ShowDragWarning(int32_t position);
  void Form_Resize();
  bool Form_QueryUnload();
  void SetViewColours();
  void SetLoopONOFF();
  // ---- Playback and recording (WaveEditor_FrmPlay.cpp) ----
  // Connects the play-position timer, the record button and menu item, and the play
  // toolbar's states to the playback routine.
  void ConnectPlayback();
  void ShowPlayState(int32_t state);
  // ----
  void SlideCombo_Click();
  void BlinkCursorTimer_Timer();
  void BlinkMarkerTimer_Timer();
  void MouseMoveWaitTimer_Timer();
  void LayoutWaveArea();
  void DrawWaveforms(int32_t last, int32_t step, bool stereo);
  // Each column from its lowest to its highest sample, from the summaries; false (drawing
  // nothing) while a summary in view is still being made.
  bool DrawColumnPeaks(int32_t last, bool stereo);
  void DrawDragSelection(int32_t anchor, int32_t position);
  void DrawFlagLines();
  void MoveMouseLines(int x);
  bool SelectionEdgeUnderMouse(double X, bool startEdge) const;
  void SelectSlideInChooser(int32_t slide);
  // Puts the cursor (and with `extend` the selection's moving end) at the position, brings
  // it into view, makes its slide current and redraws.
  void MoveCursorByKey(int32_t position, bool extend);
  int32_t Length() const;
  QAction* AddMenuItem(QMenu* menu, const QString& name, const QString& caption,
                       std::function<void()> handler, const QKeySequence& shortcut = {});

  FileMemoClass* document_ = nullptr;
  std::unique_ptr<PunchIn> punch_;
  std::function<void(const std::string&)> sessionEnd_;
  std::unique_ptr<ProgressShowerClass> progress_;
  bool unloaded_ = false;

  QWidget* central_ = nullptr;
  QWidget* topFrame_ = nullptr;
  QWidget* botFrame_ = nullptr;
  QToolBar* playToolbar_ = nullptr;
  QToolBar* fileToolbar_ = nullptr;
  QToolBar* viewToolbar_ = nullptr;
  QToolBar* editToolbar_ = nullptr;
  QComboBox* slideCombo_ = nullptr;
  PictureBox* scalePic_ = nullptr;
  PictureBox* markerDrawPic_ = nullptr;
  std::array<PictureBox*, 3> wavePic_{};  // 1 left, 2 right
  std::array<QPixmap, 3> waveBak_;
  std::array<OverlayShape*, 3> blinkPosShp_{};
  std::array<OverlayShape*, 3> playPosShp_{};
  std::array<OverlayShape*, 3> mouseLine_{};
  OverlayShape* markHilitShape_ = nullptr;
  OverlayShape* markPickedShape_ = nullptr;
  QScrollBar* hScroll_ = nullptr;
  QWidget* progDisplayPic_ = nullptr;
  PictureBox* progBarPic_ = nullptr;
  std::map<QString, QLabel*> labels_;
  std::vector<QWidget*> statusPairs_;  // a caption with its value labels, in reading order
  std::map<QString, QAction*> buttons_;
  std::map<QString, QAction*> menuItems_;
  QAction* undoMenu_ = nullptr;
  QAction* redoMenu_ = nullptr;

  QTimer blinkCursorTimer_;
  QTimer blinkMarkerTimer_;
  QTimer mouseMoveWaitTimer_;
  QTimer playPosTimer_;
  QTimer peaksReadyTimer_;        // a redraw soon after summaries came in
  bool drawnFromPoints_ = false;  // the last redraw waited for no summary
  bool blinkCursorOn_ = false;
  bool blinkMarkerOn_ = false;

  bool MouseIsDown = false;
  int32_t DragAnchor = 0;
  int32_t DragFirst = 0;
  int32_t DragLast = 0;
  bool ClickSettling = false;
  bool DragMoved = false;
  bool ScrollUpdating = false;
  bool ChooserUpdating = false;
  int wheelZoomRest_ = 0;  // Ctrl+wheel turning short of a whole notch

  // The marker strip's mouse state.
  bool FlagDragging = false;
  bool FlagDragMoved = false;
  int32_t DragSlide = 0;
  int32_t DragMarker = 0;  // 0: a slide boundary
  int32_t DragMin = 0;
  int32_t DragMax = 0;
  bool FlagHover = false;
  int32_t HoverSlide = 0;
  int32_t HoverMarker = 0;
  int32_t RightClickPos = 0;
  int32_t PopupMarker = 0;
  QMenu* markerPopMnu_ = nullptr;
  QMenu* markerPop2Mnu_ = nullptr;
  QLabel* dragWarningLbl_ = nullptr;
  int64_t documentReads_ = 0;
  QPainter* stripPainter_ = nullptr;               // open while the strip's flags are drawn
  std::vector<std::pair<int, QColor>> flagLines_;  // flag lines still to draw in the waves
};

}  // namespace quorvane
