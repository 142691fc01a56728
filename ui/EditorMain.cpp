// quorvane-audio PROJECT: the editor window on a project a host wrote.
#include <QApplication>

#include "core/Trace.h"
#include "platform/DbusTraceViewer.h"
#include "platform/ProgramFile.h"
#include "ui/Main.h"

int main(int argc, char** argv) {
  using namespace quorvane;
  QApplication application(argc, argv);
  SetTraceProgramName(ProgramBaseName());
  SetTraceViewerSearch(FindDbusTraceViewer);
  const MainOutcome outcome = Main("");
  return outcome == MainOutcome::ProjectNotLoaded ? 1 : 0;
}
