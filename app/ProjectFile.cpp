#include "app/ProjectFile.h"

#include <filesystem>
#include <system_error>
#include <vector>

#include "app/Session.h"
#include "app/StagedFiles.h"
#include "core/Environment.h"
#include "core/ErrorReport.h"
#include "core/FileHelpers.h"
#include "core/HostFlag.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "core/ProjectIni.h"
#include "core/ProjectTables.h"
#include "storage/BlockList.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

namespace {

std::string Get(const std::string& section, const std::string& key,
                const std::string& defaultValue = "") {
  return ProjectIniGet(section, key, defaultValue, Project().ProjectPath);
}

// Into the save's copy of the project file, which replaces the project file at the end.
void Put(const std::string& copy, const std::string& section, const std::string& key,
         const std::string& value) {
  if (!ProjectIniPut(section, key, value, copy)) {
    ThrowError(kErrorPermissionDenied, "Cannot write " + Project().ProjectPath);
  }
}

void CannotWrite(const std::string& file) {
  ThrowError(kErrorPermissionDenied, "Cannot write " + file);
}

// Markers of one kind from a comma-separated list of seconds from the slide's start.
void ReadMarkers(int32_t n, int32_t kind, const std::string& times, int32_t sampleRate,
                 int32_t slideLength) {
  if (times == "*" || times.empty()) return;
  const SlideInfo& slide = Project().Slides[static_cast<size_t>(n)];
  size_t begin = 0;
  while (begin <= times.size()) {
    size_t comma = times.find(',', begin);
    if (comma == std::string::npos) comma = times.size();
    const std::string piece = times.substr(begin, comma - begin);
    const int32_t offset = RoundHalfEven(sampleRate * LeadingNumber(piece));
    if (offset < 0 || offset > slideLength) {
      UserInterface().Message(std::string("A marker is out of the slide duration that is ignored") +
                              kCrLf + "Marker type: " + (kind == kClickMarker ? "Click" : "Auto") +
                              ", Posiion: " + piece + kCrLf + "Slide title: " + slide.Title);
    } else {
      MarkerInfo marker;
      marker.Kind = kind;
      marker.Position = offset + slide.Start;
      marker.Slide = n;
      AddMarker(marker);
    }
    begin = comma + 1;
  }
}

}  // namespace

bool ProjectFileLoad(std::string& path, FileMemoClass& document) {
  if (!path.empty() && path.front() == '"') path.erase(0, 1);
  if (!path.empty() && path.back() == '"') path.pop_back();
  SetProjectDefaults(Env().AppPath);
  ProjectData& project = Project();
  if (path.empty()) {
    UserInterface().Message("This program can not run independently");
    return false;
  }
  if (!FileExists(path)) {
    UserInterface().Message("File not found");
    return false;
  }
  project.ProjectPath = path;

  const std::string lame = Trim(Get("Project", "LamePath"));
  if (!lame.empty() && FileExists(lame)) project.LamePath = lame;
  const std::string settings = Trim(Get("Project", "LameSettings"));
  if (!settings.empty()) project.LameSettings = settings;
  const std::string name = Get("Project", "PresentationName");
  if (!name.empty()) project.PresentationName = name;
  std::string target = Trim(Get("Project", "TargetFolder"));
  if (target.empty() || !FolderExists(target)) {
    UserInterface().Message("Target folder is not found");
    return false;
  }
  if (target.back() != '/') target += '/';
  project.TargetFolder = target;
  const int32_t slideCount = RoundHalfEven(LeadingNumber(Get("Project", "SlideCount", "0")));
  if (slideCount > 0) project.SlideCount = slideCount;
  // Every track is resampled to the project's rate: a negative one would make lengths
  // negative, and one beyond what sound devices take would make every second of audio
  // gigabytes.
  const std::string rate = Get("Project", "BaseFrequency");
  project.BaseFrequency = RoundHalfEven(LeadingNumber(rate));
  if (project.BaseFrequency < 0 || project.BaseFrequency > kHighestBaseFrequency) {
    UserInterface().Message(
        "The sample rate in the project file is not supported (BaseFrequency=" + Trim(rate) +
        "; 0 to " + DecimalText(kHighestBaseFrequency) + " can be used)");
    return false;
  }
  // Documents hold 8 or 16 bits a sample: any other size would load but could never be
  // saved.
  const std::string bits = Get("Project", "BaseBits");
  project.BaseBits = RoundHalfEven(LeadingNumber(bits));
  if (project.BaseBits != 0 && project.BaseBits != 8 && project.BaseBits != 16) {
    UserInterface().Message("The sample size in the project file is not supported (BaseBits=" +
                            Trim(bits) + "; 0, 8 or 16 can be used)");
    return false;
  }

  project.SlideEntryCount = project.SlideCount + 1;
  project.Slides.resize(static_cast<size_t>(project.SlideEntryCount) + 1);
  int64_t total = 0;
  for (int32_t n = 1; n <= project.SlideCount; ++n) {
    const std::string section = DecimalText(n);
    SlideInfo& slide = project.Slides[static_cast<size_t>(n)];
    const std::string title = Get(section, "SlideTitle");
    slide.Title = title.empty() ? "Title" + section : title;
    const std::string track = Trim(Get(section, "SlideTrack"));
    slide.Track = track.empty() ? "Track" + section + ".mp3" : track;
    const float duration = static_cast<float>(LeadingNumber(Get(section, "Duration", "0")));
    LoadSlideAudio(document, n, duration, total);
    const int32_t slideLength = static_cast<int32_t>(total + 1 - slide.Start);
    ReadMarkers(n, kClickMarker, Get(section, "ClickMarkerTimes", "*"), document.WavFmtFreq,
                slideLength);
    ReadMarkers(n, kAutoMarker, Get(section, "AutoMarkerTimes", "*"), document.WavFmtFreq,
                slideLength);
  }
  project.Slides[static_cast<size_t>(project.SlideEntryCount)].Start =
      static_cast<int32_t>(total + 1);
  SortMarkers();
  return true;
}

