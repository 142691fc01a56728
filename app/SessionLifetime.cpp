#include "app/SessionLifetime.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>

#include "app/ProjectFile.h"
#include "app/ProjectLock.h"
#include "app/SessionJournal.h"
#include "app/StagedFiles.h"
#include "core/AppFolders.h"
#include "core/Environment.h"
#include "core/ErrorReport.h"
#include "core/MemoryBudget.h"
#include "core/Numbers.h"
#include "core/Settings.h"
#include "core/Trace.h"
#include "platform/ProcessRunner.h"
#include "platform/TerminationSignals.h"
#include "storage/BlockList.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "storage/PeakBuilder.h"

namespace quorvane {

namespace {
bool g_loopOn = false;
// Held while a session ends, by the signal's thread or by EndSession: the one clean-up
// never runs halfway beside the other, and the process never ends in the middle of one.
std::mutex g_ending;
}  // namespace

bool LoopOn() { return g_loopOn; }

void SetLoopOn(bool loop) { g_loopOn = loop; }

std::unique_ptr<FileMemoClass> PrepareSession(
    const std::string& commandLine, std::string* failure,
    const std::function<void(FileMemoClass&)>& beforeLoad) {
  Trace("Main: Command line is " + commandLine);
  try {
    std::string path = Trim(commandLine);
    InitAppPaths();
    const int32_t loop = RoundHalfEven(LeadingNumber(SettingGet("Setting", "LoopOn", "0")));
    g_loopOn = loop == 1;
    if (!InitTempFolder()) ThrowError(kErrorPathFileAccess, "No session folder could be made");
    InitMemoryBudget();
    auto document = std::make_unique<FileMemoClass>();
    if (beforeLoad) beforeLoad(*document);
    document->StorageReset();
    // While the tracks are joined the document keeps no undo and moves no slides.
    document->IsTempObject = true;
    const bool loaded = ProjectFileLoad(path, *document);
    document->IsTempObject = false;
    if (!loaded) {
      EndSession(document);
      return nullptr;
    }
    EditorState& editor = Editor();
    editor.CurrentFmtBits = document->WavFmtBits;
    editor.CurrentFmtChannel = document->WavFmtChannel;
    editor.CurrentFmtFreq = document->WavFmtFreq;
    document->UndoInfoReset();
    editor.WaveChanged = false;
    Journal().Begin(Env().SessionFolder, SessionJournalHeader());
    return document;
  } catch (const std::exception& error) {
    TraceError(error, "QuorvaneModOld", "Main");
    if (failure) {
      *failure =
          TraceErrorText(ErrorDescription(error), "QuorvaneModOld", "Main", ErrorLine(error));
    }
    std::unique_ptr<FileMemoClass> none;
    EndSession(none);
    return nullptr;
  }
}

void EndSessionOnTerminationSignal() {
  // Other threads go on meanwhile (an effect's write-behind, a wait for the encoder). The
  // folder is moved aside first, so none of them can make a file in it any more; the
  // encoder goes before its files, and before the files of a save under way. Files still
  // open may be deleted: the process ends right after.
  OnTerminationSignal([](int signal) {
    g_ending.lock();  // held until the process ends
    // What the other threads still say about files going away under them is not news.
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0) {
      ::dup2(nowhere, STDERR_FILENO);
      ::close(nowhere);
    }
    const std::string aside = MoveSessionFolderAside();
    EndRunningPrograms();
    // The journal of unsaved edits stays for the next start to recover. Once a save has
    // written its plan, its staged files stay too, for the next start to put in place.
    if (!Journal().SavePlanPending()) RemoveStagedFilesNow();
    UnlockProject();
    DeleteMovedSessionFolder(aside, true);
    std::_Exit(128 + signal);
  });
}

void EndSession(std::unique_ptr<FileMemoClass>& document, const std::string& lastWaveFolder) {
  // A session that a signal ends is ended by the signal's thread, with its status: this
  // thread then waits here until the process ends.
  const std::lock_guard ending(g_ending);
  Journal().End();
  StopPeakBuilder();  // before the files it reads and writes go
  document.reset();
  UnlockProject();
  if (!lastWaveFolder.empty()) SettingPut("Path", "Last Wave Dir", lastWaveFolder);
  ReleaseAllFiles();
  RemoveSessionFolder();
}

}  // namespace quorvane
