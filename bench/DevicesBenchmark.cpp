// Playback and recording on a real sound server (run under scripts/with-sound-server):
// the time from the play command to the first frames the server has played, for a
// 10-second and a two-hour range, beside a bare QAudioSink playing from memory; the
// processor time of the player thread while it plays, beside paplay playing the same file;
// the resident memory and lost audio of a long recording, beside parec.
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QAudioSink>
#include <QBuffer>
#include <QMediaDevices>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <thread>

#include "app/SessionLifetime.h"
#include "bench/BenchSupport.h"
#include "core/Environment.h"
#include "devices/DsPlayClass.h"
#include "devices/PlayControl.h"
#include "storage/FileMemoClass.h"
#include "ui/Recd_Frm.h"

extern char** environ;

namespace quorvane::bench {
namespace {

constexpr int kRate = 44100;

// A project of one stereo track of `seconds`. A long track is a sparse file: its blocks
// lie in the file as in any session, and reading them costs no disk space.
std::string WriteProject(const std::string& folder, int64_t seconds) {
  const std::string track = folder + "/track.wav";
  if (seconds <= 60) {
    WriteToneWav(track, 2, kRate, 16, seconds * kRate);
  } else {
    const auto data = static_cast<uint32_t>(seconds * kRate * 4);
    std::ofstream out(track, std::ios::binary);
    const auto le32 = [&](uint32_t v) { out.write(reinterpret_cast<const char*>(&v), 4); };
    const auto le16 = [&](uint16_t v) { out.write(reinterpret_cast<const char*>(&v), 2); };
    out << "RIFF";
    le32(data + 36);
    out << "WAVEfmt ";
    le32(16);
    le16(1);
    le16(2);
    le32(kRate);
    le32(kRate * 4);
    le16(4);
    le16(16);
    out << "data";
    le32(data);
    out.close();
    std::filesystem::resize_file(track, 44 + static_cast<uintmax_t>(data));
  }
  std::ofstream(folder + "/project.ini")
      << "[Project]\nTargetFolder=" << folder << "\nSlideCount=1\nBaseFrequency=" << kRate
      << "\nBaseBits=16\n[1]\nSlideTitle=One\nSlideTrack=track.wav\nDuration=" << seconds << ".0\n";
  return folder + "/project.ini";
}

void Pump(int milliseconds) {
  const auto until = Clock::now() + std::chrono::milliseconds(milliseconds);
  while (Clock::now() < until) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

uintmax_t FolderBytes(const std::string& folder) {
  uintmax_t total = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file()) total += entry.file_size();
  }
  return total;
}

// Milliseconds from PlayControl(11) until the server has played the first frames.
double PlayStartMilliseconds(FileMemoClass& document, int64_t& bytesWritten) {
  const uintmax_t before = FolderBytes(Env().SessionFolder);
  PlayFrom = 1;
  PlayTo = document.WavWaveINos;
  const auto started = Clock::now();
  PlayControl(11);
  while (PlayedSamples() == 0 && Clock::now() - started < std::chrono::seconds(5)) {
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  const double elapsed = Milliseconds(Clock::now() - started);
  bytesWritten = static_cast<int64_t>(FolderBytes(Env().SessionFolder) - before);
  PlayControl(2);
  return elapsed;
}

// The same for a bare sink playing ten seconds from memory.
double BareSinkStartMilliseconds() {
  QAudioFormat format;
  format.setSampleRate(kRate);
  format.setChannelCount(2);
  format.setSampleFormat(QAudioFormat::Int16);
  QByteArray samples(kRate * 4 * 10, '\0');
  QBuffer buffer(&samples);
  buffer.open(QIODevice::ReadOnly);
  QAudioSink sink(QMediaDevices::defaultAudioOutput(), format);
  const auto started = Clock::now();
  sink.start(&buffer);
  while (sink.processedUSecs() == 0 && Clock::now() - started < std::chrono::seconds(5)) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  const double elapsed = Milliseconds(Clock::now() - started);
  sink.stop();
  return elapsed;
}

double ThreadCpuSeconds(pid_t tid) {
  std::ifstream stat("/proc/self/task/" + std::to_string(tid) + "/stat");
  std::string text((std::istreambuf_iterator<char>(stat)), {});
  const size_t close = text.rfind(')');
  std::istringstream fields(text.substr(close + 2));
  std::string skip;
  for (int i = 0; i < 11; ++i) fields >> skip;  // fields 3..13
  double user = 0;
  double system = 0;
  fields >> user >> system;
  return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

struct ChildRun {
  double cpuSeconds = -1;
  int64_t peakResidentBytes = 0;
};

// Runs a program; after `stopAfter` seconds (0: never) it is asked to end.
ChildRun RunChild(const std::vector<std::string>& arguments, double stopAfter) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  const int spawned = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ChildRun run;
  if (spawned != 0) return run;
  if (stopAfter > 0) {
    std::this_thread::sleep_for(std::chrono::duration<double>(stopAfter));
    kill(child, SIGTERM);
  }
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  run.cpuSeconds = static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                   static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
  run.peakResidentBytes = static_cast<int64_t>(usage.ru_maxrss) * 1024;
  return run;
}

int64_t ResidentBytes() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmRSS:", 0) == 0) return std::stoll(line.substr(6)) * 1024;
  }
  return 0;
}