void ProjectFileSave(FileMemoClass& document) {
  // Every file is written beside the one it replaces and put in place only when all are
  // written: a save that fails leaves the files, the document, its undo history and its
  // changed flag as they were.
  StagedFiles staged;
  try {
    if (!SetHostFlag("1")) CannotWrite(HostFlagFile());
    ProjectData& project = Project();
    const std::string copy = staged.Stage(project.ProjectPath);
    std::error_code copyError;
    std::filesystem::copy_file(project.ProjectPath, copy, copyError);
    if (copyError) CannotWrite(project.ProjectPath);
    const float rate = static_cast<float>(document.WavFmtFreq);
    for (int32_t n = 1; n <= project.SlideCount; ++n) {
      const std::string section = DecimalText(n);
      const SlideInfo& slide = project.Slides[static_cast<size_t>(n)];
      Put(copy, section, "SlideTrack", slide.Track);
      const float duration =
          static_cast<float>(SlideEndPosition(n, document.WavWaveINos) - slide.Start) / rate;
      Put(copy, section, "Duration", FormatOneToThreeDecimals(duration));
      std::string clicks;
      std::string autos;
      for (int32_t m = 1; m <= project.MarkerCount; ++m) {
        MarkerInfo& marker = project.Markers[static_cast<size_t>(m)];
        if (marker.Slide != n) continue;
        if (marker.Kind != kClickMarker && marker.Kind != kAutoMarker) continue;
        marker.Seconds = static_cast<float>(marker.Position - slide.Start) / rate;
        std::string& list = marker.Kind == kClickMarker ? clicks : autos;
        if (!list.empty()) list += ',';
        list += FormatOneToThreeDecimals(marker.Seconds);
      }
      Put(copy, section, "ClickMarkerTimes", clicks);
      Put(copy, section, "AutoMarkerTimes", autos);
      if (!SaveSlideAudio(document, n, staged)) CannotWrite(project.TargetFolder + slide.Track);
    }
    std::string failed;
    if (!staged.AllWritten(failed)) CannotWrite(failed);
    // Audio the document or its undo history still reads from a file being replaced (the
    // slide's own audio, say) keeps reading it in the session folder.
    if (!staged.Commit([](const std::string& target) { SetOriginalFileAside(target); }, failed)) {
      CannotWrite(failed);
    }
    Editor().WaveChanged = false;
  } catch (const std::exception& error) {
    UserInterface().Message(std::string("Error Saving") + kCrLf + ErrorDescription(error));
  }
}

}  // namespace quorvane
