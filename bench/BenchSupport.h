// What the benchmarks share: timing, the printed figures beside their peers, limits,
// memory peaks, running a peer tool, and large WAV files written without holding them.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace quorvane::bench {

using Clock = std::chrono::steady_clock;

double Milliseconds(Clock::duration duration);
double Seconds(Clock::duration duration);
double Median(std::vector<double> values);
double Percentile(std::vector<double> values, double share);

// "name: value unit  (peer: value unit, ratio X.XX)", ratio = value / peer value.
void Figure(const std::string& name, double value, const std::string& unit, const std::string& peer,
            double peerValue, const std::string& peerUnit);

// Prints "LIMIT MISSED: what" when the figure is outside its limit, and remembers it.
void Limit(bool within, const std::string& what);
bool AllWithinLimits();

// The process's peak resident memory (VmHWM), and a reset of that peak.
int64_t PeakResidentBytes();
void ResetPeakResident();

struct ProgramRun {
  double seconds = -1.0;          // wall time; negative when the program failed
  int64_t peakResidentBytes = 0;  // the child's own peak
};

// Runs a program (found on PATH, no shell, output discarded) and waits for it.
ProgramRun RunProgram(const std::vector<std::string>& arguments);

// Reads a file once from start to end (to bring it into the page cache).
void ReadWholeFile(const std::string& path);

// A canonical PCM WAV of `frames` frames of a deterministic tone, written in chunks.
void WriteToneWav(const std::string& path, int channels, int rate, int bits, int64_t frames,
                  int64_t firstFrame = 0);

// A presentation as a host writes it: `slides` stereo 16-bit tracks of `seconds` each at
// `rate` (kept when they already exist), each with two click and one auto marker, and a
// project file that lists them. Returns the project file's path.
std::string WritePresentation(const std::string& folder, int slides, int seconds, int rate,
                              int baseFrequency);
std::vector<std::string> PresentationTracks(const std::string& folder, int slides);

// A fresh folder for the benchmark's files, removed with its contents at exit.
std::string BenchFolder(const std::string& name);

}  // namespace quorvane::bench
