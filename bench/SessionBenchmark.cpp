// Figures of sessions: opening a two-hour, 60-slide presentation whose tracks already have
// the session's format, opening it at half the rate (every track resampled), and saving a
// one-hour, 30-slide presentation over its own tracks, each beside the peer tool doing the
// same work in the same run.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>

#include "app/CuePoints.h"
#include "app/ProjectFile.h"
#include "app/SessionLifetime.h"
#include "bench/BenchSupport.h"
#include "core/BatchInteraction.h"
#include "core/Environment.h"
#include "core/Numbers.h"
#include "core/ProjectTables.h"
#include "formats/OpenSaveClass.h"
#include "platform/ProfileFile.h"
#include "storage/BlockCarrBuffClass.h"
#include "storage/FileMemoClass.h"

using namespace quorvane;
using namespace quorvane::bench;

namespace {

constexpr int kRate = 44100;
constexpr int kSlides = 60;
constexpr int kSavedSlides = 30;

struct SessionRun {
  double milliseconds = -1.0;
  double peakMegabytes = 0.0;
  int32_t length = 0;
};

// A presentation of many short slides, as a host writes one for a long lecture: `slides`
// mono tracks of one second at 8 kHz, each with two markers.
std::string WriteManySlides(const std::string& folder, int slides) {
  std::filesystem::create_directories(folder + "/tracks");
  std::ofstream project(folder + "/project.ini");
  project << "[Project]\nTargetFolder=" << folder << "/tracks\nSlideCount=" << slides
          << "\nBaseFrequency=0\nBaseBits=16\n";
  const std::vector<std::string> tracks = PresentationTracks(folder, slides);
  for (int n = 1; n <= slides; ++n) {
    WriteToneWav(tracks[static_cast<size_t>(n) - 1], 1, 8000, 16, 8000, int64_t{n} * 977);
    project << "[" << n << "]\nSlideTitle=Slide " << n << "\nSlideTrack=slide" << n
            << ".wav\nDuration=1.0\nClickMarkerTimes=0.25\nAutoMarkerTimes=0.5\n";
  }
  return folder + "/project.ini";
}

// Runs `work` in a child process of its own, so that its time and peak memory are the
// work's alone.
SessionRun RunInChild(const std::function<SessionRun()>& work) {
  int channel[2];
  if (pipe(channel) != 0) return {};
  const pid_t child = fork();
  if (child == 0) {
    close(channel[0]);
    const SessionRun run = work();
    if (write(channel[1], &run, sizeof run) != sizeof run) _exit(1);
    _exit(0);
  }
  close(channel[1]);
  SessionRun run;
  if (read(channel[0], &run, sizeof run) != sizeof run) run = {};
  close(channel[0]);
  waitpid(child, nullptr, 0);
  return run;
}

SessionRun OpenInChild(const std::string& project) {
  return RunInChild([&] {
    ResetPeakResident();
    const auto started = Clock::now();
    std::unique_ptr<FileMemoClass> document = PrepareSession(project);
    SessionRun run;
    run.milliseconds = Milliseconds(Clock::now() - started);
    run.peakMegabytes = static_cast<double>(PeakResidentBytes()) / 1e6;
    run.length = document ? document->WavWaveINos : 0;
    EndSession(document);
    return run;
  });
}

void OpeningFigures(const std::string& folder) {
  const std::string project = WritePresentation(folder, kSlides, 120, kRate, kRate);
  const auto tracks = PresentationTracks(folder, kSlides);
  for (const auto& track : tracks) ReadWholeFile(track);
  std::vector<std::string> soxi{"soxi", "-D"};
  soxi.insert(soxi.end(), tracks.begin(), tracks.end());
  const ProgramRun peer = RunProgram(soxi);

  std::vector<double> times;
  SessionRun run;
  for (int i = 0; i < 5; ++i) {
    run = OpenInChild(project);
    times.push_back(run.milliseconds);
  }
  Limit(run.length == 120 * kRate * kSlides, "the session did not open whole");
  Figure("Opening a 60-slide two-hour stereo session in its own format", Median(times), "ms",
         "soxi reading the 60 headers", peer.seconds * 1000.0, "ms");
  std::cout << "  peak resident memory of the opening process: " << run.peakMegabytes << " MB"
            << std::endl;
  Limit(Median(times) < 100.0, "opening under 100 ms");
  Limit(run.peakMegabytes < 100.0, "opening under 100 MB of peak resident memory");
}

void ResamplingFigures(const std::string& folder) {
  const std::string project = WritePresentation(folder, kSlides, 120, kRate, 22050);
  const auto tracks = PresentationTracks(folder, kSlides);
  const std::string out = folder + "/resampled";
  std::filesystem::create_directories(out);
  const auto started = Clock::now();
  for (size_t i = 0; i < tracks.size(); ++i) {
    RunProgram({"sox", tracks[i], "-r", "22050", out + "/" + std::to_string(i) + ".wav"});
  }
  const double peer = Seconds(Clock::now() - started);
  std::filesystem::remove_all(out);

  const SessionRun run = OpenInChild(project);
  Limit(run.length == 120 * 22050 * kSlides, "the resampled session has the wrong length");
  Figure("Opening the same session at 22,050 Hz (every track resampled)", run.milliseconds / 1000.0,
         "s", "sox resampling the 60 files", peer, "s");
  std::cout << "  peak resident memory of the opening process: " << run.peakMegabytes << " MB"
            << std::endl;
  Limit(run.milliseconds / 1000.0 <= peer, "resampling at least as fast as sox");
}

// A save with nothing staged: each slide's values written into the project file and its
// audio written straight over its track, one after the other, so that a save cut off
// leaves files half written. What the staging of the real save is measured against.
void SaveStraightOver(FileMemoClass& document) {
  const ProjectData& project = Project();
  OpenSaveClass files;
  for (int32_t n = 1; n <= project.SlideCount; ++n) {
    const SlideInfo& slide = project.Slides[static_cast<size_t>(n)];
    const std::string section = std::to_string(n);
    const int32_t end = SlideEndPosition(n, document.WavWaveINos);
    WriteProfileString(project.ProjectPath, section, "SlideTrack", slide.Track);
    const double seconds = static_cast<double>(end - slide.Start) / document.WavFmtFreq;
    WriteProfileString(project.ProjectPath, section, "Duration", FormatOneToThreeDecimals(seconds));
    // The markers as the presentation has them.
    WriteProfileString(project.ProjectPath, section, "ClickMarkerTimes", "1.5,30.25");
    WriteProfileString(project.ProjectPath, section, "AutoMarkerTimes", "12.0");
    // And the markers in the track, as the real save writes them.
    files.FileWriteWavePart(document, slide.Start, end - 1, 0, project.TargetFolder + slide.Track,
                            CueChunkBytes(SlideCuePoints(n)));
  }
}

// An edit of slides 1..`slides` that leaves every sample as it was: the first two samples
// of each are taken out and put back. The save cannot tell them from edited slides (their
// blocks no longer lie as loaded) and writes each one.
void TouchSlides(FileMemoClass& document, int32_t slides) {
  for (int32_t n = 1; n <= slides; ++n) {
    const int32_t start = Project().Slides[static_cast<size_t>(n)].Start;
    const int32_t channels = document.WavFmtChannel == 2 ? 0 : 1;
    BlockCarrBuffClass left;
    BlockCarrBuffClass right;
    document.WaveCollectData(start, start + 1, channels, left, right);
    document.WaveDataDelete(start, channels, 2, "Delete", true);
    document.WaveDataInsert(start, channels, &left, &right, "Paste", true);
  }
}

// Opens the session, touches `touched` slides (all by default), then saves it over its own
// tracks (staged, or straight over); the time and the peak memory are those of the save
// alone.
SessionRun SaveInChild(const std::string& project, const std::vector<std::string>& tracks,
                       bool staged = true, int32_t touched = -1) {
  return RunInChild([&] {
    std::unique_ptr<FileMemoClass> document = PrepareSession(project);
    SessionRun run;
    if (!document) return run;
    TouchSlides(*document, touched < 0 ? Project().SlideCount : touched);
    for (const auto& track : tracks) ReadWholeFile(track);
    // Both sides start with nothing left to write back, so that neither pays for the
    // other's writes (or for writing the tracks).
    ::sync();
    ResetPeakResident();
    const auto started = Clock::now();
    if (staged) {
      ProjectFileSave(*document);
    } else {
      SaveStraightOver(*document);
    }
    run.milliseconds = Milliseconds(Clock::now() - started);
    run.peakMegabytes = static_cast<double>(PeakResidentBytes()) / 1e6;

    run.length = document->WavWaveINos;
    EndSession(document);
    return run;
  });
}

void SavingFigures(const std::string& folder) {
  const std::string project = WritePresentation(folder, kSavedSlides, 120, kRate, kRate);
  const auto tracks = PresentationTracks(folder, kSavedSlides);
  const std::string copies = folder + "/copies";
  std::filesystem::create_directories(copies);
  for (const auto& track : tracks) ReadWholeFile(track);
  ::sync();
  const auto started = Clock::now();
  for (size_t i = 0; i < tracks.size(); ++i) {
    RunProgram({"sox", tracks[i], copies + "/" + std::to_string(i) + ".wav"});
  }
  const double peer = Seconds(Clock::now() - started);
  std::filesystem::remove_all(copies);

  const SessionRun run = SaveInChild(project, tracks);
  Limit(run.length == 120 * kRate * kSavedSlides, "the saved session did not open whole");
  // The samples, and the slide's two click markers and one automatic marker as cue points.
  const size_t cues = CueChunkBytes({{0, "Click 1"}, {0, "Click 2"}, {0, "Auto 1"}}).size();
  Limit(std::filesystem::file_size(tracks.back()) == 44 + 120ULL * kRate * 4 + cues,
        "the saved slide has the wrong size");
  const double ours = run.milliseconds / 1000.0;
  Figure("Saving a one-hour 30-slide session as WAV, each slide over its own track", ours, "s",
         "sox copying the same 30 files", peer, "s");
  std::cout << "  peak resident memory of the save: " << run.peakMegabytes << " MB" << std::endl;
  // Staged against straight over, alternately and from the same files, the best of five.
  double staged = run.milliseconds;
  double straight = 1e30;
  for (int round = 0; round < 5; ++round) {
    straight = std::min(straight, SaveInChild(project, tracks, false).milliseconds);
    if (round > 0) staged = std::min(staged, SaveInChild(project, tracks).milliseconds);
  }
  Figure("  the same save, each file written beside its old one and put in place", staged / 1000.0,
         "s", "each file written straight over its old one", straight / 1000.0, "s");
  Limit(staged <= 1.05 * straight, "a safe save at most 5 % slower than writing straight over");
  Limit(ours <= peer, "saving at least as fast as sox copying");
  Limit(run.peakMegabytes < 80.0, "saving under 80 MB of peak resident memory");
}

// Loading and saving a presentation of 2,000 slides: every value of the project file is
// read and written once, whatever the number of slides.
void ManySlidesFigures(const std::string& folder) {
  constexpr int kManySlides = 2000;
  const std::string project = WriteManySlides(folder, kManySlides);
  const auto tracks = PresentationTracks(folder, kManySlides);
  for (const auto& track : tracks) ReadWholeFile(track);
  std::vector<std::string> soxi{"soxi", "-D"};
  soxi.insert(soxi.end(), tracks.begin(), tracks.end());
  const ProgramRun readPeer = RunProgram(soxi);
  const SessionRun opened = OpenInChild(project);
  Limit(opened.length == 8000 * kManySlides, "the 2,000-slide session did not open whole");
  Figure("Opening a 2,000-slide session", opened.milliseconds / 1000.0, "s",
         "soxi reading the 2,000 headers", readPeer.seconds, "s");
  Limit(opened.milliseconds < 300.0, "opening 2,000 slides under 0.3 s");

  const SessionRun saved = SaveInChild(project, tracks, true, 1);
  Limit(saved.length == 8000 * kManySlides, "the saved 2,000-slide session did not open whole");
  ::sync();
  const ProgramRun copyOne = RunProgram({"cp", tracks.front(), folder + "/copy.wav"});
  Figure("Saving a 2,000-slide session after an edit of one slide", saved.milliseconds / 1000.0,
         "s", "cp copying that slide's file", copyOne.seconds, "s");
  // Every slide written: the file system's work for 2,000 new files is most of it.
  ::sync();
  const ProgramRun writePeer = RunProgram({"cp", "-r", folder + "/tracks", folder + "/copies"});
  const SessionRun savedAll = SaveInChild(project, tracks);
  Figure("  the same save after an edit of every slide", savedAll.milliseconds / 1000.0, "s",
         "cp copying the 2,000 files", writePeer.seconds, "s");
  std::filesystem::remove_all(folder + "/copies");
  Limit(saved.milliseconds < 300.0, "saving 2,000 slides under 0.3 s");
}

}  // namespace

int main() {
  BatchInteraction interaction(std::cerr);
  SetUserInterface(&interaction);
  // Saving raises the host's flag: keep it out of the user's own settings.
  setenv("XDG_CONFIG_HOME", BenchFolder("config").c_str(), 1);
  // QUORVANE_BENCH_ONLY=saving or =many-slides measures that alone, for repeated runs.
  const char* chosen = std::getenv("QUORVANE_BENCH_ONLY");
  const std::string only = chosen == nullptr ? "" : chosen;
  if (only.empty()) {
    const std::string twoHours = BenchFolder("session-two-hours");
    OpeningFigures(twoHours);
    ResamplingFigures(twoHours);
  }
  if (only.empty() || only == "saving") SavingFigures(BenchFolder("session-saving"));
  if (only.empty() || only == "many-slides") {
    ManySlidesFigures(BenchFolder("session-many-slides"));
  }
  return AllWithinLimits() ? 0 : 1;
}
