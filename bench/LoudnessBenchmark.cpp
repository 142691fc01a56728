// Measuring the loudness of a one-hour session (48 kHz stereo 16-bit in a real WAV file,
// split into 60 slides) beside ffmpeg's ebur128 filter on the same file: once against the
// filter as it runs by default, once against it with its true peak, which the editor's
// measurement always includes.
#include <filesystem>
#include <fstream>
#include <iostream>

#include "app/SessionLifetime.h"
#include "bench/BenchSupport.h"
#include "core/BatchInteraction.h"
#include "editing/SlideLoudness.h"
#include "storage/FileMemoClass.h"

using namespace quorvane;
using namespace quorvane::bench;

namespace {

constexpr int kRate = 48000;
constexpr int kSeconds = 3600;
constexpr int kSlides = 60;

// One track of an hour, cut into slides of a minute each by the project's slide starts.
std::string MakeProject(const std::string& folder) {
  std::filesystem::create_directories(folder + "/tracks");
  WriteToneWav(folder + "/tracks/hour.wav", 2, kRate, 16, int64_t{kSeconds} * kRate);
  std::ofstream project(folder + "/project.ini");
  project << "[Project]\nTargetFolder=" << folder
          << "/tracks\nSlideCount=1\nBaseFrequency=" << kRate
          << "\nBaseBits=16\n[1]\nSlideTitle=Hour\nSlideTrack=hour.wav\nDuration=" << kSeconds
          << ".0\n";
  return folder + "/project.ini";
}

// The slides of the session moved to a minute apart, as if the host had cut the hour.
void MinuteSlides(const FileMemoClass& document) {
  ProjectData& project = Project();
  project.SlideCount = kSlides;
  project.Slides.resize(kSlides + 2);
  for (int32_t n = 1; n <= kSlides + 1; ++n) {
    project.Slides[static_cast<size_t>(n)].Start = 1 + (n - 1) * 60 * kRate;
  }
  project.Slides[kSlides + 1].Start = document.WavWaveINos + 1;
}

}  // namespace

int main() {
  BatchInteraction interaction(std::cerr);
  SetUserInterface(&interaction);
  setenv("XDG_CONFIG_HOME", BenchFolder("config").c_str(), 1);
  const std::string folder = BenchFolder("loudness-hour");
  const std::string project = MakeProject(folder);
  const std::string wave = folder + "/tracks/hour.wav";

  ReadWholeFile(wave);
  const ProgramRun plain = RunProgram(
      {"ffmpeg", "-nostats", "-hide_banner", "-i", wave, "-af", "ebur128", "-f", "null", "-"});
  ReadWholeFile(wave);
  const ProgramRun withPeak = RunProgram({"ffmpeg", "-nostats", "-hide_banner", "-i", wave, "-af",
                                          "ebur128=peak=true", "-f", "null", "-"});

  std::unique_ptr<FileMemoClass> document = PrepareSession(project);
  if (!document) {
    Limit(false, "the session opened");
    return 1;
  }
  MinuteSlides(*document);
  ReadWholeFile(wave);
  ResetPeakResident();
  const auto started = Clock::now();
  const std::vector<SlideLoudness> slides = MeasureSlideLoudness(*document, AllSlides());
  const double seconds = Seconds(Clock::now() - started);
  const double peakMegabytes = static_cast<double>(PeakResidentBytes()) / 1e6;
  EndSession(document);

  Limit(slides.size() == kSlides && plain.seconds > 0 && withPeak.seconds > 0,
        "loudness of 60 slides measured");
  Figure("Loudness and true peak of one hour of stereo in 60 slides", seconds, "s",
         "ffmpeg -af ebur128", plain.seconds, "s");
  Figure("  the same", seconds, "s", "ffmpeg -af ebur128=peak=true", withPeak.seconds, "s");
  std::cout << "  peak resident memory while measuring: " << peakMegabytes << " MB" << std::endl;
  Limit(seconds <= 0.5 * plain.seconds, "loudness at most half the time of ffmpeg -af ebur128");
  return AllWithinLimits() ? 0 : 1;
}
