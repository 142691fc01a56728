#include "core/Trace.h"

namespace quorvane {

namespace {

struct TraceState {
  TraceViewerSearch search;
  std::unique_ptr<TraceViewer> viewer;
  bool searched = false;
  int searchCount = 0;
  std::string programName = "quorvane-audio";
};

TraceState& State() {
  static TraceState state;
  return state;
}

}  // namespace

void SetTraceViewerSearch(TraceViewerSearch search) {
  TraceState& state = State();
  state.search = std::move(search);
  state.viewer.reset();
  state.searched = false;
  state.searchCount = 0;
}

bool TraceViewerPresent() {
  TraceState& state = State();
  if (!state.searched) {
    state.searched = true;
    if (state.search) {
      ++state.searchCount;
      state.viewer = state.search();
    }
  }
  return state.viewer != nullptr;
}

int TraceViewerSearchCount() { return State().searchCount; }

void SetTraceProgramName(std::string name) { State().programName = std::move(name); }

void TraceParts(const std::vector<std::string>& parts) {
  if (!TraceViewerPresent()) return;
  std::string line = State().programName + ": ";
  for (size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) line += '\t';
    line += parts[i];
  }
  State().viewer->Send(line);
}

}  // namespace quorvane
