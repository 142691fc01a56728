// The play toolbar: which stretch each button plays, the commands it hands to the
// playback routine, the button states after each command, and the timer that follows the
// player with the play marks and the play-position label.
#include <QAction>
#include <QLabel>
#include <QToolBar>
#include <algorithm>

#include "core/Interaction.h"
#include "core/ProjectTables.h"
#include "core/ScaleTime.h"
#include "core/Settings.h"
#include "devices/DsPlayClass.h"
#include "devices/PlayControl.h"
#include "editing/InsertAudioFile.h"
#include "editing/ReplaceAudio.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "ui/PlayerLink.h"
#include "ui/PunchIn.h"
#include "ui/Recd_Frm.h"
#include "ui/ToolbarIcons.h"
#include "ui/ViewGeometry.h"
#include "ui/ViewState.h"
#include "ui/WaveEditor_Frm.h"

namespace quorvane {

namespace {

// Play marks outside the view sit just left of the picture.
constexpr int kPlayMarkOutside = -2;

}  // namespace

void WaveEditor_Frm::ConnectPlayback() {
  connect(&playPosTimer_, &QTimer::timeout, this, [this] { PlayPosTimer_Timer(); });
  connect(Button("Record"), &QAction::triggered, this, [this] { InsertRecording_Mnu_Click(); });
  connect(MenuItem("InsertRecording_Mnu"), &QAction::triggered, this,
          [this] { InsertRecording_Mnu_Click(); });
  SetPlayToolbar({[this](int32_t state) { ShowPlayState(state); },
                  [this] {
                    if (!Button("Stop")->isEnabled()) Button("Stop")->setEnabled(true);
                  },
                  [this] { Button("Pause")->setEnabled(false); }});
}

void WaveEditor_Frm::ShowPlayState(int32_t state) {
  QAction* pause = Button("Pause");
  const QString image = state == 3 ? "Continue" : "Pause";
  pause->setIcon(ToolbarIcon(image));
  pause->setData(image);
  pause->setEnabled(state != 0);
  if (state != 0) playPosTimer_.start();
}

void WaveEditor_Frm::PlayToolbar_ButtonClick(const QString& key) {
  const EditorState& editor = Editor();
  const int32_t length = Length();
  int32_t from = 0;
  int32_t to = 0;
  if (key == "PlayNew") {
    if (editor.SelStart != editor.SelEnd) {
      from = editor.SelStart;
      to = editor.SelEnd;
    } else {
      from = editor.CursorPos >= 1 && editor.CursorPos <= length ? editor.CursorPos : 1;
      to = length;
    }
  } else if (key == "PlaySlid") {
    const int32_t slide = View().CurrentSlide;
    if (slide < 1 || slide >= Project().SlideEntryCount) return;
    from = Project().Slides[static_cast<size_t>(slide)].Start;
    to = SlideEndPosition(slide, length) - 1;
  } else if (key == "Pause") {
    PlayControl(3);
    return;
  } else if (key == "Stop") {
    if (punch_) {
      punch_->Stop();
      return;
    }
    PlayControl(2);
    Button("Stop")->setEnabled(false);
    fileToolbar_->setEnabled(true);
    return;
  } else {
    return;
  }
  if (to > length || from < 1 || from >= to) return;
  SetPlayRange(from, to);
  SetPlayDocument(document_);
  PlayControl(11);
}

void WaveEditor_Frm::MovePlayPosition(int32_t position) {
  const int32_t state = CurrentPlayState();
  if (state != 1 && state != 2) return;
  const int32_t last = position < PlayingLast() ? PlayingLast() : Length();
  if (position < 1 || position >= last) return;
  PlayControl(2);
  SetPlayRange(position, last);
  SetPlayDocument(document_);
  PlayControl(11);
}

void WaveEditor_Frm::PlayPosTimer_Timer() {
  // A punch keeps the play toolbar as while playing until its take is in, pre-roll or not.
  const bool stopped = CurrentPlayState() == 0 && !punch_;
  if (stopped) {
    // The player may have stopped on its own while paused (its output went away): the
    // "Pause" button goes back to its stopped look, as after a stop command.
    playPosTimer_.stop();
    ShowPlayState(0);
    Button("Stop")->setEnabled(false);
    if (DsPlay() != nullptr) DsPlay()->Dll.StopPlay();
  }
  for (const char* key : {"PlayNew", "PlaySlid", "Record"}) Button(key)->setEnabled(stopped);
  Button("PunchIn")->setEnabled(stopped || punch_);
  if (!stopped) {
    Button("Pause")->setEnabled(true);
    Button("Stop")->setEnabled(true);
  }
  PlayCursorPositioning();
}

void WaveEditor_Frm::PlayCursorPositioning() {
  const int32_t played = PlayedSamples();
  const auto moveMarks = [this](int x) {
    for (int index = 1; index <= 2; ++index) {
      playPosShp_[static_cast<size_t>(index)]->MoveToX(x);
      Wave_Pic(index)->update();
    }
  };
  if (played == 0) {
    moveMarks(kPlayMarkOutside);
    return;
  }
  const int32_t position = std::min(PlayingFirst() + played, PlayingLast());
  EditorState& editor = Editor();
  // The view pages on when the play cursor passes its right edge.
  if (position > editor.ViewStart + editor.ViewLength) {
    editor.ViewStart = position;
    Refresh_Wave_View();
  }
  const bool inView =
      position >= editor.ViewStart && position <= editor.ViewStart + editor.ViewLength;
  moveMarks(inView ? PixelOf(position) : kPlayMarkOutside);
  const int32_t rate = std::max(PlayingRate(), 1);
  Label("PlayPosLbl")
      ->setText(QString::fromStdString(FormatScaleTime(static_cast<float>(position) / rate)));
}

void WaveEditor_Frm::InsertRecording_Mnu_Click() {
  if (document_ == nullptr) return;
  const bool blinking = blinkMarkerTimer_.isActive();
  blinkMarkerTimer_.stop();
  {
    Recd_Frm form(this, document_->WavFmtChannel, document_->WavFmtFreq, document_->WavFmtBits);
    if (form.FormInitilize()) {
      form.exec();
      if (form.OkClicked) {
        InsertAudioFile(*document_, form.RecordFileName, View().CurrentSlide, *this,
                        "Insert Recording");
        Refresh_Wave_View();
      }
    }
  }
  if (blinking) blinkMarkerTimer_.start();
}

void WaveEditor_Frm::PunchIn_Mnu_Click() {
  const auto showRunning = [this] {
    const bool running = punch_ != nullptr;
    Button("PunchIn")->setChecked(running);
    MenuItem("PunchIn_Mnu")->setChecked(running);
  };
  if (punch_) {
    punch_->Stop();
    return;
  }
  if (document_ == nullptr || CurrentPlayState() != 0) {
    showRunning();
    return;
  }
  const EditorState& editor = Editor();
  PunchIn::Plan plan;
  const int32_t length = Length();
  if (editor.SelStart >= 1 && editor.SelEnd > editor.SelStart && editor.SelEnd <= length) {
    plan.from = editor.SelStart;
    plan.to = editor.SelEnd;
  } else {
    plan.from = std::clamp(editor.CursorPos, 1, length + 1);
  }
  plan.preRollFrames =
      static_cast<int32_t>(PunchIn::PreRollSeconds() * std::max(document_->WavFmtFreq, 1));
  plan.outAtEnd = PunchIn::OutAtEnd();
  plan.crossfadeMs = PunchCrossfadeMs();
  // The source the record dialog chose, while the server still offers it.
  const std::string kept = SettingGet("Setting", "RecordingSource", "");
  const std::vector<CaptureSource> sources = RecordTake::Sources();
  if (sources.empty()) {
    UserInterface().Message(std::string("Audio Device not found") + kCrLf +
                            "(Open audio device for recording - failed)");
    showRunning();
    return;
  }
  for (const CaptureSource& source : sources) {
    if (source.name == kept) plan.source = kept;
  }
  punch_ = std::make_unique<PunchIn>(*document_, plan, [this, showRunning] {
    // The punch ends from its own timer: it is let go of once that call has returned.
    QMetaObject::invokeMethod(
        this,
        [this, showRunning] {
          punch_.reset();
          showRunning();
          Refresh_Wave_View();
          PlayPosTimer_Timer();
        },
        Qt::QueuedConnection);
  });
  if (!punch_->Begin()) {
    punch_.reset();
    showRunning();
    return;
  }
  showRunning();
  playPosTimer_.start();
  Button("Stop")->setEnabled(true);
}

}  // namespace quorvane
