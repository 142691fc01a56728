// The Edit, Insert, Volume and File menu commands as the window reaches them: each calls
// the edit command or effect, shows the dialog it needs, and redraws.
#include <QFileDialog>
#include <QStringList>
#include <algorithm>
#include <cstdio>
#include <utility>

#include "core/Interaction.h"
#include "core/ProjectTables.h"
#include "editing/CleanUpVoice.h"
#include "editing/DynCompFrm.h"
#include "editing/DynamicCompress.h"
#include "editing/EditCommands.h"
#include "editing/EditRange.h"
#include "editing/InsertAudioFile.h"
#include "editing/ShortenPauses.h"
#include "editing/VolumeChgFrm.h"
#include "editing/VolumeEffects.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "ui/CleanUpVoiceDialog.h"
#include "ui/DynCompDialog.h"
#include "ui/InsertPosDialog.h"
#include "ui/LevelSlidesDialog.h"
#include "ui/PlayerLink.h"
#include "ui/ShortenPausesDialog.h"
#include "ui/ViewState.h"
#include "ui/VolumeChgDialog.h"
#include "ui/WaveEditor_Frm.h"

namespace quorvane {

namespace {

// "Description|*.a;*.b|..." as Qt's "Description (*.a *.b);;...".
QString QtFilter(const std::string& filter) {
  const QStringList parts = QString::fromStdString(filter).split('|');
  QStringList entries;
  for (int i = 0; i + 1 < parts.size(); i += 2) {
    QString patterns = parts[i + 1];
    entries << parts[i] + " (" + patterns.replace(';', ' ') + ")";
  }
  return entries.join(";;");
}

}  // namespace

void WaveEditor_Frm::Undo_Mnu_Click(int32_t Index) {
  if (Index != 1 || document_ == nullptr) return;
  View().ViewAll = false;
  EditUndo(*document_);
  Refresh_Wave_View();
}

void WaveEditor_Frm::Redo_Mnu_Click() {
  if (document_ == nullptr) return;
  View().ViewAll = false;
  EditRedo(*document_);
  Refresh_Wave_View();
}

void WaveEditor_Frm::EditCopy_Mnu_Click() {
  if (document_ != nullptr) EditCopy(*document_);
}

void WaveEditor_Frm::EditCut_Mnu_Click() {
  if (document_ == nullptr) return;
  EditCut(*document_);
  Refresh_Wave_View();
}

void WaveEditor_Frm::EditPaste_Mnu_Click() {
  if (document_ == nullptr) return;
  EditPaste(*document_);
  Refresh_Wave_View();
}

void WaveEditor_Frm::EditDelete_Mnu_Click() {
  if (document_ == nullptr) return;
  EditDelete(*document_);
  Refresh_Wave_View();
}

void WaveEditor_Frm::EditSelectAll_Mnu_Click() {
  if (document_ == nullptr) return;
  EditSelectAll(*document_);
  Refresh_Wave_View();
}

void WaveEditor_Frm::InsertSilence_Mnu_Click() {
  if (document_ == nullptr) return;
  InsertSilence(*document_);
  Refresh_Wave_View();
}

void WaveEditor_Frm::FileImport_Mnu_Click() {
  if (document_ == nullptr) return;
  if (IsPlaying()) PlayControl(2);
  InsertAudioFile(*document_, "", View().CurrentSlide, *this);
  Refresh_Wave_View();
}

void WaveEditor_Frm::VolumeChange_Mnu_Click() {
  if (document_ == nullptr) return;
  VolumeChgFrm form;
  form.UpdateForm();
  VolumeChgDialog dialog(this, form);
  dialog.exec();
  if (!form.OkClicked) return;
  ChangeVolume(*document_, form.VolSlider);
  Refresh_Wave_View();
}

void WaveEditor_Frm::VolumeMaximize_Mnu_Click() {
  if (document_ == nullptr) return;
  Maximize(*document_);
  Refresh_Wave_View();
}

void WaveEditor_Frm::VolumeLevelSlides_Mnu_Click() {
  if (document_ == nullptr) return;
  if (IsPlaying()) PlayControl(2);
  LevelSlidesDialog dialog(this, *document_);
  dialog.exec();
  if (dialog.Leveled()) Refresh_Wave_View();
}

void WaveEditor_Frm::VolumeDynamicBal_Mnu_Click() {
  if (document_ == nullptr) return;
  int32_t first = 0;
  int32_t last = 0;
  int32_t channels = 0;
  if (!GetEditRange(*document_, first, last, channels, kWantRange, "Dynamic Compress/Expand")) {
    return;
  }
  DynCompFrm form;
  form.Form_Load();
  DynamicParameters values;
  for (;;) {
    DynCompDialog dialog(this, form);
    dialog.exec();
    if (!form.OkClicked) return;
    const std::optional<std::string> refusal = form.CheckValues(values);
    if (!refusal) break;
    UserInterface().Message(*refusal, MessageIcon::Exclamation);
  }
  form.Form_Unload();
  DynamicCompressExpand(*document_, values);
  Refresh_Wave_View();
}

namespace {

// The selection, or the whole document without one.
std::pair<int32_t, int32_t> SelectionOrAll(const FileMemoClass& document) {
  const EditorState& editor = Editor();
  if (editor.SelStart >= 1 && editor.SelEnd > editor.SelStart) {
    return {editor.SelStart, std::min(editor.SelEnd, document.WavWaveINos)};
  }
  return {1, document.WavWaveINos};
}

// Shows the dialog again after each refusal's message; the values accepted, or nothing
// when it is cancelled. Accepted values are kept for the next time.
template <typename Dialog, typename Values>
std::optional<Values> AskValues(QWidget* parent,
                                std::optional<std::string> (*refuse)(const Values&)) {
  for (;;) {
    Dialog dialog(parent);
    if (dialog.exec() != QDialog::Accepted) return std::nullopt;
    const Values values = dialog.Values();
    const std::optional<std::string> refusal = refuse(values);
    if (!refusal) {
      dialog.KeepValues();
      return values;
    }
    UserInterface().Message(*refusal, MessageIcon::Exclamation);
  }
}

}  // namespace

void WaveEditor_Frm::VolumeCleanUpVoice_Mnu_Click() {
  if (document_ == nullptr || document_->WavWaveINos == 0) return;
  const auto [first, last] = SelectionOrAll(*document_);
  const std::optional<VoiceCleanUp> values =
      AskValues<CleanUpVoiceDialog, VoiceCleanUp>(this, RefuseCleanUpValues);
  if (!values) return;
  CleanUpVoice(*document_, first, last, *values);
  Refresh_Wave_View();
}

void WaveEditor_Frm::EditShortenPauses_Mnu_Click() {
  if (document_ == nullptr || document_->WavWaveINos == 0) return;
  const auto [first, last] = SelectionOrAll(*document_);
  const std::optional<PauseShortening> values =
      AskValues<ShortenPausesDialog, PauseShortening>(this, RefusePauseValues);
  if (!values) return;
  const ShortenedPauses result = ShortenPauses(*document_, first, last, *values);
  Refresh_Wave_View();
  if (result.cancelled) return;
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.1f", result.removedSeconds);
  char longest[32];
  std::snprintf(longest, sizeof longest, "%g", values->longestSeconds);
  UserInterface().Message(result.pauses == 0
                              ? std::string("No pause was longer than ") + longest + " seconds."
                              : std::to_string(result.pauses) +
                                    (result.pauses == 1 ? " pause was" : " pauses were") +
                                    " shortened; " + seconds + " seconds were removed.",
                          MessageIcon::Information, "Shorten Pauses");
}

// ---- The file insert's dialogs -----------------------------------------------------------

std::string WaveEditor_Frm::SelectFile(const OpenFileRequest& request) {
  const QString start = QString::fromStdString(
      request.fileName.empty() ? request.initialFolder
                               : request.initialFolder + "/" + request.fileName);
  QFileDialog dialog(this, QString::fromStdString(request.title), start, QtFilter(request.filter));
  dialog.setFileMode(QFileDialog::ExistingFile);
  dialog.setDefaultSuffix(QString::fromStdString(request.defaultExtension));
  dialog.setOption(QFileDialog::ReadOnly);
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
  return dialog.selectedFiles().front().toStdString();
}

void WaveEditor_Frm::ShowInsertPosFrm(InsertPosFrm& form) {
  InsertPosDialog dialog(this, form);
  dialog.exec();
}

}  // namespace quorvane
