#include "storage/SlidesAndMarkers.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "core/ProjectTables.h"

namespace quorvane {

namespace {

// Entries 1..SlideEntryCount: the slides and the end entry.
int32_t LastSlideEntry() {
  const ProjectData& project = Project();
  return std::min(project.SlideEntryCount, static_cast<int32_t>(project.Slides.size()) - 1);
}

int32_t LastMarker() {
  const ProjectData& project = Project();
  return std::min(project.MarkerCount, static_cast<int32_t>(project.Markers.size()) - 1);
}

// Keeps the markers for which `keep` is true, in their order.
template <typename Keep>
void KeepMarkers(Keep keep) {
  ProjectData& project = Project();
  std::vector<MarkerInfo> kept(1);
  for (int32_t i = 1; i <= LastMarker(); ++i) {
    if (keep(project.Markers[i])) kept.push_back(project.Markers[i]);
  }
  project.Markers = std::move(kept);
  project.MarkerCount = static_cast<int32_t>(project.Markers.size()) - 1;
}

}  // namespace

void SaveSlideBoundaries(UndoItem& item) {
  item.SavedSlides.clear();
  for (int32_t i = 1; i <= LastSlideEntry(); ++i)
    item.SavedSlides.push_back(Project().Slides[i].Start);
  item.SlidesSaved = 1;
}

void RestoreSlideBoundaries(const UndoItem& item) {
  const int32_t count = std::min(LastSlideEntry(), static_cast<int32_t>(item.SavedSlides.size()));
  for (int32_t i = 1; i <= count; ++i) Project().Slides[i].Start = item.SavedSlides[i - 1];
}

void ShiftForInsert(int32_t PosStart, int32_t length, UndoItem* item) {
  if (item) SaveSlideBoundaries(*item);
  ProjectData& project = Project();
  bool passedInsertionPoint = false;
  // The end entry is always the length + 1: audio inserted after the last sample belongs to
  // the last slide, never to the stretch beyond it.
  const int32_t endEntry = LastSlideEntry();
  for (int32_t i = 1; i <= LastSlideEntry(); ++i) {
    int32_t& start = project.Slides[i].Start;
    if (i == endEntry && start >= PosStart) {
      start += length;
    } else if (start == PosStart && !passedInsertionPoint) {
      passedInsertionPoint = true;
    } else if (start > PosStart || passedInsertionPoint) {
      start += length;
    }
  }
  for (int32_t i = 1; i <= LastMarker(); ++i) {
    if (project.Markers[i].Position > PosStart) project.Markers[i].Position += length;
  }
}

void ShiftForDelete(int32_t PosStart, int32_t length, UndoItem* item) {
  if (item) SaveSlideBoundaries(*item);
  const int32_t end = PosStart + length - 1;
  ProjectData& project = Project();
  for (int32_t i = 1; i <= LastSlideEntry(); ++i) {
    int32_t& start = project.Slides[i].Start;
    if (start >= PosStart && start <= end) {
      start = PosStart;
    } else if (start > end) {
      start -= length;
    }
  }
  KeepMarkers([&](MarkerInfo& marker) {
    if (marker.Position >= PosStart && marker.Position <= end) {
      if (item) item->SavedMarkers.push_back(marker);
      return false;
    }
    if (marker.Position > end) marker.Position -= length;
    return true;
  });
}

void ShiftForReplace(int32_t PosStart, int32_t oldLength, int32_t newLength) {
  const int32_t end = PosStart + oldLength - 1;
  const int32_t lastNew = PosStart + std::max(newLength - 1, 0);
  const auto moved = [&](int32_t position) {
    if (position < PosStart) return position;
    if (position > end) return position + newLength - oldLength;
    return std::min(position, lastNew);
  };
  ProjectData& project = Project();
  // The end entry, one past the last sample, moves with the later ones.
  for (int32_t i = 1; i <= LastSlideEntry(); ++i) {
    project.Slides[i].Start = moved(project.Slides[i].Start);
  }
  for (int32_t i = 1; i <= LastMarker(); ++i) {
    project.Markers[i].Position = moved(project.Markers[i].Position);
  }
}

void UnshiftInsert(int32_t PosStart, int32_t length, const UndoItem& item) {
  RestoreSlideBoundaries(item);
  const int32_t end = PosStart + length - 1;
  KeepMarkers([&](MarkerInfo& marker) {
    if (marker.Position >= PosStart && marker.Position <= end) return false;
    if (marker.Position > end) marker.Position -= length;
    return true;
  });
}

void UnshiftDelete(int32_t PosStart, int32_t length, const UndoItem& item) {
  RestoreSlideBoundaries(item);
  ProjectData& project = Project();
  for (int32_t i = 1; i <= LastMarker(); ++i) {
    if (project.Markers[i].Position >= PosStart) project.Markers[i].Position += length;
  }
  for (const MarkerInfo& marker : item.SavedMarkers) AddMarker(marker);
}

void UndoMarkersAdded(const UndoItem& item) {
  for (const MarkerInfo& saved : item.SavedMarkers) {
    for (int32_t i = 1; i <= LastMarker(); ++i) {
      if (SameMarker(Project().Markers[i], saved)) {
        RemoveMarker(i);
        break;
      }
    }
  }
}

void UndoMarkersDeleted(const UndoItem& item) {
  for (const MarkerInfo& marker : item.SavedMarkers) AddMarker(marker);
}

void SaveSlidesAndMarkers(UndoItem& item) {
  SaveSlideBoundaries(item);
  const ProjectData& project = Project();
  item.SavedMarkers.assign(project.Markers.begin() + 1, project.Markers.begin() + 1 + LastMarker());
}

void RestoreSlidesAndMarkers(const UndoItem& item) {
  RestoreSlideBoundaries(item);
  ProjectData& project = Project();
  project.Markers.resize(1);
  project.Markers.insert(project.Markers.end(), item.SavedMarkers.begin(), item.SavedMarkers.end());
  project.MarkerCount = static_cast<int32_t>(item.SavedMarkers.size());
}

}  // namespace quorvane
