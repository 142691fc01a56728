// Playback and recording on a real sound server (run under scripts/with-sound-server):
// the time from the play command to the first frames the server has played, for a
// 10-second and a two-hour range, beside a bare QAudioSink playing from memory; the
// processor time of the player thread while it plays, beside paplay playing the same file;
// ten takes through the recording dialog while the player plays, against the time from Start
// to Stop and the sound playing at Start, and how soon the meters move, beside parec; the
// resident memory and lost audio of a long recording, beside parec.
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
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <thread>

#include "app/SessionLifetime.h"
#include "bench/BenchSupport.h"
#include "core/Environment.h"
#include "core/FileHelpers.h"
#include "devices/DsPlayClass.h"
#include "devices/PlayControl.h"
#include "platform/CanonicalWaveHeader.h"
#include "storage/FileMemoClass.h"
#include "tests/devices/LoopbackRecorder.h"
#include "ui/PictureBox.h"
#include "ui/PunchIn.h"
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
  SetPlayRange(1, document.WavWaveINos);
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
  SetPlayRange(1, document->WavWaveINos);
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

// A stereo track in which every frame says where it lies: the left sample is the frame's
// index modulo 32768, the right one the index divided by 32768, both less 16384. The null
// sink and "loopmic" pass it unchanged, so the first frame of a take names the frame that
// sounded when the take began. The right channel stays loud: a tone that never pauses.
std::string WritePositionCodedProject(const std::string& folder, int seconds) {
  const int64_t frames = int64_t{seconds} * kRate;
  std::vector<int16_t> samples(static_cast<size_t>(2 * frames));
  for (int64_t i = 0; i < frames; ++i) {
    samples[static_cast<size_t>(2 * i)] = static_cast<int16_t>(i % 32768 - 16384);
    samples[static_cast<size_t>(2 * i + 1)] = static_cast<int16_t>(i / 32768 - 16384);
  }
  const auto header = CanonicalWaveHeader(2, kRate, 16, frames);
  std::ofstream out(folder + "/track.wav", std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(header.data()),
            static_cast<std::streamsize>(header.size()));
  out.write(reinterpret_cast<const char*>(samples.data()),
            static_cast<std::streamsize>(samples.size() * 2));
  out.close();
  std::ofstream(folder + "/project.ini")
      << "[Project]\nTargetFolder=" << folder << "\nSlideCount=1\nBaseFrequency=" << kRate
      << "\nBaseBits=16\n[1]\nSlideTitle=One\nSlideTrack=track.wav\nDuration=" << seconds << ".0\n";
  return folder + "/project.ini";
}

int64_t CodedPosition(const std::vector<int16_t>& samples, size_t frame) {
  return (int64_t{samples[2 * frame + 1]} + 16384) * 32768 + samples[2 * frame] + 16384;
}

// Whether every frame of a take names the frame after the one before: the code came through
// unchanged and nothing is missing inside the take.
bool CodeRunsOn(const std::vector<int16_t>& samples) {
  for (size_t frame = 1; frame < samples.size() / 2; ++frame) {
    if (CodedPosition(samples, frame) != CodedPosition(samples, frame - 1) + 1) return false;
  }
  return samples.size() >= 2;
}

std::vector<int16_t> RawSamples(const std::string& path, std::streamoff from) {
  std::ifstream in(path, std::ios::binary);
  in.seekg(from);
  std::vector<char> bytes((std::istreambuf_iterator<char>(in)), {});
  std::vector<int16_t> samples(bytes.size() / 4 * 2);
  std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
  return samples;
}

// Milliseconds from the start of the take to its first frame louder than a twentieth of
// full scale.
double FirstSoundMilliseconds(const std::vector<int16_t>& samples) {
  size_t frame = 0;
  while (frame < samples.size() / 2 && std::abs(samples[2 * frame]) <= 1600 &&
         std::abs(samples[2 * frame + 1]) <= 1600) {
    ++frame;
  }
  return static_cast<double>(frame) * 1000 / kRate;
}

