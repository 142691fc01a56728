// The batch tool's command line: the project file, then commands carried out in order.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorvane {

struct BatchCommand {
  enum class Kind {
    Info,
    Samples,
    Delete,
    InsertSilence,
    Undo,
    Redo,
    Save,
    Select,
    Copy,
    Cut,
    Paste,
    InsertFile,
    ReplaceFile,
    Volume,
    Maximize,
    Dynamic,
    Loudness,
    Level,
    ShortenPauses,
    CleanUp,
    Recover,
    Discard
  };
  Kind kind = Kind::Info;
  int32_t from = 0;  // the range's first position; insert-silence, paste, insert-file: the position
  int32_t to = 0;    // the range's last position
  std::string seconds;  // insert-silence: the answer as given; dynamic: the window's seconds
  std::string path;     // insert-file, replace-file: the audio file
  int32_t percent = 0;  // volume: the slider's value
  std::string target;   // dynamic: target volume in percent
  std::string cutOff;   // dynamic: cut-off volume in percent
  double loudness = 0;  // level: the target in LUFS
  // cleanup: the high-pass cut-off in Hz and the strength in dB; shorten-pauses: the
  // longest pause in seconds and the quiet level in dBFS
  std::array<double, 2> values{};
};

struct BatchScript {
  std::string project;
  std::vector<BatchCommand> commands;
};

inline constexpr int32_t kMostSamplesPrinted = 1'000'000;

// Nothing when the words are not understood.
std::optional<BatchScript> ParseBatchCommandLine(const std::vector<std::string>& words);

std::string BatchUsage();

}  // namespace quorvane
