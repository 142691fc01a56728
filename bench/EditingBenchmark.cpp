// Figures of the editing commands on one hour of 44.1 kHz stereo 16-bit audio in a real
// WAV file: Change Volume, Maximize and Dynamic Compress/Expand beside sox doing the same
// to the same file, each in a process of its own so that its peak resident memory is the
// command's, copy and paste of 30 minutes beside sox cutting out those 30 minutes, and
// Shorten Pauses of an hour of speech-like bursts beside sox's silence effect, and Clean Up
// Voice of the hour beside sox's highpass and noisered, with its effect on spoken narration.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>

#include "app/SessionLifetime.h"
#include "bench/BenchSupport.h"
#include "core/BatchInteraction.h"
#include "core/Environment.h"
#include "core/ProjectTables.h"
#include "editing/CleanUpVoice.h"
#include "editing/ClipboardExchange.h"
#include "editing/DynamicCompress.h"
#include "editing/EditCommands.h"
#include "editing/ShortenPauses.h"
#include "editing/VolumeEffects.h"
#include "platform/CanonicalWaveHeader.h"
#include "storage/EditorContext.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "tests/support/SpokenFixture.h"

using namespace quorvane;
using namespace quorvane::bench;

namespace {

constexpr int kRate = 44100;
constexpr int kSeconds = 3600;

struct CommandRun {
  double seconds = -1.0;
  double peakMegabytes = 0.0;
  double budgetMegabytes = 0.0;
  bool changed = false;
};

std::string MakeProject(const std::string& folder) {
  std::filesystem::create_directories(folder + "/tracks");
  WriteToneWav(folder + "/tracks/hour.wav", 2, kRate, 16, int64_t{kSeconds} * kRate);
  std::ofstream(folder + "/project.ini")
      << "[Project]\nTargetFolder=" << folder << "/tracks\nSlideCount=1\nBaseFrequency=" << kRate
      << "\nBaseBits=16\n[1]\nSlideTitle=Hour\nSlideTrack=hour.wav\nDuration=" << kSeconds
      << ".0\n";
  return folder + "/project.ini";
}

// Opens the session in a child, then times `command` alone and measures the peak resident
// memory from its start.
CommandRun RunInChild(const std::string& project,
                      const std::function<bool(FileMemoClass&)>& command) {
  int channel[2];
  if (pipe(channel) != 0) return {};
  const pid_t child = fork();
  if (child == 0) {
    close(channel[0]);
    std::unique_ptr<FileMemoClass> document = PrepareSession(project);
    CommandRun run;
    if (document) {
      Editor().SelStart = 1;
      Editor().SelEnd = document->WavWaveINos;
      ResetPeakResident();
      const auto started = Clock::now();
      run.changed = command(*document);
      run.seconds = Seconds(Clock::now() - started);
      run.peakMegabytes = static_cast<double>(PeakResidentBytes()) / 1e6;
      run.budgetMegabytes = Env().MemoryBudget / 1e6;
    }
    ClipboardRelease();
    EndSession(document);
    if (write(channel[1], &run, sizeof run) != sizeof run) _exit(1);
    _exit(0);
  }
  close(channel[1]);
  CommandRun run;
  if (read(channel[0], &run, sizeof run) != sizeof run) run = {};
  close(channel[0]);
  waitpid(child, nullptr, 0);
  return run;
}

void EffectFigure(const std::string& name, const std::string& project,
                  const std::function<bool(FileMemoClass&)>& command, const std::string& peerName,
                  const std::vector<std::string>& peer) {
  const std::string wave = std::filesystem::path(project).parent_path() / "tracks/hour.wav";
  ReadWholeFile(wave);
  const ProgramRun peerRun = RunProgram(peer);
  std::filesystem::remove(peer[2]);
  ReadWholeFile(wave);
  const CommandRun run = RunInChild(project, command);
  Limit(run.changed && peerRun.seconds > 0, name + " ran");
  Figure(name, run.seconds, "s", peerName, peerRun.seconds, "s");
  std::cout << "  peak resident memory: " << run.peakMegabytes << " MB (budget "
            << run.budgetMegabytes << " MB; " << peerName << ": "
            << static_cast<double>(peerRun.peakResidentBytes) / 1e6 << " MB)" << std::endl;
  Limit(run.seconds <= 0.5 * peerRun.seconds, name + " at least twice as fast as sox");
  Limit(run.peakMegabytes < run.budgetMegabytes + 60.0, name + " under the budget + 60 MB");
}

void CopyPasteFigures(const std::string& project) {
  const std::string folder = std::filesystem::path(project).parent_path();
  const std::string wave = folder + "/tracks/hour.wav";
  ReadWholeFile(wave);
  const std::string cut = folder + "/half.wav";
  const ProgramRun peer = RunProgram({"sox", wave, cut, "trim", "0", "1800"});
  std::filesystem::remove(cut);
  constexpr int32_t kHalf = 1800 * kRate;
  const CommandRun copy = RunInChild(project, [](FileMemoClass& document) {
    Editor().SelStart = 1001;
    Editor().SelEnd = 1000 + kHalf;
    return EditCopy(document);
  });
  const CommandRun paste = RunInChild(project, [](FileMemoClass& document) {
    Editor().SelStart = 1001;
    Editor().SelEnd = 1000 + kHalf;
    if (!EditCopy(document)) return false;
    Editor().SelStart = Editor().SelEnd = 500;
    const auto started = Clock::now();
    EditPaste(document);
    const double seconds = Seconds(Clock::now() - started);
    std::cout << "  paste alone: " << seconds * 1000.0 << " ms" << std::endl;
    Limit(seconds < 0.010, "paste of 30 minutes under 10 ms");
    return document.WavWaveINos == kSeconds * kRate + kHalf;
  });
  // The same clip seen as another running editor's: pasted through its description files.
  const CommandRun foreign = RunInChild(project, [](FileMemoClass& document) {
    Editor().SelStart = 1001;
    Editor().SelEnd = 1000 + kHalf;
    if (!EditCopy(document)) return false;
    Context().ClipPointer += 1;  // the clipboard now names a clip this editor did not make
    Editor().SelStart = Editor().SelEnd = 500;
    const auto started = Clock::now();
    EditPaste(document);
    const double seconds = Seconds(Clock::now() - started);
    std::cout << "  paste of another editor's clip alone: " << seconds * 1000.0 << " ms"
              << std::endl;
    Limit(seconds < 0.020, "paste of 30 minutes from another editor under 20 ms");
    return document.WavWaveINos == kSeconds * kRate + kHalf;
  });
  Limit(foreign.changed, "paste of another editor's 30 minutes inserted 30 minutes");
  Limit(copy.changed, "copy of 30 minutes ran");
  Limit(paste.changed, "paste of 30 minutes inserted 30 minutes");
  Figure("Copying 30 minutes", copy.seconds * 1000.0, "ms", "sox trimming out 30 minutes",
         peer.seconds * 1000.0, "ms");
  Limit(copy.seconds < 0.010, "copy of 30 minutes under 10 ms");
}

void WriteMonoWav(const std::string& path, const std::vector<int16_t>& samples) {
  const auto header = CanonicalWaveHeader(1, kRate, 16, static_cast<int64_t>(samples.size()));
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(header.data()),
            static_cast<std::streamsize>(header.size()));
  out.write(reinterpret_cast<const char*>(samples.data()),
            static_cast<std::streamsize>(samples.size() * 2));
}

