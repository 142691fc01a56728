// Decoding a ten-minute stereo IMA ADPCM WAV at 44.1 kHz into a 16-bit PCM WAV: our
// decoder against the ffmpeg command line doing the same, in the same run. Each figure is
// the median of several alternating runs; ratio = peer / ours, so above 1 means ours is
// faster (or smaller).
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include "platform/AcmDecodingLibrary.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;

constexpr int kRuns = 5;

struct Measure {
  double seconds = 0;
  double cpuSeconds = 0;
  double peakMegabytes = 0;
};

double Seconds(const timeval& time) { return time.tv_sec + time.tv_usec / 1e6; }

// The peak memory (VmHWM) a status file of /proc names, in megabytes.
double PeakMegabytes(const std::string& statusFile) {
  std::ifstream status(statusFile);
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmHWM:", 0) == 0) return std::atof(line.c_str() + 6) / 1024.0;
  }
  return 0;
}

// Runs a program to its end and measures it: wall time, CPU time and peak memory (the
// kernel's account of the child alone).
Measure RunProgram(std::vector<std::string> words) {
  std::vector<char*> argv;
  for (auto& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  const auto start = std::chrono::steady_clock::now();
  pid_t child = 0;
  if (posix_spawnp(&child, argv[0], nullptr, nullptr, argv.data(), environ) != 0) {
    std::fprintf(stderr, "bench_decoder: cannot start %s\n", argv[0]);
    std::exit(1);
  }
  int status = 0;
  rusage usage{};
  while (wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
  }
  Measure measure;
  measure.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  measure.peakMegabytes = static_cast<double>(usage.ru_maxrss) / 1024.0;
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    std::fprintf(stderr, "bench_decoder: %s failed\n", argv[0]);
    std::exit(1);
  }
  measure.cpuSeconds = Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
  return measure;
}

std::vector<std::string> Ffmpeg(std::vector<std::string> arguments) {
  std::vector<std::string> words = {"ffmpeg", "-hide_banner", "-loglevel",
                                    "error",  "-nostdin",     "-y"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  return words;
}

Measure RunOurs(const std::string& source, const std::string& destination) {
  // Peak memory from here on: the kernel forgets the process's earlier peak.
  std::ofstream("/proc/self/clear_refs") << "5";
  rusage before{};
  getrusage(RUSAGE_SELF, &before);
  const auto start = std::chrono::steady_clock::now();
  const int32_t handle = quorvane::xAcm_CreateObject("");
  int32_t percent = 0;
  if (quorvane::xAcm_DecodeFile(handle, source.c_str(), destination.c_str()) != 0) {
    while ((percent = quorvane::xAcm_GetDecodingPercent(handle)) >= 0 && percent < 100) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
  Measure measure;
  measure.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  quorvane::xAcm_DestroyObject(handle);
  rusage after{};
  getrusage(RUSAGE_SELF, &after);
  measure.cpuSeconds = Seconds(after.ru_utime) + Seconds(after.ru_stime) -
                       Seconds(before.ru_utime) - Seconds(before.ru_stime);
  measure.peakMegabytes = PeakMegabytes("/proc/self/status");
  if (percent != 100) {
    std::fprintf(stderr, "bench_decoder: our decoder failed\n");
    std::exit(1);
  }
  return measure;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

void PrintFigure(const char* name, const char* unit, const std::vector<Measure>& ours,
                 const std::vector<Measure>& peer, double Measure::*field) {
  std::vector<double> our;
  std::vector<double> their;
  for (const Measure& m : ours) our.push_back(m.*field);
  for (const Measure& m : peer) their.push_back(m.*field);
  const double a = Median(our);
  const double b = Median(their);
  std::printf("%s: %.3f %s  (peer: %.3f %s, ratio %.2f)\n", name, a, unit, b, unit, b / a);
}

// The data chunks of both outputs agree over the frames ours holds (ffmpeg keeps the
// padding of the last block, which the fact chunk cuts away).
bool SameAudio(const std::string& ours, const std::string& peer) {
  std::ifstream a(ours, std::ios::binary);
  std::ifstream b(peer, std::ios::binary);
  std::string headerA(44, '\0');
  a.read(headerA.data(), 44);
  uint32_t size = 0;
  std::memcpy(&size, headerA.data() + 40, 4);
  // ffmpeg writes a LIST chunk before its data: find its data chunk.
  std::string start(4096, '\0');
  b.read(start.data(), static_cast<std::streamsize>(start.size()));
  const size_t data = start.find("data");
  if (size == 0 || data == std::string::npos) return false;
  b.seekg(static_cast<std::streamoff>(data + 8));
  std::vector<char> x(1 << 20);
  std::vector<char> y(1 << 20);
  for (uint64_t left = size; left > 0;) {
    const auto chunk = static_cast<std::streamsize>(std::min<uint64_t>(left, x.size()));
    if (!a.read(x.data(), chunk) || !b.read(y.data(), chunk)) return false;
    if (std::memcmp(x.data(), y.data(), static_cast<size_t>(chunk)) != 0) return false;
    left -= static_cast<uint64_t>(chunk);
  }
  return true;
}

}  // namespace

int main() {
  std::string pattern = (fs::temp_directory_path() / "bench-decoder-XXXXXX").string();
  if (!mkdtemp(pattern.data())) return 1;
  const fs::path folder = pattern;
  const std::string source = (folder / "ima.wav").string();
  const std::string ours = (folder / "ours.wav").string();
  const std::string peer = (folder / "peer.wav").string();

  RunProgram(
      Ffmpeg({"-f", "lavfi", "-i", "sine=frequency=440:sample_rate=44100:duration=600", "-f",
              "lavfi", "-i", "sine=frequency=660:sample_rate=44100:duration=600", "-filter_complex",
              "[0:a][1:a]amerge=inputs=2", "-c:a", "adpcm_ima_wav", source}));
  const std::vector<std::string> peerCommand = Ffmpeg({"-i", source, "-c:a", "pcm_s16le", peer});

  // One run of each first, so both read the source from the page cache.
  RunOurs(source, ours);
  RunProgram(peerCommand);
  if (!SameAudio(ours, peer)) {
    std::fprintf(stderr, "bench_decoder: our audio differs from ffmpeg's\n");
    return 1;
  }
  std::vector<Measure> ourRuns;
  std::vector<Measure> peerRuns;
  for (int run = 0; run < kRuns; ++run) {
    ourRuns.push_back(RunOurs(source, ours));
    peerRuns.push_back(RunProgram(peerCommand));
  }
  PrintFigure("decode 10 min IMA ADPCM stereo 44.1 kHz to 16-bit WAV, wall time", "s", ourRuns,
              peerRuns, &Measure::seconds);
  PrintFigure("same, CPU time", "s", ourRuns, peerRuns, &Measure::cpuSeconds);
  PrintFigure("same, peak memory of the process", "MB", ourRuns, peerRuns, &Measure::peakMegabytes);

  std::error_code ignored;
  fs::remove_all(folder, ignored);
  return 0;
}
