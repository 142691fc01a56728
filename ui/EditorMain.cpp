// quorvane-audio PROJECT: the editor window on a project a host wrote.
// quorvane-audio -embedding: the editor waits on the session bus for a host to start a
// session (StartWithCommandLine), as many as it asks for, until the host lets it go.
#include <QApplication>
#include <cstdlib>
#include <iostream>

#include "app/ProjectLock.h"
#include "app/SessionLifetime.h"
#include "core/AppFolders.h"
#include "core/Trace.h"
#include "platform/ProgramFile.h"
#include "platform/qt/DbusTraceViewer.h"
#include "storage/BlockList.h"
#include "ui/CallerClass.h"
#include "ui/Main.h"

int main(int argc, char** argv) {
  using namespace quorvane;
  EndSessionOnTerminationSignal();
  QApplication application(argc, argv);
  SetTraceProgramName(ProgramBaseName());
  SetTraceViewerSearch(FindDbusTraceViewer);
  const MainOutcome outcome = Main("");
  if (outcome != MainOutcome::Embedding) return outcome == MainOutcome::ProjectNotLoaded ? 1 : 0;

  // Ending at once, without further events: only the temporary files and the project lock
  // of a session that may still run are taken away first.
  const auto endProcess = [](int status) {
    ReleaseAllFiles();
    RemoveSessionFolder();
    UnlockProject();
    std::_Exit(status);
  };
  CallerClass caller(
      [](const std::string& commandLine) {
        return Main(commandLine) != MainOutcome::ProjectNotLoaded;
      },
      endProcess);
  if (!caller.Register()) {
    std::cerr << "quorvane-audio: the session bus is not there or " << kCallerService
              << " is already taken\n";
    return 1;
  }
  return QApplication::exec();
}
