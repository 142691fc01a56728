// Projects as a host writes them, for the tests of session loading and saving and of the
// batch tool: a project file of given slides, tracks, durations and markers, the track
// files beside it, and reading the values back out of the file afterwards.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quorvane::testing {

// One slide's section. A key left empty (std::nullopt) is not written at all.
struct SlidePlan {
  std::optional<std::string> title;     // "SlideTitle"
  std::optional<std::string> track;     // "SlideTrack"
  std::optional<std::string> duration;  // "Duration"
  std::optional<std::string> clicks;    // "ClickMarkerTimes"
  std::optional<std::string> autos;     // "AutoMarkerTimes"
  // The track file's bytes, written as targetFolder + "/" + track when given.
  std::optional<std::string> audio;
};

// Section "Project" and the slides. A key left empty is not written; "SlideCount" is the
// number of slides unless given, and missing when writeSlideCount is false.
struct ProjectPlan {
  std::optional<std::string> targetFolder;
  std::optional<std::string> slideCount;
  bool writeSlideCount = true;
  std::optional<std::string> baseFrequency;
  std::optional<std::string> baseBits;
  std::optional<std::string> lamePath;
  std::optional<std::string> lameSettings;
  std::optional<std::string> presentationName;
  std::vector<SlidePlan> slides;
};

// Writes the project file, section "Project" and then sections "1", "2", ... of the slides,
// and the track files of the slides that carry audio into the target folder, made when
// missing. Returns `path`.
std::string WriteProject(const std::string& path, const ProjectPlan& plan);

// A slide of a track file with its audio and duration, and optional marker lists.
SlidePlan TrackSlide(const std::string& track, const std::string& audio,
                     const std::string& duration = "", std::optional<std::string> clicks = {},
                     std::optional<std::string> autos = {});

// The value of section/key as it stands in the file's text (blanks around "=" kept out);
// nothing when the section or the key is missing.
std::optional<std::string> IniValue(const std::string& text, const std::string& section,
                                    const std::string& key);

}  // namespace quorvane::testing
