#include "batch/BatchCommandLine.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "core/Numbers.h"
#include "editing/LevelSlides.h"

namespace quorvane {

namespace {

// A whole decimal number that fits a sample position, nothing else.
std::optional<int32_t> Position(const std::string& word) {
  int32_t value = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
  return value;
}

// A decimal number with an optional fraction, nothing else.
std::optional<double> Decimal(const std::string& word) {
  double value = 0;
  const auto [end, error] =
      std::from_chars(word.data(), word.data() + word.size(), value, std::chars_format::fixed);
  if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
  return value;
}

bool IsDecimal(const std::string& word) { return Decimal(word).has_value(); }

// A loudness target: a decimal number, negative or not, within the targets accepted.
std::optional<double> LoudnessTarget(const std::string& word) {
  double value = 0;
  const auto [end, error] =
      std::from_chars(word.data(), word.data() + word.size(), value, std::chars_format::fixed);
  if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
  if (value < kQuietestLoudnessTarget || value > kLoudestLoudnessTarget) return std::nullopt;
  return value;
}

const std::vector<std::pair<std::string, BatchCommand::Kind>> kRangeCommands = {
    {"samples", BatchCommand::Kind::Samples}, {"delete", BatchCommand::Kind::Delete},
    {"select", BatchCommand::Kind::Select},   {"copy", BatchCommand::Kind::Copy},
    {"cut", BatchCommand::Kind::Cut},         {"maximize", BatchCommand::Kind::Maximize}};

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
    if (name == "recover" || name == "discard") {
      // What the session starts from: before any other command.
      if (i != 1) return std::nullopt;
      command.kind = name == "recover" ? BatchCommand::Kind::Recover : BatchCommand::Kind::Discard;
      i += 1;
    } else if (name == "info" || name == "undo" || name == "redo" || name == "save" ||
               name == "loudness") {
      command.kind = name == "info"       ? BatchCommand::Kind::Info
                     : name == "undo"     ? BatchCommand::Kind::Undo
                     : name == "redo"     ? BatchCommand::Kind::Redo
                     : name == "loudness" ? BatchCommand::Kind::Loudness
                                          : BatchCommand::Kind::Save;
      i += 1;
    } else if (name == "level") {
      const auto target = i + 1 < words.size() ? LoudnessTarget(words[i + 1]) : std::nullopt;
      if (!target) return std::nullopt;
      command.kind = BatchCommand::Kind::Level;
      command.loudness = *target;
      i += 2;
    } else if (const auto range =
                   std::find_if(kRangeCommands.begin(), kRangeCommands.end(),
                                [&name](const auto& entry) { return entry.first == name; });
               range != kRangeCommands.end()) {
      const auto from = argument(1);
      const auto to = argument(2);
      if (!from || !to || *from < 1 || *to < *from) return std::nullopt;
      if (name == "samples" && *to - *from + 1 > kMostSamplesPrinted) return std::nullopt;
      command.kind = range->second;
      command.from = *from;
      command.to = *to;
      i += 3;
    } else if (name == "volume") {
      const auto percent = argument(1);
      const auto from = argument(2);
      const auto to = argument(3);
      if (!percent || *percent < 0 || *percent > 200) return std::nullopt;
      if (!from || !to || *from < 1 || *to < *from) return std::nullopt;
      command.kind = BatchCommand::Kind::Volume;
      command.percent = *percent;
      command.from = *from;
      command.to = *to;
      i += 4;
    } else if (name == "dynamic") {
      const auto from = argument(4);
      const auto to = argument(5);
      if (i + 5 >= words.size() || !IsDecimal(words[i + 1]) || !argument(2) || !argument(3)) {
        return std::nullopt;
      }
      if (!from || !to || *from < 1 || *to < *from) return std::nullopt;
      command.kind = BatchCommand::Kind::Dynamic;
      command.seconds = words[i + 1];
      command.target = words[i + 2];
      command.cutOff = words[i + 3];
      command.from = *from;
      command.to = *to;
      i += 6;
    } else if (name == "cleanup" || name == "shorten-pauses") {
      // Two decimal values, then the range.
      const auto from = argument(3);
      const auto to = argument(4);
      if (i + 4 >= words.size() || !IsDecimal(words[i + 1]) || !IsDecimal(words[i + 2])) {
        return std::nullopt;
      }
      if (!from || !to || *from < 1 || *to < *from) return std::nullopt;
      command.kind =
          name == "cleanup" ? BatchCommand::Kind::CleanUp : BatchCommand::Kind::ShortenPauses;
      command.values = {*Decimal(words[i + 1]), *Decimal(words[i + 2])};
      command.from = *from;
      command.to = *to;
      i += 5;
    } else if (name == "paste") {
      const auto at = argument(1);
      if (!at || *at < 1) return std::nullopt;
      command.kind = BatchCommand::Kind::Paste;
      command.from = *at;
      i += 2;
    } else if (name == "insert-file") {
      const auto at = argument(1);
      if (!at || *at < 1 || i + 2 >= words.size() || words[i + 2].empty()) return std::nullopt;
      command.kind = BatchCommand::Kind::InsertFile;
      command.from = *at;
      command.path = words[i + 2];
      i += 3;
    } else if (name == "replace-file") {
      const auto from = argument(1);
      const auto to = argument(2);
      if (!from || !to || *from < 1 || *to < *from || i + 3 >= words.size() ||
          words[i + 3].empty()) {
        return std::nullopt;
      }
      command.kind = BatchCommand::Kind::ReplaceFile;
      command.from = *from;
      command.to = *to;
      command.path = words[i + 3];
      i += 4;
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
         "  recover                  first of all: do again the unsaved edits of a session of\n"
         "                           this project that ended without saving, printing\n"
         "                           {\"recovered\":N}\n"
         "  discard                  first of all: discard those edits\n"
         "  info                     the document, slides and markers as one JSON line\n"
         "  samples FROM TO          sample values FROM..TO (at most 1000000) as JSON\n"
         "  delete FROM TO           delete that range, as the Delete command does\n"
         "  insert-silence AT SECONDS  insert SECONDS (rounded, at least 1) of silence\n"
         "                           before sample AT\n"
         "  select FROM TO           select FROM..TO (FROM = TO: a position)\n"
         "  copy FROM TO, cut FROM TO  copy (and cut) that range to the clipboard\n"
         "  paste AT                 paste the clipboard before sample AT\n"
         "  insert-file AT PATH      insert a wav or mp3 file before sample AT\n"
         "  replace-file FROM TO PATH  replace FROM..TO with a wav or mp3 file's audio,\n"
         "                           cross-faded at both joins\n"
         "  volume PERCENT FROM TO   change the volume of that range (0 to 200 percent)\n"
         "  maximize FROM TO         maximize that range\n"
         "  dynamic SECONDS TARGET CUTOFF FROM TO  dynamic compress/expand of that range\n"
         "  cleanup HIGHPASS_HZ STRENGTH_DB FROM TO  high-pass filter (0: none) and noise\n"
         "                           reduction by STRENGTH_DB (0: none) of that range\n"
         "  shorten-pauses MAX_SECONDS THRESHOLD_DB FROM TO  shorten pauses quieter than\n"
         "                           THRESHOLD_DB dBFS to MAX_SECONDS, printing\n"
         "                           {\"pauses\":N,\"removed_seconds\":S}\n"
         "  loudness                 each slide's integrated loudness (LUFS) and true peak\n"
         "                           (dBTP) as one JSON line\n"
         "  level TARGET             level every slide to TARGET LUFS (-70 to 0), true peak\n"
         "                           at most -1 dBTP\n"
         "  undo                     undo the last operation\n"
         "  redo                     redo the last undone operation\n"
         "  save                     save the slides and the project file\n"
         "positions count samples from 1\n";
}

}  // namespace quorvane
