// The batch tool's command line: the project file, then commands carried out in order.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorvane {

struct BatchCommand {
  enum class Kind { Info, Samples, Delete, InsertSilence, Undo, Save };
  Kind kind = Kind::Info;
  int32_t from = 0;     // samples, delete: first position; insert-silence: the position
  int32_t to = 0;       // samples, delete: last position
  std::string seconds;  // insert-silence: the answer as given
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