// An hour of 44.1 kHz stereo "speech": bursts of 2 to 5 s of tone between pauses of 0.3 to
// 3 s of low noise (-66 dBFS), and a click marker in the middle of each of the first 200
// bursts. The bursts start with a loud sample, so that they are found to the sample.
std::string MakePausesProject(const std::string& folder) {
  std::filesystem::create_directories(folder + "/tracks");
  const int64_t frames = int64_t{kSeconds} * kRate;
  std::vector<int16_t> audio(static_cast<size_t>(frames) * 2);
  uint32_t random = 12345;
  const auto next = [&random](uint32_t range) {
    random = random * 1664525u + 1013904223u;
    return (random >> 8) % range;
  };
  std::string markers;
  int64_t at = 0;
  int bursts = 0;
  while (at < frames) {
    const int64_t pause = kRate * (3 + next(28)) / 10;
    for (int64_t i = 0; i < pause && at < frames; ++i, ++at) {
      const auto hiss = static_cast<int16_t>(static_cast<int>(next(31)) - 15);
      audio[static_cast<size_t>(2 * at)] = audio[static_cast<size_t>(2 * at + 1)] = hiss;
    }
    const int64_t burst = kRate * (20 + next(31)) / 10;
    if (bursts < 200 && at + burst < frames) {
      char time[32];
      std::snprintf(time, sizeof time, "%.4f", static_cast<double>(at + burst / 2) / kRate);
      markers += (markers.empty() ? "" : ",") + std::string(time);
    }
    for (int64_t i = 0; i < burst && at < frames; ++i, ++at) {
      const auto value =
          static_cast<int16_t>(std::lround(10000 * std::cos(2 * M_PI * 220 * i / kRate)));
      audio[static_cast<size_t>(2 * at)] = audio[static_cast<size_t>(2 * at + 1)] = value;
    }
    ++bursts;
  }
  const auto header = CanonicalWaveHeader(2, kRate, 16, frames);
  std::ofstream out(folder + "/tracks/talk.wav", std::ios::binary);
  out.write(reinterpret_cast<const char*>(header.data()),
            static_cast<std::streamsize>(header.size()));
  out.write(reinterpret_cast<const char*>(audio.data()),
            static_cast<std::streamsize>(audio.size() * 2));
  out.close();
  std::ofstream(folder + "/project.ini")
      << "[Project]\nTargetFolder=" << folder << "/tracks\nSlideCount=1\nBaseFrequency=" << kRate
      << "\nBaseBits=16\n[1]\nSlideTitle=Talk\nSlideTrack=talk.wav\nDuration=" << kSeconds
      << ".0\nClickMarkerTimes=" << markers << "\n";
  return folder + "/project.ini";
}

