// Figures of the editing commands on one hour of 44.1 kHz stereo 16-bit audio in a real
// WAV file: Change Volume, Maximize and Dynamic Compress/Expand beside sox doing the same
// to the same file, each in a process of its own so that its peak resident memory is the
// command's, and copy and paste of 30 minutes beside sox cutting out those 30 minutes.
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>

#include "app/SessionLifetime.h"
#include "bench/BenchSupport.h"
#include "core/BatchInteraction.h"
#include "core/Environment.h"
#include "editing/ClipboardExchange.h"
#include "editing/DynamicCompress.h"
#include "editing/EditCommands.h"
#include "editing/VolumeEffects.h"
#include "storage/EditorContext.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"

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

}  // namespace

// With an argument (volume, maximize, dynamic or copy) only that figure is measured.
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
  return AllWithinLimits() ? 0 : 1;
}
