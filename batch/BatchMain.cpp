// quorvane-audio-batch PROJECT [COMMAND ...]: the editor's work without its window, for
// hosts and scripts. Messages and questions go to standard error as JSON lines; "info"
// and "samples" print one JSON object each on standard output.
#include <iostream>
#include <string>
#include <vector>

#include "app/SessionLifetime.h"
#include "batch/BatchCommandLine.h"
#include "batch/BatchRunner.h"
#include "core/BatchInteraction.h"
#include "core/Trace.h"
#include "platform/ProgramFile.h"
#include "platform/qt/DbusTraceViewer.h"

int main(int argc, char** argv) {
  using namespace quorvane;
  EndSessionOnTerminationSignal();
  SetTraceProgramName(ProgramBaseName());
  SetTraceViewerSearch(FindDbusTraceViewer);
  BatchInteraction interaction(std::cerr);
  SetUserInterface(&interaction);

  const std::vector<std::string> words(argv + 1, argv + argc);
  const std::optional<BatchScript> script = ParseBatchCommandLine(words);
  if (!script) {
    std::cerr << BatchUsage();
    return 2;
  }
  return RunBatchScript(*script, std::cout, std::cerr);
}