// Where each burst of tone begins (a loud sample after at least 10 ms of quiet ones), and
// how long each quiet stretch between two bursts lasts.
void FindBursts(FileMemoClass& document, std::vector<int32_t>& starts,
                std::vector<int32_t>& pauses) {
  std::vector<int16_t> frames(1 << 20);
  int32_t quietSince = 1;
  bool inBurst = false;
  int32_t lastLoud = 0;
  for (int32_t at = 1; at <= document.WavWaveINos; at += 1 << 19) {
    const int32_t count = std::min(1 << 19, document.WavWaveINos - at + 1);
    document.QuickFramesGet(at, count, frames.data());
    for (int32_t i = 0; i < count; ++i) {
      const int32_t position = at + i;
      const bool loud = std::abs(frames[static_cast<size_t>(2 * i)]) > 200;
      if (loud) {
        if (!inBurst && position - quietSince >= kRate / 100) {
          if (!starts.empty()) pauses.push_back(position - lastLoud - 1);
          starts.push_back(position);
        }
        inBurst = true;
        lastLoud = position;
      } else if (inBurst && position - lastLoud > kRate / 100) {
        inBurst = false;
        quietSince = lastLoud + 1;
      }
    }
  }
}

// Shorten Pauses over the hour, beside sox's silence effect doing the like: how fast, how
// long the shortened pauses came out, and whether every marker kept its place in its burst.
void ShortenPausesFigure(const std::string& folder) {
  const std::string project = MakePausesProject(folder);
  const std::string wave = folder + "/tracks/talk.wav";
  const std::string out = folder + "/out.wav";
  ReadWholeFile(wave);
  const ProgramRun peer =
      RunProgram({"sox", wave, out, "silence", "-l", "1", "0.1", "-45d", "-1", "0.8", "-45d"});
  std::filesystem::remove(out);
  ReadWholeFile(wave);
  const CommandRun run = RunInChild(project, [](FileMemoClass& document) {
    std::vector<int32_t> startsBefore;
    std::vector<int32_t> pausesBefore;
    FindBursts(document, startsBefore, pausesBefore);
    std::vector<int32_t> offsets;  // each marker's place in its burst
    const ProjectData& project = Project();
    for (int32_t m = 1; m <= project.MarkerCount; ++m) {
      const int32_t position = project.Markers[static_cast<size_t>(m)].Position;
      const auto burst = std::upper_bound(startsBefore.begin(), startsBefore.end(), position) - 1;
      offsets.push_back(position - *burst);
    }
    const auto started = Clock::now();
    const ShortenedPauses result =
        ShortenPauses(document, 1, document.WavWaveINos, PauseShortening{0.8, -45});
    const double seconds = Seconds(Clock::now() - started);
    std::vector<int32_t> startsAfter;
    std::vector<int32_t> pausesAfter;
    FindBursts(document, startsAfter, pausesAfter);
    double worstMs = 0;
    int32_t shortened = 0;
    for (size_t i = 0; i < pausesBefore.size() && i < pausesAfter.size(); ++i) {
      if (pausesBefore[i] <= 0.8 * kRate) continue;
      ++shortened;
      worstMs = std::max(worstMs, std::abs(pausesAfter[i] - 0.8 * kRate) * 1000.0 / kRate);
    }
    bool markersInPlace = startsAfter.size() == startsBefore.size();
    for (int32_t m = 1; m <= project.MarkerCount && markersInPlace; ++m) {
      const int32_t position = project.Markers[static_cast<size_t>(m)].Position;
      const auto burst = std::upper_bound(startsAfter.begin(), startsAfter.end(), position) - 1;
      markersInPlace = position - *burst == offsets[static_cast<size_t>(m) - 1];
    }
    std::cout << "  " << result.pauses << " pauses shortened (" << shortened
              << " longer than 0.8 s found by the check), " << result.removedSeconds
              << " s removed in " << seconds << " s; shortened pauses within " << worstMs
              << " ms of 0.8 s; " << project.MarkerCount << " markers "
              << (markersInPlace ? "each in its place in its burst" : "NOT in their places")
              << std::endl;
    Limit(result.pauses == shortened, "every pause longer than 0.8 s shortened");
    Limit(worstMs <= 10, "shortened pauses at 0.8 s within 10 ms");
    Limit(markersInPlace && project.MarkerCount == 200, "markers moved by what went before them");
    return result.pauses > 0;
  });
  Limit(run.changed, "Shorten Pauses of one hour ran");
  Figure("Shorten Pauses of one hour of stereo speech, with the check's two scans", run.seconds,
         "s", "sox silence -l 1 0.1 -45d -1 0.8 -45d", peer.seconds, "s");
  std::cout << "  " << kSeconds / std::max(run.seconds, 1e-9) << "x real time" << std::endl;
  Limit(run.seconds <= kSeconds / 500.0, "Shorten Pauses at least 500x real time");
}

