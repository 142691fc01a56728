#include "batch/BatchRunner.h"

#include <memory>
#include <string>
#include <utility>

#include "app/ProjectFile.h"
#include "app/SessionLifetime.h"
#include "batch/BatchOutput.h"
#include "core/ErrorReport.h"
#include "core/Interaction.h"
#include "editing/CleanUpVoice.h"
#include "editing/ClipboardExchange.h"
#include "editing/DynCompFrm.h"
#include "editing/DynamicCompress.h"
#include "editing/EditCommands.h"
#include "editing/InsertAudioFile.h"
#include "editing/LevelSlides.h"
#include "editing/Recovery.h"
#include "editing/ReplaceAudio.h"
#include "editing/ShortenPauses.h"
#include "editing/SlideLoudness.h"
#include "editing/VolumeChgFrm.h"
#include "editing/VolumeEffects.h"
#include "storage/DocumentWindow.h"
#include "storage/EditorContext.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

namespace {

// Keeps the undo menu caption the document would show in the window.
class UndoCaption : public DocumentWindow {
 public:
  void SetUndoMenuItem(const std::string& caption, bool) override { caption_ = caption; }
  void SetUndoButton(bool, const std::string&) override {}
  void SetMenu_To_DefaultFormat() override {}
  UndoClearChoice ShowUndoClearFrm(const std::vector<std::string>&) override { return {}; }
  const std::string& Caption() const { return caption_; }

 private:
  std::string caption_ = "Undo [Nothing]";
};

// Positions past the end name no audio: samples there would print as silence that is not
// in the document.
bool InsideDocument(const BatchCommand& command, const FileMemoClass& document) {
  switch (command.kind) {
    case BatchCommand::Kind::Samples:
    case BatchCommand::Kind::Delete:
    case BatchCommand::Kind::Select:
    case BatchCommand::Kind::Copy:
    case BatchCommand::Kind::Cut:
    case BatchCommand::Kind::Volume:
    case BatchCommand::Kind::Maximize:
    case BatchCommand::Kind::Dynamic:
    case BatchCommand::Kind::ReplaceFile:
    case BatchCommand::Kind::ShortenPauses:
    case BatchCommand::Kind::CleanUp:
      return command.to <= document.WavWaveINos;
    case BatchCommand::Kind::Paste:
    case BatchCommand::Kind::InsertFile:
    case BatchCommand::Kind::InsertSilence:
      // Silence goes in before a sample of the document. Before the position after the last
      // one it would lie beyond the last slide's end, and saving would drop it.
      return command.from <= document.WavWaveINos;
    default:
      return true;
  }
}

void Select(int32_t from, int32_t to) {
  Editor().SelStart = from;
  Editor().SelEnd = to;
}

// The Change Volume dialog closed with Ok at `percent`, then the command.
void VolumeCommand(FileMemoClass& document, int32_t percent) {
  VolumeChgFrm form;
  form.UpdateForm();
  form.VolSlider_Change(percent);
  form.OkBtn_Click();
  ChangeVolume(document, form.VolSlider);
}

// The dynamic dialog's boxes filled from the command and checked as OK checks them: a
// refused value is told with the dialog's message and changes nothing.
void DynamicCommand(FileMemoClass& document, const BatchCommand& command) {
  DynCompFrm form;
  form.Form_Load();
  form.SampDurTxt = command.seconds;
  form.TargetVolTxt = command.target;
  form.CutOffVolTxt = command.cutOff;
  DynamicParameters values;
  if (const auto refusal = form.CheckValues(values)) {
    UserInterface().Message(*refusal, MessageIcon::Exclamation);
    return;
  }
  form.OkClicked = true;
  form.Form_Unload();
  DynamicCompressExpand(document, values);
}

}  // namespace