// Whether the meter shows a level: its bottom row is drawn.
bool MeterShowsLevel(const PictureBox& meter) {
  const QImage image = meter.Image().toImage();
  return !image.isNull() && image.pixelColor(image.width() / 2, image.height() - 1) == Qt::black;
}

struct Take {
  double openMs = 0;         // FormInitilize, which waits for the stream's first sound
  double lengthErrorMs = 0;  // recorded length less the time from Start to Stop
  double firstSoundMs = 0;   // the tone's first loud frame in the take
  double meterMs = 0;        // from Start until the left meter shows the tone
  double startOffsetMs = 0;  // the take's first frame against the frame sounding at Start
  double endOffsetMs = 0;    // its last frame against the frame sounding at Stop
  bool coded = false;        // whether the position code came through whole
};

// One take through the dialog while the player plays the coded track: opened, Start after
// half a second (a narrator reads the dialog), Stop after `seconds`, Done.
Take DialogTake(double seconds) {
  Take take;
  Recd_Frm form(nullptr, 2, kRate, 16);
  const auto opening = Clock::now();
  if (!form.FormInitilize()) return take;
  take.openMs = Milliseconds(Clock::now() - opening);
  Pump(500);
  const auto started = Clock::now();
  const int64_t soundingAtStart = PlayedSamples();
  form.Start_Btn_Click();
  take.meterMs = -1;
  while (Seconds(Clock::now() - started) < seconds) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    if (take.meterMs < 0 && MeterShowsLevel(*form.RecShowLPic)) {
      take.meterMs = Milliseconds(Clock::now() - started);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  const auto stopped = Clock::now();
  const int64_t soundingAtStop = PlayedSamples();
  form.Start_Btn_Click();
  Pump(300);
  form.Done_Btn_Click();
  const std::vector<int16_t> samples = RawSamples(form.RecordFileName, 44);
  DeleteFileIfExists(form.RecordFileName);
  const size_t frames = samples.size() / 2;
  take.lengthErrorMs = (static_cast<double>(frames) / kRate - Seconds(stopped - started)) * 1000;
  take.firstSoundMs = FirstSoundMilliseconds(samples);
  take.coded = CodeRunsOn(samples);
  if (take.coded) {
    take.startOffsetMs =
        static_cast<double>(CodedPosition(samples, 0) - soundingAtStart) * 1000 / kRate;
    take.endOffsetMs =
        static_cast<double>(CodedPosition(samples, frames - 1) + 1 - soundingAtStop) * 1000 / kRate;
  }
  return take;
}

// The same span recorded by parec, started at "Start" and ended at "Stop".
Take ParecTake(const std::string& folder, double seconds) {
  const std::string raw = folder + "/peer.raw";
  const auto started = Clock::now();
  const int64_t soundingAtStart = PlayedSamples();
  RunChild({"parec", "--rate=44100", "--channels=2", "--format=s16le", "--raw", raw}, seconds);
  const auto stopped = Clock::now();
  const std::vector<int16_t> samples = RawSamples(raw, 0);
  Take take;
  take.lengthErrorMs =
      (static_cast<double>(samples.size() / 2) / kRate - Seconds(stopped - started)) * 1000;
  take.firstSoundMs = FirstSoundMilliseconds(samples);
  take.coded = CodeRunsOn(samples);
  if (take.coded) {
    take.startOffsetMs =
        static_cast<double>(CodedPosition(samples, 0) - soundingAtStart) * 1000 / kRate;
  }
  return take;
}

// Milliseconds from starting parec with pieces of 25 ms (the meters' interval) until its
// first sound comes out: how soon a plain client hears the source.
double ParecFirstSoundMilliseconds() {
  int pipeEnds[2];
  if (pipe(pipeEnds) != 0) return -1;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], 1);
  posix_spawn_file_actions_addclose(&actions, pipeEnds[0]);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  std::vector<std::string> arguments = {"parec",          "--rate=44100", "--channels=2",
                                        "--format=s16le", "--raw",        "--latency-msec=25"};
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  const auto started = Clock::now();
  pid_t child = 0;
  const int spawned = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(pipeEnds[1]);
  double elapsed = -1;
  char first[4];
  if (spawned == 0 && read(pipeEnds[0], first, sizeof first) > 0) {
    elapsed = Milliseconds(Clock::now() - started);
  }
  close(pipeEnds[0]);
  if (spawned == 0) {
    kill(child, SIGTERM);
    waitpid(child, nullptr, 0);
  }
  return elapsed;
}