// Clean Up Voice at 20 dB with the 80 Hz filter: on the spoken fixture, how far the floor
// in the pauses drops and how the speech's level changes; on the hour, how fast it runs
// beside sox's highpass and noisered (with a profile of the hour's first second).
void CleanUpFigures(const std::string& project) {
  const std::string folder = std::filesystem::path(project).parent_path();
  const testing::SpokenFixture fixture = testing::MakeSpokenFixture(folder, kRate);
  Limit(!fixture.noisy.empty(), "the spoken fixture made with espeak-ng and sox");
  if (!fixture.noisy.empty()) {
    const std::string spoken = folder + "/spoken";
    std::filesystem::create_directories(spoken + "/tracks");
    WriteMonoWav(spoken + "/tracks/talk.wav", fixture.noisy);
    std::ofstream(spoken + "/project.ini")
        << "[Project]\nTargetFolder=" << spoken << "/tracks\nSlideCount=1\nBaseFrequency=" << kRate
        << "\nBaseBits=16\n[1]\nSlideTitle=Talk\nSlideTrack=talk.wav\nDuration=0\n";
    const auto pauses = fixture.Pauses(kRate);
    const CommandRun quality = RunInChild(spoken + "/project.ini", [&](FileMemoClass& document) {
      if (!CleanUpVoice(document, 1, document.WavWaveINos, VoiceCleanUp{80, 20})) return false;
      std::vector<int16_t> left;
      std::vector<int16_t> right;
      document.WaveCollectBuff(1, document.WavWaveINos, 1, left, right);
      const double drop =
          testing::StretchesDb(fixture.noisy, pauses) - testing::StretchesDb(left, pauses);
      const double change = testing::StretchesDb(left, fixture.speech) -
                            testing::StretchesDb(fixture.noisy, fixture.speech);
      std::cout << "Clean Up Voice 20 dB, 80 Hz, spoken fixture: floor in the pauses down " << drop
                << " dB (goal: at least 15), speech level changed " << change
                << " dB (goal: within 1)" << std::endl;
      Limit(drop >= 15 && std::abs(change) <= 1, "clean-up lowers the floor, keeps the voice");
      return true;
    });
    Limit(quality.changed, "Clean Up Voice of the spoken fixture ran");
  }
  const std::string wave = folder + "/tracks/hour.wav";
  const std::string profile = folder + "/noise.prof";
  const std::string out = folder + "/out.wav";
  RunProgram({"sox", wave, "-n", "trim", "0", "1", "noiseprof", profile});
  ReadWholeFile(wave);
  const ProgramRun peer =
      RunProgram({"sox", wave, out, "highpass", "80", "noisered", profile, "0.1"});
  std::filesystem::remove(out);
  ReadWholeFile(wave);
  const CommandRun run = RunInChild(project, [](FileMemoClass& document) {
    return CleanUpVoice(document, 1, document.WavWaveINos, VoiceCleanUp{80, 20});
  });
  Limit(run.changed, "Clean Up Voice of one hour ran");
  Figure("Clean Up Voice 20 dB, 80 Hz, of one hour of stereo", run.seconds, "s",
         "sox highpass 80 noisered 0.1", peer.seconds, "s");
  std::cout << "  " << kSeconds / std::max(run.seconds, 1e-9) << "x real time; peak resident "
            << run.peakMegabytes << " MB (budget " << run.budgetMegabytes << " MB)" << std::endl;
  Limit(run.seconds <= kSeconds / 100.0, "Clean Up Voice at least 100x real time");
}

}  // namespace