int RunBatchScript(const BatchScript& script, std::ostream& out, std::ostream& errors) {
  const SessionContext context;
  UndoCaption undoMenu;
  SetDocumentWindow(&undoMenu);
  std::string failure;
  std::unique_ptr<FileMemoClass> document = PrepareSession(script.project, &failure);
  if (!document) {
    // The editor only traces an error that stops its start-up; a caller of the batch tool
    // is told on standard error, as for every other reason the project did not load.
    if (!failure.empty()) UserInterface().Message(failure, MessageIcon::Critical);
    SetDocumentWindow(nullptr);
    return 1;
  }
  int status = 0;
  bool saveFellShort = false;
  const BatchCommand::Kind first =
      script.commands.empty() ? BatchCommand::Kind::Info : script.commands.front().kind;
  const int32_t recovered = RecoverUnsavedEdits(
      *document, first == BatchCommand::Kind::Recover   ? RecoveryChoice::Recover
                 : first == BatchCommand::Kind::Discard ? RecoveryChoice::Discard
                                                        : RecoveryChoice::LeaveAlone);
  for (const BatchCommand& command : script.commands) {
    if (!InsideDocument(command, *document)) {
      errors << "quorvane-audio-batch: positions outside the document (length "
             << document->WavWaveINos << ")\n"
             << BatchUsage();
      status = 2;
      break;
    }
    switch (command.kind) {
      case BatchCommand::Kind::Info:
        out << InfoJson(*document, undoMenu.Caption()) << '\n';
        break;
      case BatchCommand::Kind::Samples:
        out << SamplesJson(*document, command.from, command.to) << '\n';
        break;
      case BatchCommand::Kind::Delete:
        Select(command.from, command.to);
        EditDelete(*document);
        break;
      case BatchCommand::Kind::InsertSilence:
        Select(command.from, command.from);
        if (!InsertSilenceSeconds(*document, command.seconds)) {
          errors << "quorvane-audio-batch: " << command.seconds
                 << " seconds of silence do not fit in the document\n"
                 << BatchUsage();
          status = 2;
        }
        break;
      case BatchCommand::Kind::Select:
        Select(command.from, command.to);
        break;
      case BatchCommand::Kind::Copy:
        Select(command.from, command.to);
        EditCopy(*document);
        break;
      case BatchCommand::Kind::Cut:
        Select(command.from, command.to);
        EditCut(*document);
        break;
      case BatchCommand::Kind::Paste:
        Select(command.from, command.from);
        EditPaste(*document);
        break;
      case BatchCommand::Kind::InsertFile: {
        Editor().CursorPos = command.from;
        GivenFile prompts(command.path);
        InsertAudioFile(*document, "", 1, prompts);
        break;
      }
      case BatchCommand::Kind::ReplaceFile:
        ReplaceWithFile(*document, command.from, command.to, command.path, PunchCrossfadeMs(),
                        "Replace File");
        break;
      case BatchCommand::Kind::CleanUp: {
        const VoiceCleanUp values{command.values[0], command.values[1]};
        if (const auto refusal = RefuseCleanUpValues(values)) {
          UserInterface().Message(*refusal, MessageIcon::Exclamation);
          break;
        }
        CleanUpVoice(*document, command.from, command.to, values);
        break;
      }
      case BatchCommand::Kind::ShortenPauses: {
        const PauseShortening values{command.values[0], command.values[1]};
        if (const auto refusal = RefusePauseValues(values)) {
          UserInterface().Message(*refusal, MessageIcon::Exclamation);
          break;
        }
        out << ShortenedPausesJson(ShortenPauses(*document, command.from, command.to, values))
            << '\n';
        break;
      }
      case BatchCommand::Kind::Volume:
        Select(command.from, command.to);
        VolumeCommand(*document, command.percent);
        break;
      case BatchCommand::Kind::Maximize:
        Select(command.from, command.to);
        Maximize(*document);
        break;
      case BatchCommand::Kind::Dynamic:
        Select(command.from, command.to);
        DynamicCommand(*document, command);
        break;
      case BatchCommand::Kind::Loudness:
        try {
          out << LoudnessJson(MeasureSlideLoudness(*document, AllSlides())) << '\n';
        } catch (const std::exception& error) {
          UserInterface().Message(ErrorDescription(error), MessageIcon::Exclamation);
        }
        break;
      case BatchCommand::Kind::Level: {
        std::vector<SlideLevel> levels;
        LevelSlides(*document, AllSlides(), command.loudness, levels);
        break;
      }
      case BatchCommand::Kind::Undo:
        EditUndo(*document);
        break;
      case BatchCommand::Kind::Redo:
        EditRedo(*document);
        break;
      case BatchCommand::Kind::Recover:
        out << "{\"recovered\":" << recovered << "}\n";
        break;
      case BatchCommand::Kind::Discard:
        break;
      case BatchCommand::Kind::Save:
        // The commands after a save that fell short still run (an "info" shows what is
        // left unsaved); the status tells the caller at the end.
        if (!ProjectFileSave(*document)) saveFellShort = true;
        break;
    }
    out.flush();
    if (status != 0) break;
  }
  ClipboardRelease();
  EndSession(document);
  SetDocumentWindow(nullptr);
  if (status == 0 && saveFellShort) status = kSaveFellShort;
  return status;
}

}  // namespace quorvane