void PlayStartFigures() {
  BareSinkStartMilliseconds();  // the server's first stream of the run
  std::vector<double> bareTimes;
  for (int run = 0; run < 5; ++run) bareTimes.push_back(BareSinkStartMilliseconds());
  const double bare = Median(bareTimes);
  for (const auto& [label, seconds] :
       {std::pair{"10-second range", int64_t{10}}, std::pair{"two-hour range", int64_t{7200}}}) {
    const std::string folder = BenchFolder("play");
    std::unique_ptr<FileMemoClass> document = PrepareSession(WriteProject(folder, seconds));
    if (!document) {
      Limit(false, std::string("session of the ") + label + " opened");
      continue;
    }
    CreatePlayer();
    SoundDriverSwitch(true, 1);
    SetPlayDocument(document.get());
    int64_t written = 0;
    PlayStartMilliseconds(*document, written);  // the player's first stream
    std::vector<double> times;
    for (int run = 0; run < 5; ++run) times.push_back(PlayStartMilliseconds(*document, written));
    const double median = Median(times);
    Figure(std::string("play command to first frames played, ") + label, median, "ms",
           "bare QAudioSink from memory", bare, "ms");
    Limit(median < 50, std::string("play start under 50 ms, ") + label);
    std::cout << "  bytes written to temporary files by the play preparation: " << written << "\n";
    Limit(written == 0, std::string("play preparation copies no samples, ") + label);
    SetPlayDocument(nullptr);
    ReleasePlayer();
    EndSession(document);
  }
}

void PlayerCpuFigure() {
  const std::string folder = BenchFolder("cpu");
  const std::string project = WriteProject(folder, 10);
  std::unique_ptr<FileMemoClass> document = PrepareSession(project);
  CreatePlayer();
  SoundDriverSwitch(true, 1);
  SetPlayDocument(document.get());
  pid_t tid = 0;
  QMetaObject::invokeMethod(
      DsPlay()->Dll.PlayerThread().eventDispatcher(),
      [&tid] { tid = static_cast<pid_t>(syscall(SYS_gettid)); }, Qt::BlockingQueuedConnection);
  const double before = ThreadCpuSeconds(tid);
  const auto started = Clock::now();
  PlayFrom = 1;
  PlayTo = document->WavWaveINos;
  PlayControl(11);
  while (CurrentPlayState() != 0) Pump(50);
  const double wall = Seconds(Clock::now() - started);
  const double share = (ThreadCpuSeconds(tid) - before) / wall * 100;
  const ChildRun paplay = RunChild({"paplay", folder + "/track.wav"}, 0);
  Figure("player thread CPU, 44.1 kHz stereo", share, "% of a core", "paplay, same file",
         paplay.cpuSeconds / wall * 100, "% of a core");
  Limit(share < 1.0, "player thread under 1 % of a core");
  SetPlayDocument(nullptr);
  ReleasePlayer();
  EndSession(document);
}

void RecordingFigure(int seconds) {
  const std::string folder = BenchFolder("record");
  Env().SessionFolder = folder;
  Recd_Frm form(nullptr, 2, kRate, 16);
  if (!form.FormInitilize()) {
    Limit(false, "recording device opened");
    return;
  }
  form.Start_Btn_Click();
  Pump(2000);
  const int64_t settled = ResidentBytes();
  int64_t highest = settled;
  const auto started = Clock::now();
  while (Seconds(Clock::now() - started) < seconds) {
    Pump(1000);
    highest = std::max(highest, ResidentBytes());
  }
  form.Start_Btn_Click();
  Pump(200);
  form.Done_Btn_Click();
  const double recorded = static_cast<double>(form.FramesWritten()) / kRate;
  const double wall = seconds + 2.2;
  // parec's memory settles within a minute; a longer peer run would only double the wait.
  const ChildRun parec =
      RunChild({"parec", "--rate=44100", "--channels=2", "--format=s16le", folder + "/peer.raw"},
               std::min(seconds, 60));
  const double growth = static_cast<double>(highest - settled) / 1e6;
  Figure("recording " + std::to_string(seconds) + " s: resident growth", growth, "MB",
         "parec, peak resident", static_cast<double>(parec.peakResidentBytes) / 1e6, "MB");
  std::cout << "  recorded " << recorded << " s of " << wall << " s wall; bytes lost "
            << form.BytesLost() << "\n";
  Limit(growth < 5.0, "recording resident memory flat (under 5 MB growth)");
  Limit(form.BytesLost() == 0, "no recording buffer lost");
}

}  // namespace
}  // namespace quorvane::bench

int main(int argc, char** argv) {
  using namespace quorvane::bench;
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  std::cout << "(figures are noisy: other builds share this machine's two cores)\n";
  PlayStartFigures();
  PlayerCpuFigure();
  const char* chosen = std::getenv("QUORVANE_BENCH_RECORD_SECONDS");
  const int seconds = chosen != nullptr ? std::atoi(chosen) : 60;
  std::cout << "(the recording runs " << seconds
            << " s; QUORVANE_BENCH_RECORD_SECONDS=3600 measures the full hour)\n";
  RecordingFigure(seconds);
  return AllWithinLimits() ? 0 : 1;
}
