#include "app/ProjectFile.h"

#include <filesystem>
#include <optional>
#include <unordered_map>
#include <vector>

#include "app/ProjectLock.h"
#include "app/Session.h"
#include "app/SessionJournal.h"
#include "app/SlideStretch.h"
#include "app/StagedFiles.h"
#include "app/TrackPaths.h"
#include "core/Environment.h"
#include "core/ErrorReport.h"
#include "core/FileHelpers.h"
#include "core/HostFlag.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "core/ProjectIni.h"
#include "core/ProjectTables.h"
#include "platform/ProfileFile.h"
#include "storage/BlockList.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

namespace {

void CannotWrite(const std::string& file) {
  ThrowError(kErrorPermissionDenied, "Cannot write " + file);
}

std::string SlideList(const std::vector<int32_t>& slides) {
  std::string list;
  for (const int32_t n : slides) list += (list.empty() ? "" : ", ") + DecimalText(n);
  return list;
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
                              ", Position: " + piece + kCrLf + "Slide title: " + slide.Title);
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

// A refusal of a value of section "Project", with the value as written and what can be used.
bool Unsupported(const std::string& what, const std::string& key, const std::string& value,
                 const std::string& usable) {
  UserInterface().Message("The " + what + " in the project file is not supported (" + key + "=" +
                          Trim(value) + "; " + usable + " can be used)");
  return false;
}

// Every slide's title and track, each track a file of the target folder's own and no two
// slides sharing one; false after a message otherwise, before any file is read.
bool ReadSlideTracks(const ProfileDocument& file) {
  ProjectData& project = Project();
  std::unordered_map<std::string, int32_t> owners;
  for (int32_t n = 1; n <= project.SlideCount; ++n) {
    const std::string section = DecimalText(n);
    SlideInfo& slide = project.Slides[static_cast<size_t>(n)];
    const std::string title = ProjectIniGet(section, "SlideTitle", "", file);
    slide.Title = title.empty() ? "Title" + section : title;
    const std::string track = Trim(ProjectIniGet(section, "SlideTrack", "", file));
    slide.Track = track.empty() ? "Track" + section + ".mp3" : track;
    const TrackPlace place = ResolveTrack(n, project.TargetFolder, slide.Track);
    if (!place.refusal.empty()) {
      UserInterface().Message(place.refusal, MessageIcon::Exclamation);
      return false;
    }
    const auto [owner, first] = owners.try_emplace(place.path, n);
    if (!first) {
      UserInterface().Message("Slides " + DecimalText(owner->second) + " and " + section +
                                  " name the same track:" + kCrLf + place.path,
                              MessageIcon::Exclamation);
      return false;
    }
    slide.TrackPath = place.path;
  }
  return true;
}

// Whether slide n, whose track could not be read, is written this time: only when its
// audio was edited and the user has the file replaced. A slide left out with edits of its
// own is added to `left`.
bool ReplaceUnreadableTrack(FileMemoClass& document, int32_t n, std::vector<int32_t>& left) {
  if (SlideAudioEdited(document, n)) {
    const MessageRequest question{"The track of slide " + DecimalText(n) +
                                      " could not be read when the project was opened. Replace "
                                      "it with the edited audio?",
                                  kAppTitle, MessageIcon::Question, MessageButtons::YesNo, 2};
    if (UserInterface().MsgBox(question) == MessageAnswer::Yes) return true;
    left.push_back(n);
  } else if (SlideMarkersEdited(n)) {
    left.push_back(n);
  }
  return false;
}

// The durations and marker times of slide n into the project file's text.
void PutSlideValues(FileMemoClass& document, int32_t n, ProfileDocument& file) {
  ProjectData& project = Project();
  const std::string section = DecimalText(n);
  const SlideInfo& slide = project.Slides[static_cast<size_t>(n)];
  const float rate = static_cast<float>(document.WavFmtFreq);
  ProjectIniPut(section, "SlideTrack", slide.Track, file);
  const float duration =
      static_cast<float>(SlideEndPosition(n, document.WavWaveINos) - slide.Start) / rate;
  ProjectIniPut(section, "Duration", FormatOneToThreeDecimals(duration), file);
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
  ProjectIniPut(section, "ClickMarkerTimes", clicks, file);
  ProjectIniPut(section, "AutoMarkerTimes", autos, file);
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
  // The file itself, whatever link or relative path named it: a session reached through a
  // link locks and saves the same file as one that named it directly.
  std::error_code error;
  const std::filesystem::path real = std::filesystem::canonical(path, error);
  if (!error) path = real.string();
  project.ProjectPath = path;
  if (!LockProject(path)) return false;
  FinishInterruptedSaves(path);
  // The file is read once; every value comes from this copy.
  const std::optional<ProfileDocument> file = ProfileDocument::Read(path);
  if (!file) {
    UserInterface().Message(std::string("The project file cannot be read:") + kCrLf + path);
    return false;
  }
  const auto get = [&file](const std::string& section, const std::string& key,
                           const std::string& defaultValue = "") {
    return ProjectIniGet(section, key, defaultValue, *file);
  };

  const std::string lame = Trim(get("Project", "LamePath"));
  if (!lame.empty() && FileExists(lame)) project.LamePath = lame;
  const std::string settings = Trim(get("Project", "LameSettings"));
  if (!settings.empty()) project.LameSettings = settings;
  const std::string name = get("Project", "PresentationName");
  if (!name.empty()) project.PresentationName = name;
  std::string target = Trim(get("Project", "TargetFolder"));
  if (target.empty() || !FolderExists(target)) {
    UserInterface().Message("Target folder is not found");
    return false;
  }
  if (target.back() != '/') target += '/';
  project.TargetFolder = target;
  // Every slide costs a section, a table entry and a file: a count beyond any presentation
  // would only take the memory and the time of an empty start.
  const std::string count = get("Project", "SlideCount", "0");
  const int32_t slideCount = RoundHalfEven(LeadingNumber(count));
  if (slideCount > kMostSlides) {
    return Unsupported("slide count", "SlideCount", count, "at most " + DecimalText(kMostSlides));
  }
  if (slideCount > 0) project.SlideCount = slideCount;
  // Every track is resampled to the project's rate: a rate below what any recording has
  // would make every track noise, a negative one lengths negative, and one beyond what
  // sound devices take would make every second of audio gigabytes.
  const std::string rate = get("Project", "BaseFrequency");
  project.BaseFrequency = RoundHalfEven(LeadingNumber(rate));
  if (project.BaseFrequency != 0 && (project.BaseFrequency < kLowestBaseFrequency ||
                                     project.BaseFrequency > kHighestBaseFrequency)) {
    return Unsupported(
        "sample rate", "BaseFrequency", rate,
        "0 or " + DecimalText(kLowestBaseFrequency) + " to " + DecimalText(kHighestBaseFrequency));
  }
  // Documents hold 8 or 16 bits a sample: any other size would load but could never be
  // saved.
  const std::string bits = get("Project", "BaseBits");
  project.BaseBits = RoundHalfEven(LeadingNumber(bits));
  if (project.BaseBits != 0 && project.BaseBits != 8 && project.BaseBits != 16) {
    return Unsupported("sample size", "BaseBits", bits, "0, 8 or 16");
  }

  project.SlideEntryCount = project.SlideCount + 1;
  project.Slides.resize(static_cast<size_t>(project.SlideEntryCount) + 1);
  if (!ReadSlideTracks(*file)) return false;
  int64_t total = 0;
  std::vector<int32_t> unreadable;
  for (int32_t n = 1; n <= project.SlideCount; ++n) {
    const std::string section = DecimalText(n);
    const float duration = static_cast<float>(LeadingNumber(get(section, "Duration", "0")));
    LoadSlideAudio(document, n, duration, total);
    const SlideInfo& slide = project.Slides[static_cast<size_t>(n)];
    if (slide.TrackUnreadable) unreadable.push_back(n);
    const int32_t slideLength = static_cast<int32_t>(total + 1 - slide.Start);
    ReadMarkers(n, kClickMarker, get(section, "ClickMarkerTimes", "*"), document.WavFmtFreq,
                slideLength);
    ReadMarkers(n, kAutoMarker, get(section, "AutoMarkerTimes", "*"), document.WavFmtFreq,
                slideLength);
  }
  project.Slides[static_cast<size_t>(project.SlideEntryCount)].Start =
      static_cast<int32_t>(total + 1);
  SortMarkers();
  NoteLoadedSlides(document);
  if (!unreadable.empty()) {
    UserInterface().Message(
        "The tracks of these slides could not be read: " + SlideList(unreadable) + kCrLf +
            "Saving leaves those files as they are unless you choose to "
            "replace them with edited audio.",
        MessageIcon::Exclamation);
  }
  return true;
}

bool ProjectFileSave(FileMemoClass& document) {
  // Every file is written beside the one it replaces and put in place only when all are
  // written, the project file last: a save that fails leaves the files, the document, its
  // undo history and its changed flag as they were, and a save cut off never leaves a
  // project file that describes audio not on the disk.
  StagedFiles staged;
  try {
    if (!SetHostFlag("1")) CannotWrite(HostFlagFile());
    ProjectData& project = Project();
    std::optional<ProfileDocument> file = ProfileDocument::Read(project.ProjectPath);
    if (!file) CannotWrite(project.ProjectPath);
    std::vector<int32_t> leftAsTheyWere;
    std::vector<int32_t> replaced;
    for (int32_t n = 1; n <= project.SlideCount; ++n) {
      const SlideInfo& slide = project.Slides[static_cast<size_t>(n)];
      if (slide.TrackUnreadable) {
        if (!ReplaceUnreadableTrack(document, n, leftAsTheyWere)) continue;
        replaced.push_back(n);
      }
      PutSlideValues(document, n, *file);
      if (!SaveSlideAudio(document, n, staged)) CannotWrite(slide.TrackPath);
    }
    staged.StageText(project.ProjectPath, file->Text());
    std::string failed;
    if (!staged.AllWritten(failed)) CannotWrite(failed);
    // A session cut off from here on is finished by the next one, from this plan.
    Journal().AppendSavePlan({SavePlan(staged)});
    // Audio the document or its undo history still reads from a file being replaced (the
    // slide's own audio, say) keeps reading it in the session folder.
    if (!staged.Commit([](const std::string& target) { SetOriginalFileAside(target); }, failed)) {
      Journal().AbandonSavePlan();
      CannotWrite(failed);
    }
    // The saved files are what later edits start from.
    Journal().Restart(SessionJournalHeader());
    for (const int32_t n : replaced) project.Slides[static_cast<size_t>(n)].TrackUnreadable = false;
    Editor().WaveChanged = false;
    if (!leftAsTheyWere.empty()) {
      UserInterface().Message(
          "These slides were left as they were, without their edits, because their tracks "
          "could not be read when the project was opened: " +
              SlideList(leftAsTheyWere),
          MessageIcon::Exclamation);
    }
    return leftAsTheyWere.empty();
  } catch (const std::exception& error) {
    UserInterface().Message(std::string("Error Saving") + kCrLf + ErrorDescription(error));
    return false;
  }
}

}  // namespace quorvane
