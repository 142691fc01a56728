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

#include "app/ProjectFile.h"
#include "app/SessionLifetime.h"
#include "bench/BenchSupport.h"
#include "core/BatchInteraction.h"
#include "core/Environment.h"
#include "core/Numbers.h"
#include "core/ProjectTables.h"
#include "formats/OpenSaveClass.h"
#include "platform/ProfileFile.h"
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

// Writes `slides` stereo tracks of `seconds` each and a project that lists them.
std::string MakePresentation(const std::string& folder, int seconds, int baseFrequency,
                             int slides = kSlides) {
  std::filesystem::create_directories(folder + "/tracks");
  std::ofstream project(folder + "/project.ini");
  project << "[Project]\nTargetFolder=" << folder << "/tracks\nSlideCount=" << slides
          << "\nBaseFrequency=" << baseFrequency << "\nBaseBits=16\n";
  for (int n = 1; n <= slides; ++n) {
    const std::string track = "slide" + std::to_string(n) + ".wav";
    if (!std::filesystem::exists(folder + "/tracks/" + track)) {
      WriteToneWav(folder + "/tracks/" + track, 2, kRate, 16, static_cast<int64_t>(seconds) * kRate,
                   static_cast<int64_t>(n) * 977);
    }
    project << "[" << n << "]\nSlideTitle=Slide " << n << "\nSlideTrack=" << track
            << "\nDuration=" << seconds << ".0\nClickMarkerTimes=1.5,30.25\nAutoMarkerTimes=12.0\n";
  }
  return folder + "/project.ini";
}

std::vector<std::string> Tracks(const std::string& folder, int slides = kSlides) {
  std::vector<std::string> tracks;
  for (int n = 1; n <= slides; ++n) {
    tracks.push_back(folder + "/tracks/slide" + std::to_string(n) + ".wav");
  }
  return tracks;
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
  const std::string project = MakePresentation(folder, 120, kRate);
  const auto tracks = Tracks(folder);
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
  const std::string project = MakePresentation(folder, 120, 22050);
  const auto tracks = Tracks(folder);
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
    files.FileWriteWavePart(document, slide.Start, end - 1, 0, project.TargetFolder + slide.Track);
  }
}

// Opens the session, then saves it over its own tracks (staged, or straight over); the
// time and the peak memory are those of the save alone.
SessionRun SaveInChild(const std::string& project, const std::vector<std::string>& tracks,
                       bool staged = true) {
  return RunInChild([&] {
    std::unique_ptr<FileMemoClass> document = PrepareSession(project);
    SessionRun run;
    if (!document) return run;
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
  const std::string project = MakePresentation(folder, 120, kRate, kSavedSlides);
  const auto tracks = Tracks(folder, kSavedSlides);
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
  Limit(std::filesystem::file_size(tracks.back()) == 44 + 120ULL * kRate * 4,
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

}  // namespace

int main() {
  BatchInteraction interaction(std::cerr);
  SetUserInterface(&interaction);
  // Saving raises the host's flag: keep it out of the user's own settings.
  setenv("XDG_CONFIG_HOME", BenchFolder("config").c_str(), 1);
  // QUORVANE_BENCH_ONLY=saving measures the save alone, for repeated runs.
  const char* only = std::getenv("QUORVANE_BENCH_ONLY");
  if (only == nullptr || std::string(only) != "saving") {
    const std::string twoHours = BenchFolder("session-two-hours");
    OpeningFigures(twoHours);
    ResamplingFigures(twoHours);
  }
  SavingFigures(BenchFolder("session-saving"));
  return AllWithinLimits() ? 0 : 1;
}
