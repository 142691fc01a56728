#include "editing/InsertAudioFile.h"

#include <filesystem>
#include <memory>

#include "app/AudioFileName.h"
#include "app/CuePoints.h"
#include "app/Session.h"
#include "core/ErrorReport.h"
#include "core/FileHelpers.h"
#include "core/Interaction.h"
#include "core/ProjectTables.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "storage/JournalOperation.h"

namespace quorvane {

namespace {

std::string g_lastFolder;
std::string g_lastName;

// The file from the open-file dialog, or "" (after its message) when there is none to use.
std::string AskForFile(InsertFilePrompts& prompts) {
  const std::string name = prompts.SelectFile(OpenFileRequest{
      "Select a Wave file to Insert",
      "Audio files (Wav, Mp3)|*.wav;*.Mp3|Wave files (Wav)|*.Wav|Mp3 files (Mp3)|*.Mp3|All "
      "files (*.*)|*.*",
      "wav", g_lastFolder, g_lastName});
  if (name.empty()) return "";
  const std::filesystem::path path(name);
  g_lastFolder = path.parent_path().string();
  g_lastName = path.filename().string();
  if (!FileExists(name)) {
    UserInterface().Message(std::string("File not found") + kCrLf + name);
    return "";
  }
  if (!IsAudioFileName(name)) {
    UserInterface().Message(std::string("Can not open this file type") + kCrLf + kCrLf +
                            "Audio files ending in .wav (plain or compressed WAV) or .mp3" + kCrLf +
                            "can be inserted.");
    return "";
  }
  return name;
}

// 0 when the slide does not exist.
int32_t InsertPosition(const FileMemoClass& document, int32_t option, int32_t slide) {
  if (option == kInsertAtCursor) return Editor().CursorPos;
  if (slide < 1 || slide > Project().SlideCount) return 0;
  if (option == kInsertAtSlideStart) return Project().Slides[static_cast<size_t>(slide)].Start;
  const int32_t end = SlideEndPosition(slide, document.WavWaveINos);
  return end > 1 ? end - 1 : end;
}

}  // namespace

InsertPosFrm& InsertPositionForm() {
  static InsertPosFrm form;
  return form;
}

const std::string& LastInsertFolder() { return g_lastFolder; }

bool InsertAudioFile(FileMemoClass& document, const std::string& FileName, int32_t CurrentSlide,
                     InsertFilePrompts& prompts, const std::string& UndoName) {
  JournalOperation operation("insert-file");
  try {
    std::string name = FileName;
    if (!name.empty()) {
      if (!FileExists(name)) return false;
    } else {
      name = AskForFile(prompts);
      if (name.empty()) return false;
    }
    InsertPosFrm& form = InsertPositionForm();
    form.Prepare(Editor().CursorPos, document.WavWaveINos);
    prompts.ShowInsertPosFrm(form);
    if (!form.OkClicked) return false;
    const int32_t position = InsertPosition(document, form.InsertPosOpn, CurrentSlide);
    if (position < 1) return false;
    // Read from the journal's own copy, which a later change of the file cannot touch.
    KeptFile kept(operation.Recorded() ? name : "");
    std::unique_ptr<FileMemoClass> track;
    LoadTrackFile(kept.PathOr(name), track, Project().BaseFrequency, Project().BaseBits);
    if (!track || track->WavWaveINos == 0) return false;
    const int32_t before = document.WavWaveINos;
    // A WAV file's cue points come in as click markers, ending the insert's undo item.
    const std::vector<int32_t> cues = CuePointsWanted() && LowerEnding(name, 4) == ".wav"
                                          ? CueOffsets(name, track->WavWaveINos, track->WavFmtFreq)
                                          : std::vector<int32_t>{};
    const int32_t at = AppendTrack(document, *track, position, UndoName, cues.empty());
    if (!cues.empty() && at > 0) AddClickMarkers(document, at, cues, UndoName);
    EditorState& editor = Editor();
    editor.CurrentFmtBits = document.WavFmtBits;
    editor.CurrentFmtChannel = document.WavFmtChannel;
    editor.CurrentFmtFreq = document.WavFmtFreq;
    if (editor.ViewStart <= position && position <= editor.ViewStart + editor.ViewLength) {
      editor.ViewLength += document.WavWaveINos - before;
    }
    const bool inserted = document.WavWaveINos > before;
    if (inserted) operation.Done({std::to_string(position), kept.Take(), UndoName});
    return inserted;
  } catch (const std::exception& error) {
    UserInterface().Message(LocatedErrorText(ErrorDescription(error), "WaveEditor_Frm",
                                             "InsertAudioFile", ErrorLine(error)),
                            MessageIcon::Critical);
    return false;
  }
}

}  // namespace quorvane