// Ten takes of 2 to 4.25 seconds while the player plays into the null sink that "loopmic"
// records: the worst length error, delay of the first loud frame, meter delay, and where
// the takes begin and end against the sound at Start and Stop.
void TakeFigures() {
  const std::string folder = BenchFolder("takes");
  std::unique_ptr<FileMemoClass> document = PrepareSession(WritePositionCodedProject(folder, 100));
  if (!document) {
    Limit(false, "session of the coded track opened");
    return;
  }
  CreatePlayer();
  SoundDriverSwitch(true, 1);
  SetPlayDocument(document.get());
  SetPlayRange(1, document->WavWaveINos);
  PlayControl(11);
  Pump(1000);
  Take worst;
  Take peerWorst;
  bool allCoded = true;
  double peerMeterMs = 0;
  const auto worse = [](double& kept, double value) {
    if (std::abs(value) > std::abs(kept)) kept = value;
  };
  for (int i = 0; i < 10; ++i) {
    const double seconds = 2.0 + 0.25 * i;
    const Take take = DialogTake(seconds);
    const Take peer = ParecTake(folder, seconds);
    peerMeterMs = std::max(peerMeterMs, ParecFirstSoundMilliseconds());
    std::printf(
        "  take %2d (%.2f s): opened in %.0f ms, length error %+.1f ms, first loud frame %.1f "
        "ms, meter %.1f ms, start %+.1f ms, end %+.1f ms%s; parec: length error %+.1f ms, "
        "start %+.1f ms\n",
        i + 1, seconds, take.openMs, take.lengthErrorMs, take.firstSoundMs, take.meterMs,
        take.startOffsetMs, take.endOffsetMs, take.coded ? "" : " (code broken)",
        peer.lengthErrorMs, peer.startOffsetMs);
    allCoded = allCoded && take.coded;
    worse(worst.openMs, take.openMs);
    worse(worst.lengthErrorMs, take.lengthErrorMs);
    worse(worst.firstSoundMs, take.firstSoundMs);
    worse(worst.meterMs, take.meterMs < 0 ? 1e9 : take.meterMs);
    worse(worst.startOffsetMs, take.startOffsetMs);
    worse(worst.endOffsetMs, take.endOffsetMs);
    worse(peerWorst.lengthErrorMs, peer.lengthErrorMs);
    worse(peerWorst.firstSoundMs, peer.firstSoundMs);
    worse(peerWorst.startOffsetMs, peer.startOffsetMs);
  }
  std::cout.flush();
  Figure("10 takes: recorded length less Start to Stop, worst (goal: within 50 ms)",
         worst.lengthErrorMs, "ms", "parec run for the same span", peerWorst.lengthErrorMs, "ms");
  Limit(std::abs(worst.lengthErrorMs) <= 50, "take length within 50 ms of Start to Stop");
  Figure("10 takes: first loud frame after Start, worst (goal: at most 50 ms)", worst.firstSoundMs,
         "ms", "parec, after its start", peerWorst.firstSoundMs, "ms");
  Limit(worst.firstSoundMs <= 50, "tone in the take within 50 ms of Start");
  Figure("10 takes: Start to the meter showing the tone, worst (goal: at most 100 ms)",
         worst.meterMs, "ms", "parec in 25 ms pieces, start to its first sound, worst", peerMeterMs,
         "ms");
  Limit(worst.meterMs <= 100, "meter moves within 100 ms of Start");
  Figure("10 takes: first frame against the frame sounding at Start, worst (goal: within 50 ms)",
         worst.startOffsetMs, "ms", "parec, against its start", peerWorst.startOffsetMs, "ms");
  Limit(allCoded && std::abs(worst.startOffsetMs) <= 50,
        "take begins with the sound of Start, within 50 ms");
  std::printf("  last frame against the frame sounding at Stop, worst: %+.1f ms\n",
              worst.endOffsetMs);
  std::printf("  dialog opening, with the wait for the stream's first sound, worst: %.0f ms\n",
              worst.openMs);
  std::cout.flush();
  PlayControl(2);
  SetPlayDocument(nullptr);
  ReleasePlayer();
  EndSession(document);
}

