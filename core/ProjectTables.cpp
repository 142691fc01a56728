#include "core/ProjectTables.h"

#include <utility>

#include "platform/ProgramFile.h"

namespace quorvane {

namespace {
ProjectData g_project;
}

ProjectData& Project() { return g_project; }

void SetProjectDefaults(const std::string& programFolder) {
  ProjectData& project = g_project;
  project = ProjectData{};
  project.LamePath = FindOnPath("lame");
  if (project.LamePath.empty()) project.LamePath = "/usr/bin/lame";
  project.LameSettings = "";
  project.PresentationName = "New Presentation";
  project.TargetFolder =
      programFolder.empty() || programFolder.back() == '/' ? programFolder : programFolder + "/";
  project.SlideCount = 1;
  project.SlideEntryCount = 2;
  project.Slides.assign(3, SlideInfo{});
  project.Slides[1].Title = "New";
  project.Slides[1].Track = "New";
  project.Markers.assign(1, MarkerInfo{});
  project.MarkerCount = 0;
}

void AddMarker(const MarkerInfo& marker) {
  ProjectData& project = g_project;
  project.Markers.resize(static_cast<size_t>(project.MarkerCount) + 1);
  project.Markers.push_back(marker);
  ++project.MarkerCount;
}

void RemoveMarker(int32_t index) {
  ProjectData& project = g_project;
  if (index < 1 || index > project.MarkerCount) return;
  project.Markers.erase(project.Markers.begin() + index);
  --project.MarkerCount;
}

void SortMarkers() {
  std::vector<MarkerInfo>& markers = g_project.Markers;
  const int32_t count = g_project.MarkerCount;
  // Neighbour exchanges keep markers at equal positions in their order; the table is
  // nearly sorted after an edit, so a pass or two is all it takes.
  bool exchanged = true;
  while (exchanged) {
    exchanged = false;
    for (int32_t i = 1; i < count; ++i) {
      if (markers[i].Position > markers[i + 1].Position) {
        std::swap(markers[i], markers[i + 1]);
        exchanged = true;
      }
    }
  }
}

int32_t SlideEndPosition(int32_t n, int32_t documentLength) {
  const ProjectData& project = g_project;
  if (n >= 1 && n <= project.SlideCount) return project.Slides[n + 1].Start;
  if (n == project.SlideCount + 1) return documentLength + 1;
  return 0;
}

}  // namespace quorvane
