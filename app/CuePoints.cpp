#include "app/CuePoints.h"

#include <algorithm>
#include <cmath>

#include "core/ProjectTables.h"
#include "core/Settings.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

bool CuePointsWanted() { return SettingGet("", "CuePoints", "1") != "0"; }

std::vector<WaveCuePoint> SlideCuePoints(int32_t n) {
  const ProjectData& project = Project();
  const int32_t start = project.Slides[static_cast<size_t>(n)].Start;
  std::vector<const MarkerInfo*> markers;
  for (int32_t m = 1; m <= project.MarkerCount; ++m) {
    const MarkerInfo& marker = project.Markers[static_cast<size_t>(m)];
    if (marker.Slide == n && marker.Position >= start) markers.push_back(&marker);
  }
  std::stable_sort(markers.begin(), markers.end(), [](const MarkerInfo* a, const MarkerInfo* b) {
    return a->Position < b->Position;
  });
  std::vector<WaveCuePoint> points;
  int clicks = 0;
  int autos = 0;
  for (const MarkerInfo* marker : markers) {
    const bool click = marker->Kind == kClickMarker;
    const int number = click ? ++clicks : ++autos;
    points.push_back({static_cast<uint32_t>(marker->Position - start),
                      (click ? "Click " : "Auto ") + std::to_string(number)});
  }
  return points;
}

std::vector<int32_t> CueOffsets(const std::string& file, int32_t frames, int32_t rate) {
  const WaveCueList list = ReadWaveCuePoints(file);
  std::vector<int32_t> offsets;
  if (list.Rate == 0 || rate <= 0) return offsets;
  for (const WaveCuePoint& point : list.Points) {
    // Frames count at the file's rate; the audio may have been resampled to the document's.
    const auto frame = static_cast<int64_t>(
        std::llround(static_cast<double>(point.Frame) * rate / static_cast<double>(list.Rate)));
    if (frame < frames) offsets.push_back(static_cast<int32_t>(frame));
  }
  return offsets;
}

void AddClickMarkers(FileMemoClass& document, int32_t first, const std::vector<int32_t>& offsets,
                     const std::string& undoName) {
  const ProjectData& project = Project();
  std::vector<MarkerInfo> markers;
  for (const int32_t offset : offsets) {
    const int32_t position = first + offset;
    int32_t slide = 0;
    for (int32_t i = 1; i <= project.SlideCount; ++i) {
      if (project.Slides[static_cast<size_t>(i)].Start <= position &&
          position < SlideEndPosition(i, document.WavWaveINos)) {
        slide = i;
      }
    }
    if (slide != 0) markers.push_back(MarkerInfo{kClickMarker, 0.0F, position, slide});
  }
  document.AddMarkers(markers, undoName);
}

}  // namespace quorvane
