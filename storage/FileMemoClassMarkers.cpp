// The document's marker and boundary edits: each changes the project tables and records
// its undo item, so that every front end edits markers the same way.
#include <algorithm>
#include <functional>

#include "core/ProjectTables.h"
#include "storage/FileMemoClass.h"

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
  ProjectData& project = Project();
  if (MarkerNo < 1 || MarkerNo > project.MarkerCount) return;
  MarkerOneChanged(2, MarkerNo, UndoName, false);
  project.Markers[static_cast<size_t>(MarkerNo)].Position = Position;
  MarkerOneChanged(1, MarkerNo, UndoName, true);
  SortMarkers();
}

int32_t FileMemoClass::AddMarkers(const std::vector<MarkerInfo>& markers,
                                  const std::string& UndoName) {
  ProjectData& project = Project();
  std::vector<int32_t> added;
  for (const MarkerInfo& marker : markers) {
    AddMarker(marker);
    added.push_back(project.MarkerCount);
  }
  MarkerManyChanged(1, added, UndoName, true);
  SortMarkers();
  return static_cast<int32_t>(added.size());
}

void FileMemoClass::DeleteMarkers(std::vector<int32_t> MarkerNos, const std::string& UndoName,
                                  bool IsLastOperation) {
  const ProjectData& project = Project();
  std::erase_if(MarkerNos, [&](int32_t n) { return n < 1 || n > project.MarkerCount; });
  // From the last, so the markers still to go keep their numbers.
  std::sort(MarkerNos.begin(), MarkerNos.end(), std::greater<>());
  MarkerNos.erase(std::unique(MarkerNos.begin(), MarkerNos.end()), MarkerNos.end());
  MarkerManyChanged(2, MarkerNos, UndoName, IsLastOperation);
  for (const int32_t n : MarkerNos) RemoveByMovingLast(n);
  SortMarkers();
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
  ProjectData& project = Project();
  if (Slide < 2 || Slide > project.SlideCount) return;
  // The markers the boundary passes would change slides: they go, and undo brings them back.
  const std::vector<int32_t> passed = MarkersPassedBySlideStart(Slide, Position);
  if (!passed.empty()) DeleteMarkers(passed, UndoName, false);
  SlidesBeingChanged(UndoName, true);
  project.Slides[static_cast<size_t>(Slide)].Start = Position;
}

}  // namespace quorvane
