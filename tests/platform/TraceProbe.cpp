// A program that traces the way the batch tool does: no QCoreApplication, the D-Bus search
// installed, a number of lines traced. Prints nothing itself, so everything on its
// standard output or error came from tracing.
//
// Usage: trace_probe LINES. Exit status: 0 when no viewer was found and one search was
// made in the life of the process, 1 when a viewer was found, 2 when the search count is
// not 1.
#include <cstdlib>
#include <string>

#include "core/Trace.h"
#include "platform/ProgramFile.h"
#include "platform/qt/DbusTraceViewer.h"

int main(int argc, char** argv) {
  const int lines = argc > 1 ? std::atoi(argv[1]) : 1;
  quorvane::SetTraceProgramName(quorvane::ProgramBaseName());
  quorvane::SetTraceViewerSearch(quorvane::FindDbusTraceViewer);
  for (int i = 0; i < lines; ++i) quorvane::Trace("StartWithCommandLine: Entry", i);
  if (quorvane::TraceViewerPresent()) return 1;
  return quorvane::TraceViewerSearchCount() == 1 ? 0 : 2;
}