// A project of one stereo track of noise, `seconds` long, heard alike on both sides.
std::string WriteNoiseProject(const std::string& folder, int seconds, std::vector<int16_t>& noise) {
  noise = testing::Noise(seconds * kRate, 12000, 11);
  std::vector<int16_t> frames;
  for (const int16_t value : noise) frames.insert(frames.end(), {value, value});
  const auto header = CanonicalWaveHeader(2, kRate, 16, static_cast<int64_t>(noise.size()));
  std::ofstream out(folder + "/noise.wav", std::ios::binary);
  out.write(reinterpret_cast<const char*>(header.data()),
            static_cast<std::streamsize>(header.size()));
  out.write(reinterpret_cast<const char*>(frames.data()),
            static_cast<std::streamsize>(frames.size() * 2));
  out.close();
  std::ofstream(folder + "/project.ini")
      << "[Project]\nTargetFolder=" << folder << "\nSlideCount=1\nBaseFrequency=" << kRate
      << "\nBaseBits=16\n[1]\nSlideTitle=One\nSlideTrack=noise.wav\nDuration=" << seconds << ".0\n";
  return folder + "/project.ini";
}

// The peer of a punch: parec started when the play position reaches the punch point, as a
// script that watches the player would start it. How far its recording lies from the audio
// sounding at that point, in milliseconds (its start-up included).
double WatchedParecLagMs(FileMemoClass& document, const std::vector<int16_t>& noise,
                         const std::string& folder, int32_t from) {
  SetPlayDocument(&document);
  SetPlayRange(from - kRate / 2, from + 2 * kRate);
  PlayControl(11);
  const auto giveUp = Clock::now() + std::chrono::seconds(5);
  while (PlayingFirst() + PlayedSamples() < from && Clock::now() < giveUp) {
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  const std::string raw = folder + "/watched.raw";
  RunChild({"parec", "--rate=44100", "--channels=2", "--format=s16le", "--raw", raw}, 1.0);
  PlayControl(2);
  const std::vector<int16_t> samples = RawSamples(raw, 0);
  // The first fifth of a second it heard, looked for up to half a second either side.
  std::vector<int16_t> heard;
  for (size_t i = 0; i < samples.size() && heard.size() < kRate / 5; i += 2) {
    heard.push_back(samples[i]);
  }
  const int32_t reach = kRate / 2;
  const std::vector<int16_t> around(noise.begin() + from - 1 - reach,
                                    noise.begin() + from - 1 + reach + kRate / 5);
  return 1000.0 * (testing::BestLag(around, heard, reach) - reach) / kRate;
}

// Ten punches of one second over a noise track, with half a second of pre-roll and the
// take ending at the selection's end, recorded from the null sink the player plays into:
// how far each take lies from the audio it replaced (the cross-correlation's peak), and
// how soon the pre-roll is heard after Punch In, beside a bare sink's start.
void PunchFigures() {
  const std::string folder = BenchFolder("punch");
  std::vector<int16_t> noise;
  std::unique_ptr<FileMemoClass> document = PrepareSession(WriteNoiseProject(folder, 30, noise));
  if (!document) {
    Limit(false, "session of the noise track opened");
    return;
  }
  CreatePlayer();
  SoundDriverSwitch(true, 1);
  Pump(500);
  double worstLagMs = 0;
  double worstStartMs = 0;
  double worstPeerMs = 0;
  double worstWatchedMs = 0;
  bool allEnded = true;
  for (int i = 0; i < 10; ++i) {
    PunchIn::Plan plan;
    plan.from = static_cast<int32_t>((1.5 + 2.5 * i) * kRate) + 1;
    plan.to = plan.from + kRate - 1;
    plan.preRollFrames = kRate / 2;
    plan.outAtEnd = true;
    plan.crossfadeMs = 0;
    bool ended = false;
    PunchIn punch(*document, plan, [&ended] { ended = true; });
    const auto started = Clock::now();
    const bool begun = punch.Begin();
    while (begun && PlayedSamples() == 0 && Clock::now() - started < std::chrono::seconds(5)) {
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    const double startMs = Milliseconds(Clock::now() - started);
    const auto giveUp = Clock::now() + std::chrono::seconds(5);
    while (begun && !ended && Clock::now() < giveUp) Pump(5);
    std::vector<int16_t> take;
    std::vector<int16_t> unused;
    document->WaveCollectBuff(plan.from, plan.to, 1, take, unused);
    const std::vector<int16_t> original(noise.begin() + plan.from - 1, noise.begin() + plan.to);
    const double lagMs = 1000.0 * testing::BestLag(original, take, kRate / 20) / kRate;
    const double peerMs = BareSinkStartMilliseconds();
    const double watchedMs = WatchedParecLagMs(*document, noise, folder, plan.from + kRate * 5 / 4);
    std::printf(
        "  punch %2d: take against the played audio %+.2f ms, pre-roll heard after %.1f ms"
        "%s; bare sink start %.1f ms; parec started by watching the player %+.2f ms\n",
        i + 1, lagMs, startMs, ended ? "" : " (never ended)", peerMs, watchedMs);
    worstWatchedMs = std::abs(watchedMs) > std::abs(worstWatchedMs) ? watchedMs : worstWatchedMs;
    allEnded = allEnded && ended && document->WavWaveINos == 30 * kRate;
    worstLagMs = std::abs(lagMs) > std::abs(worstLagMs) ? lagMs : worstLagMs;
    worstStartMs = std::max(worstStartMs, startMs);
    worstPeerMs = std::max(worstPeerMs, peerMs);
  }
  std::cout.flush();
  Figure("10 punches: take against the audio it replaced, worst (goal: within 10 ms)", worstLagMs,
         "ms", "parec started when the player reaches the punch point, worst", worstWatchedMs,
         "ms");
  Limit(allEnded && std::abs(worstLagMs) <= 10, "punched takes line up within 10 ms");
  Figure("10 punches: Punch In to the first pre-roll frame played, worst (goal: under 50 ms)",
         worstStartMs, "ms", "bare QAudioSink start, worst", worstPeerMs, "ms");
  Limit(worstStartMs < 50, "pre-roll heard within 50 ms");
  ReleasePlayer();
  EndSession(document);
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
  TakeFigures();
  PunchFigures();
  const char* chosen = std::getenv("QUORVANE_BENCH_RECORD_SECONDS");
  const int seconds = chosen != nullptr ? std::atoi(chosen) : 60;
  std::cout << "(the recording runs " << seconds
            << " s; QUORVANE_BENCH_RECORD_SECONDS=3600 measures the full hour)\n";
  RecordingFigure(seconds);
  return AllWithinLimits() ? 0 : 1;
}
