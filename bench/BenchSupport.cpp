#include "bench/BenchSupport.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>

#include "platform/CanonicalWaveHeader.h"

extern char** environ;

namespace quorvane::bench {

namespace {
bool g_allWithinLimits = true;

// Removes the benchmark folders when the program ends.
struct FolderCleanup {
  std::vector<std::string> folders;
  ~FolderCleanup() {
    for (const std::string& folder : folders) {
      std::error_code ignored;
      std::filesystem::remove_all(folder, ignored);
    }
  }
};
FolderCleanup g_cleanup;

int16_t Tone(int channel, int64_t frame) {
  return static_cast<int16_t>(((frame * (channel ? 13 : 7)) % 20000) - 10000);
}
}  // namespace

double Milliseconds(Clock::duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

double Seconds(Clock::duration duration) { return std::chrono::duration<double>(duration).count(); }

double Median(std::vector<double> values) { return Percentile(std::move(values), 0.5); }

double Percentile(std::vector<double> values, double share) {
  if (values.empty()) return 0.0;
  std::sort(values.begin(), values.end());
  const size_t index = static_cast<size_t>(share * static_cast<double>(values.size() - 1) + 0.5);
  return values[std::min(index, values.size() - 1)];
}

void Figure(const std::string& name, double value, const std::string& unit, const std::string& peer,
            double peerValue, const std::string& peerUnit) {
  const double ratio = peerValue != 0.0 ? value / peerValue : 0.0;
  char text[400];
  const char* format = ratio != 0.0 && ratio < 0.01 ? "%s: %.4g %s  (%s: %.4g %s, ratio %.2e)"
                                                    : "%s: %.4g %s  (%s: %.4g %s, ratio %.2f)";
  std::snprintf(text, sizeof text, format, name.c_str(), value, unit.c_str(), peer.c_str(),
                peerValue, peerUnit.c_str(), ratio);
  std::cout << text << std::endl;
}

void Limit(bool within, const std::string& what) {
  if (within) return;
  g_allWithinLimits = false;
  std::cout << "LIMIT MISSED: " << what << std::endl;
}

bool AllWithinLimits() { return g_allWithinLimits; }

int64_t PeakResidentBytes() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmHWM:", 0) == 0) return std::atoll(line.c_str() + 6) * 1024;
  }
  return 0;
}

void ResetPeakResident() { std::ofstream("/proc/self/clear_refs") << "5"; }

ProgramRun RunProgram(const std::vector<std::string>& arguments) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  ProgramRun run;
  const auto started = Clock::now();
  pid_t child = 0;
  const int spawned = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) return run;
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return run;
  run.seconds = Seconds(Clock::now() - started);
  run.peakResidentBytes = static_cast<int64_t>(usage.ru_maxrss) * 1024;
  return run;
}

void ReadWholeFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::vector<char> buffer(1 << 22);
  while (in.read(buffer.data(), static_cast<std::streamsize>(buffer.size())) || in.gcount() > 0) {
  }
}

void WriteToneWav(const std::string& path, int channels, int rate, int bits, int64_t frames,
                  int64_t firstFrame) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  const auto header = CanonicalWaveHeader(channels, rate, bits, frames);
  out.write(reinterpret_cast<const char*>(header.data()),
            static_cast<std::streamsize>(header.size()));
  constexpr int64_t kChunkFrames = 1 << 18;
  std::vector<char> chunk;
  for (int64_t frame = 0; frame < frames; frame += kChunkFrames) {
    const int64_t count = std::min(kChunkFrames, frames - frame);
    chunk.clear();
    for (int64_t i = 0; i < count; ++i) {
      for (int channel = 0; channel < channels; ++channel) {
        const int16_t value = Tone(channel, firstFrame + frame + i);
        if (bits == 8) {
          chunk.push_back(static_cast<char>((value >> 8) + 128));
        } else {
          chunk.push_back(static_cast<char>(value & 0xFF));
          chunk.push_back(static_cast<char>((value >> 8) & 0xFF));
        }
      }
    }
    out.write(chunk.data(), static_cast<std::streamsize>(chunk.size()));
  }
}

std::string BenchFolder(const std::string& name) {
  std::string pattern =
      (std::filesystem::temp_directory_path() / ("qvbench-" + name + "-XXXXXX")).string();
  if (!mkdtemp(pattern.data())) {
    std::perror("mkdtemp");
    std::exit(1);
  }
  g_cleanup.folders.push_back(pattern);
  return pattern;
}

std::string WritePresentation(const std::string& folder, int slides, int seconds, int rate,
                              int baseFrequency) {
  std::filesystem::create_directories(folder + "/tracks");
  std::ofstream project(folder + "/project.ini");
  project << "[Project]\nTargetFolder=" << folder << "/tracks\nSlideCount=" << slides
          << "\nBaseFrequency=" << baseFrequency << "\nBaseBits=16\n";
  const std::vector<std::string> tracks = PresentationTracks(folder, slides);
  for (int n = 1; n <= slides; ++n) {
    const std::string& track = tracks[static_cast<size_t>(n) - 1];
    if (!std::filesystem::exists(track)) {
      WriteToneWav(track, 2, rate, 16, static_cast<int64_t>(seconds) * rate,
                   static_cast<int64_t>(n) * 977);
    }
    project << "[" << n << "]\nSlideTitle=Slide " << n << "\nSlideTrack=slide" << n
            << ".wav\nDuration=" << seconds
            << ".0\nClickMarkerTimes=1.5,30.25\nAutoMarkerTimes=12.0\n";
  }
  return folder + "/project.ini";
}

std::vector<std::string> PresentationTracks(const std::string& folder, int slides) {
  std::vector<std::string> tracks;
  for (int n = 1; n <= slides; ++n) {
    tracks.push_back(folder + "/tracks/slide" + std::to_string(n) + ".wav");
  }
  return tracks;
}

}  // namespace quorvane::bench
