#include "tests/support/SpokenFixture.h"

#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>

extern char** environ;

namespace quorvane::testing {

namespace {

bool Run(std::vector<std::string> arguments) {
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", 1, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", 1, 0);
  pid_t child = 0;
  const int spawned = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  return spawned == 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) &&
         WEXITSTATUS(status) == 0;
}

// The samples of a 16-bit mono WAV file that sox wrote.
std::vector<int16_t> MonoSamples(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), {});
  const size_t data = bytes.find("data");
  if (data == std::string::npos) return {};
  std::vector<int16_t> samples((bytes.size() - data - 8) / 2);
  std::memcpy(samples.data(), bytes.data() + data + 8, samples.size() * 2);
  return samples;
}

}  // namespace

std::vector<std::pair<size_t, size_t>> SpokenFixture::Pauses(int32_t rate) const {
  std::vector<std::pair<size_t, size_t>> pauses;
  const auto edge = static_cast<size_t>(rate / 10);
  for (size_t n = 0; n + 1 < speech.size(); ++n) {
    pauses.emplace_back(speech[n].second + edge, speech[n + 1].first - edge);
  }
  return pauses;
}

SpokenFixture MakeSpokenFixture(const std::string& folder, int32_t rate) {
  SpokenFixture fixture;
  const std::string rateText = std::to_string(rate);
  const auto seconds = [rate](double value) { return static_cast<size_t>(value * rate); };
  fixture.clean.assign(seconds(0.5), 0);
  const char* sentences[] = {"Welcome to the quarterly results.",
                             "Sales grew in every region this year.",
                             "Thank you for listening to this talk."};
  for (int n = 0; n < 3; ++n) {
    const std::string spoken = folder + "/spoken.wav";
    const std::string cut = folder + "/cut.wav";
    if (!Run({"espeak-ng", "-w", spoken, sentences[n]}) ||
        !Run({"sox", spoken, "-r", rateText, "-b", "16", cut, "silence", "1", "0.01", "0.1%",
              "reverse", "silence", "1", "0.01", "0.1%", "reverse"})) {
      return {};
    }
    const std::vector<int16_t> sentence = MonoSamples(cut);
    fixture.speech.emplace_back(fixture.clean.size(), fixture.clean.size() + sentence.size());
    fixture.clean.insert(fixture.clean.end(), sentence.begin(), sentence.end());
    fixture.clean.insert(fixture.clean.end(), n < 2 ? seconds(2) : seconds(0.5), 0);
  }
  const double speechDb = StretchesDb(fixture.clean, fixture.speech);
  const std::string pinkFile = folder + "/pink.wav";
  if (!Run({"sox", "-n", "-r", rateText, "-b", "16", pinkFile, "synth",
            std::to_string(fixture.clean.size() / static_cast<size_t>(rate) + 1), "pinknoise"})) {
    return {};
  }
  const std::vector<int16_t> pink = MonoSamples(pinkFile);
  if (pink.size() < fixture.clean.size()) return {};
  const double noiseGain =
      std::pow(10.0, (speechDb - 20 - StretchesDb(pink, {{0, fixture.clean.size()}})) / 20);
  const double hum = std::pow(10.0, (speechDb - 20) / 20) * 32768 * std::sqrt(2.0);
  fixture.noisy.resize(fixture.clean.size());
  for (size_t i = 0; i < fixture.clean.size(); ++i) {
    const double value = fixture.clean[i] + noiseGain * pink[i] +
                         hum * std::sin(2 * M_PI * 50.0 * static_cast<double>(i) / rate);
    fixture.noisy[i] = static_cast<int16_t>(std::clamp(std::lround(value), -32768L, 32767L));
  }
  return fixture;
}

double StretchesDb(const std::vector<int16_t>& samples,
                   const std::vector<std::pair<size_t, size_t>>& stretches) {
  double sum = 0;
  size_t count = 0;
  for (const auto& [first, end] : stretches) {
    for (size_t i = first; i < end && i < samples.size(); ++i) {
      sum += static_cast<double>(samples[i]) * samples[i];
    }
    count += end - first;
  }
  return 10 *
         std::log10(sum / static_cast<double>(std::max<size_t>(count, 1)) / (32768.0 * 32768.0));
}

}  // namespace quorvane::testing
