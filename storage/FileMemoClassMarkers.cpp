// The document's marker and boundary edits: each changes the project tables and records
// its undo item, so that every front end edits markers the same way.
#include <algorithm>
#include <functional>

#include "core/ProjectTables.h"
#include "storage/FileMemoClass.h"
#include "storage/JournalOperation.h"

namespace quorvane {

namespace {

// Removes marker `index`, the last one taking its place; SortMarkers puts order back.
void RemoveByMovingLast(int32_t index) {
  ProjectData& project = Project();
  project.Markers[static_cast<size_t>(index)] =
      project.Markers[static_cast<size_t>(project.MarkerCount)];
  project.Markers.resize(static_cast<size_t>(project.MarkerCount));
  --project.MarkerCount;
}

}  // namespace

void FileMemoClass::MoveMarker(int32_t MarkerNo, int32_t Position, const std::string& UndoName) {
  JournalOperation operation("move-marker");
  ProjectData& project = Project();
  if (MarkerNo < 1 || MarkerNo > project.MarkerCount) return;
  MarkerOneChanged(2, MarkerNo, UndoName, false);
  project.Markers[static_cast<size_t>(MarkerNo)].Position = Position;
  MarkerOneChanged(1, MarkerNo, UndoName, true);
  SortMarkers();
  operation.Done({std::to_string(MarkerNo), std::to_string(Position), UndoName});
}

int32_t FileMemoClass::AddMarkers(const std::vector<MarkerInfo>& markers,
                                  const std::string& UndoName) {
  JournalOperation operation("add-markers");
  ProjectData& project = Project();
  std::vector<int32_t> added;
  for (const MarkerInfo& marker : markers) {
    AddMarker(marker);
    added.push_back(project.MarkerCount);
  }
  MarkerManyChanged(1, added, UndoName, true);
  SortMarkers();
  if (operation.Recorded()) {
    JournalWords values{UndoName};
    for (const MarkerInfo& marker : markers) {
      values.insert(values.end(), {std::to_string(marker.Kind), std::to_string(marker.Position),
                                   std::to_string(marker.Slide)});
    }
    operation.Done(values);
  }
  return static_cast<int32_t>(added.size());
}

void FileMemoClass::DeleteMarkers(std::vector<int32_t> MarkerNos, const std::string& UndoName,
                                  bool IsLastOperation) {
  JournalOperation operation("delete-markers");
  JournalWords values{UndoName, IsLastOperation ? "1" : "0"};
  for (const int32_t n : MarkerNos) values.push_back(std::to_string(n));
  const ProjectData& project = Project();
  std::erase_if(MarkerNos, [&](int32_t n) { return n < 1 || n > project.MarkerCount; });
  // From the last, so the markers still to go keep their numbers.
  std::sort(MarkerNos.begin(), MarkerNos.end(), std::greater<>());
  MarkerNos.erase(std::unique(MarkerNos.begin(), MarkerNos.end()), MarkerNos.end());
  MarkerManyChanged(2, MarkerNos, UndoName, IsLastOperation);
  for (const int32_t n : MarkerNos) RemoveByMovingLast(n);
  SortMarkers();
  operation.Done(values);
}

std::vector<int32_t> FileMemoClass::MarkersPassedBySlideStart(int32_t Slide,
                                                              int32_t Position) const {
  const ProjectData& project = Project();
  std::vector<int32_t> passed;
  if (Slide < 2 || Slide > project.SlideCount) return passed;
  for (int32_t i = 1; i <= project.MarkerCount; ++i) {
    const MarkerInfo& marker = project.Markers[static_cast<size_t>(i)];
    if ((marker.Slide == Slide && marker.Position < Position) ||
        (marker.Slide == Slide - 1 && marker.Position >= Position)) {
      passed.push_back(i);
    }
  }
  return passed;
}

void FileMemoClass::MoveSlideStart(int32_t Slide, int32_t Position, const std::string& UndoName) {
  JournalOperation operation("move-slide");
  ProjectData& project = Project();
  if (Slide < 2 || Slide > project.SlideCount) return;
  // The markers the boundary passes would change slides: they go, and undo brings them back.
  const std::vector<int32_t> passed = MarkersPassedBySlideStart(Slide, Position);
  if (!passed.empty()) DeleteMarkers(passed, UndoName, false);
  SlidesBeingChanged(UndoName, true);
  project.Slides[static_cast<size_t>(Slide)].Start = Position;
  operation.Done({std::to_string(Slide), std::to_string(Position), UndoName});
}

}  // namespace quorvane
