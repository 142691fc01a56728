// The project's values and its slide and marker tables, filled from the project file and
// kept in step with every edit of the timeline.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quorvane {

inline constexpr int32_t kClickMarker = 1;
inline constexpr int32_t kAutoMarker = 2;

struct SlideInfo {
  std::string Title;
  std::string Track;  // audio file name, relative to TargetFolder
  int32_t Start = 0;  // position of the slide's first sample

  // Filled at load: the track's file inside the target folder, links and ".." resolved;
  // the one path the session reads and writes for this slide.
  std::string TrackPath;
  // A file was at TrackPath that could not be read. Saves leave it, its duration and its
  // markers as they are, unless the user has it replaced by the edited audio.
  bool TrackUnreadable = false;
  // What such a slide held when loaded, to tell whether it was edited since; also kept for
  // a track converted when loaded (another rate, sample size or channel count than the
  // document's), whose samples lie in no file of it.
  uint64_t LoadedAudio = 0;
  bool LoadedByDigest = false;
  uint64_t LoadedMarkers = 0;
  // Where the slide's samples lay in the file they were loaded from, when it is its track
  // or, for an MP3 track, the track's decoding (0 when they lay elsewhere): while they
  // still lie there, the track already holds the slide's audio.
  std::string LoadedFrom;
  uint64_t LoadedLayout = 0;
};

struct MarkerInfo {
  int32_t Kind = 0;      // kClickMarker or kAutoMarker
  float Seconds = 0.0F;  // time from the slide's start, filled when the file is written
  int32_t Position = 0;  // sample position in the document
  int32_t Slide = 0;     // the slide it belongs to
};

inline bool SameMarker(const MarkerInfo& a, const MarkerInfo& b) {
  return a.Kind == b.Kind && a.Position == b.Position && a.Slide == b.Slide;
}

struct ProjectData {
  std::string ProjectPath;
  std::string LamePath;
  std::string LameSettings;
  std::string PresentationName;
  std::string TargetFolder;  // ends in "/" after a successful read
  int32_t SlideCount = 1;
  int32_t BaseFrequency = 0;
  int32_t BaseBits = 0;

  // Indices 0 to SlideCount + 1: 0 unused, 1..SlideCount the slides, then the end entry.
  std::vector<SlideInfo> Slides;
  int32_t SlideEntryCount = 2;

  // Indices 1 to MarkerCount; index 0 holds no marker.
  std::vector<MarkerInfo> Markers;
  int32_t MarkerCount = 0;
};

ProjectData& Project();

// Every value as before the project file is read: one slide "New", no markers.
// `programFolder` is the default target folder.
void SetProjectDefaults(const std::string& programFolder);

// Appends a marker at index MarkerCount + 1.
void AddMarker(const MarkerInfo& marker);

// Removes the marker at `index` (1-based); later markers move down.
void RemoveMarker(int32_t index);

// Orders the markers by ascending position; markers at the same position keep their order.
void SortMarkers();

// The next entry's Start for n = 1..SlideCount, documentLength + 1 for n = SlideCount + 1,
// and 0 for any other n.
int32_t SlideEndPosition(int32_t n, int32_t documentLength);

}  // namespace quorvane