// With an argument (volume, maximize, dynamic, copy, pauses or cleanup) only that figure is
// measured.
int main(int argc, char** argv) {
  const std::string only = argc > 1 ? argv[1] : "";
  const auto wanted = [&only](const char* name) { return only.empty() || only == name; };
  BatchInteraction interaction(std::cerr);
  SetUserInterface(&interaction);
  setenv("XDG_CONFIG_HOME", BenchFolder("config").c_str(), 1);
  const std::string folder = BenchFolder("editing-hour");
  const std::string project = MakeProject(folder);
  const std::string wave = folder + "/tracks/hour.wav";
  const std::string out = folder + "/out.wav";
  if (wanted("volume")) {
    EffectFigure("Change Volume 150 % of one hour of stereo", project,
                 [](FileMemoClass& document) { return ChangeVolume(document, 150); }, "sox vol 1.5",
                 {"sox", wave, out, "vol", "1.5"});
  }
  if (wanted("maximize")) {
    EffectFigure("Maximize of one hour of stereo", project,
                 [](FileMemoClass& document) { return Maximize(document); }, "sox norm",
                 {"sox", wave, out, "norm"});
  }
  if (wanted("dynamic")) {
    EffectFigure("Dynamic Compress/Expand of one hour of stereo, 0.3 s windows", project,
                 [](FileMemoClass& document) {
                   return DynamicCompressExpand(document, DynamicParameters{0.3F, 100, 3});
                 },
                 "sox compand 0.3,0.3",
                 {"sox", wave, out, "compand", "0.3,0.3", "6:-70,-60,-20", "-5"});
  }
  if (wanted("copy")) CopyPasteFigures(project);
  if (wanted("pauses")) ShortenPausesFigure(BenchFolder("editing-pauses"));
  if (wanted("cleanup")) CleanUpFigures(project);
  return AllWithinLimits() ? 0 : 1;
}
