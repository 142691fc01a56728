// How long the editor takes to end once its window is closed: from Ctrl+Q in the window of
// a two-hour, 60-slide presentation to the process's exit, its session folder gone; beside
// a plain X program (xmessage) ended by a key the same way. It needs an X display: the
// benchmark runner gives it a virtual one.
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "bench/BenchSupport.h"

using namespace quorvane::bench;

namespace {

constexpr int kRounds = 5;

// Starts a program with these variables added to (or replacing) the environment.
pid_t Start(const std::vector<std::string>& arguments, const std::vector<std::string>& variables) {
  std::vector<std::string> environment = variables;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string text = *entry;
    const std::string name = text.substr(0, text.find('=') + 1);
    bool replaced = name == "QT_QPA_PLATFORM=";  // a real window on the display
    for (const std::string& variable : variables) replaced |= variable.starts_with(name);
    if (!replaced) environment.push_back(text);
  }
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  std::vector<char*> envp;
  for (std::string& variable : environment) envp.push_back(variable.data());
  envp.push_back(nullptr);
  pid_t child = 0;
  if (posix_spawnp(&child, argv[0], nullptr, nullptr, argv.data(), envp.data()) != 0) return -1;
  return child;
}

// Milliseconds from the last of `keys` sent to the window named `title` to the exit of
// `child`; the keys before it are sent first, half a second apart. Negative when something
// failed.
double EndByKeys(pid_t child, const std::string& title, const std::vector<std::string>& keys) {
  if (child <= 0) return -1.0;
  const auto kill = [child] {
    ::kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    return -1.0;
  };
  if (RunProgram({"xdotool", "search", "--sync", "--onlyvisible", "--name", title, "windowfocus",
                  "--sync"})
          .seconds < 0) {
    return kill();
  }
  std::this_thread::sleep_for(std::chrono::seconds(1));  // settled, as after a user's work
  for (size_t i = 0; i + 1 < keys.size(); ++i) {
    if (RunProgram({"xdotool", "key", keys[i]}).seconds < 0) return kill();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
  }
  const auto started = Clock::now();
  if (RunProgram({"xdotool", "key", keys.back()}).seconds < 0) return kill();
  int status = 0;
  waitpid(child, &status, 0);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return -1.0;
  return Milliseconds(Clock::now() - started);
}

}  // namespace

int main(int /*argc*/, char** argv) {
  if (std::getenv("DISPLAY") == nullptr) {
    std::cerr << "bench_close: needs an X display (scripts/run-benchmarks gives it one)\n";
    return 1;
  }
  const std::string editor = std::filesystem::path(argv[0]).parent_path() / "quorvane-audio";
  const std::string folder = BenchFolder("close");
  const std::string project = WritePresentation(folder, 60, 120, 44100, 44100);
  const std::string temporary = folder + "/tmp";
  std::filesystem::create_directories(temporary);
  // Unchanged, and after deleting everything, answering No to the question about saving.
  const std::vector<std::vector<std::string>> ways = {{"ctrl+q"},
                                                      {"ctrl+a", "Delete", "ctrl+q", "n"}};
  std::vector<std::vector<double>> closes(ways.size());
  std::vector<double> peers;
  bool folderGone = true;
  for (int round = 0; round < kRounds; ++round) {
    for (size_t way = 0; way < ways.size(); ++way) {
      const pid_t child = Start({editor, project},
                                {"TMPDIR=" + temporary, "XDG_CONFIG_HOME=" + folder + "/config"});
      closes[way].push_back(EndByKeys(child, "Timeline Audio Editor", ways[way]));
      folderGone = folderGone && std::filesystem::is_empty(temporary);
    }
    peers.push_back(EndByKeys(
        Start({"xmessage", "-default", "okay", "-title", "Closing peer", "A plain X program"}, {}),
        "Closing peer", {"Return"}));
  }
  const char* names[] = {"Ctrl+Q to the editor's exit, 2 h in 60 slides (median of 5)",
                         "the same after deleting everything, No to saving, from the No"};
  for (size_t way = 0; way < ways.size(); ++way) {
    for (const double time : closes[way]) {
      if (time < 0) {
        std::cerr << "bench_close: the editor did not start or end as expected\n";
        return 1;
      }
    }
    const double close = Median(closes[way]);
    Figure(names[way], close, "ms", "xmessage ended by a key", Median(peers), "ms");
    Limit(close < 200.0, std::string("closed in under 200 ms: ") + names[way]);
  }
  Limit(folderGone, "the session folder removed at every close");
  return AllWithinLimits() ? 0 : 1;
}
