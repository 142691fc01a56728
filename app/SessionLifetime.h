// The start and the end of an editing session, shared by the editor and the batch tool:
// everything that runs before the editor's window appears, and the release of every file
// and folder afterwards.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace quorvane {

class FileMemoClass;

// Program and temporary folders, the settings written for other programs, the session
// folder, the memory budget, the document and the session from the project file named
// by the command line. Nothing (after the project file's message) when the session could
// not be loaded. A run-time error on the way is only traced, as the editor's start-up
// shows no message for it; `failure`, when given, receives the same text for a front end
// that has to say why it stops. `beforeLoad`, when given, runs once the document exists and
// before the project is read: the editor loads its window and progress display there, so
// that loading already shows its progress.
std::unique_ptr<FileMemoClass> PrepareSession(
    const std::string& commandLine, std::string* failure = nullptr,
    const std::function<void(FileMemoClass&)>& beforeLoad = {});

// Releases the document and every file the storage engine holds, writes the last folder
// used for audio files (when there is one) and removes the session folder.
void EndSession(std::unique_ptr<FileMemoClass>& document, const std::string& lastWaveFolder = "");

// From now on SIGTERM, SIGINT and SIGHUP end the process at once, with the status a shell
// gives a process a signal ended, and take the session folder and any running encoder
// along; unsaved edits are lost. Call it first thing in main, before any other thread starts.
void EndSessionOnTerminationSignal();

// The "LoopOn" setting read at start-up, and the loop switch of the play toolbar.
bool LoopOn();
void SetLoopOn(bool loop);

}  // namespace quorvane
