#include "batch/BatchCommandLine.h"

#include <charconv>

#include "core/Numbers.h"

namespace quorvane {

namespace {

// A whole decimal number that fits a sample position, nothing else.
std::optional<int32_t> Position(const std::string& word) {
  int32_t value = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
  return value;
}

}  // namespace

std::optional<BatchScript> ParseBatchCommandLine(const std::vector<std::string>& words) {
  if (words.empty() || words[0].empty()) return std::nullopt;
  BatchScript script;
  script.project = words[0];
  for (size_t i = 1; i < words.size();) {
    const std::string& name = words[i];
    const auto argument = [&](size_t k) -> std::optional<int32_t> {
      return i + k < words.size() ? Position(words[i + k]) : std::nullopt;
    };
    BatchCommand command;
    if (name == "info" || name == "undo" || name == "save") {
      command.kind = name == "info"   ? BatchCommand::Kind::Info
                     : name == "undo" ? BatchCommand::Kind::Undo
                                      : BatchCommand::Kind::Save;
      i += 1;
    } else if (name == "samples" || name == "delete") {
      const auto from = argument(1);
      const auto to = argument(2);
      if (!from || !to || *from < 1 || *to < *from) return std::nullopt;
      if (name == "samples" && *to - *from + 1 > kMostSamplesPrinted) return std::nullopt;
      command.kind = name == "samples" ? BatchCommand::Kind::Samples : BatchCommand::Kind::Delete;
      command.from = *from;
      command.to = *to;
      i += 3;
    } else if (name == "insert-silence") {
      const auto at = argument(1);
      if (!at || *at < 1 || i + 2 >= words.size()) return std::nullopt;
      if (RoundHalfEven(LeadingNumber(words[i + 2])) < 1) return std::nullopt;
      command.kind = BatchCommand::Kind::InsertSilence;
      command.from = *at;
      command.seconds = words[i + 2];
      i += 3;
    } else {
      return std::nullopt;
    }
    script.commands.push_back(command);
  }
  return script;
}

std::string BatchUsage() {
  return "usage: quorvane-audio-batch PROJECT [COMMAND ...]\n"
         "commands, carried out in order:\n"
         "  info                     the document, slides and markers as one JSON line\n"
         "  samples FROM TO          sample values FROM..TO (at most 1000000) as JSON\n"
         "  delete FROM TO           delete that range, as the Delete command does\n"
         "  insert-silence AT SECONDS  insert SECONDS (rounded, at least 1) of silence\n"
         "                           before sample AT\n"
         "  undo                     undo the last operation\n"
         "  save                     save the slides and the project file\n"
         "positions count samples from 1\n";
}

}  // namespace quorvane
