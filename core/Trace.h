// Diagnostic lines for an external trace viewer. There is no log file: when no viewer is
// running, a trace costs one search for a viewer in the life of the process and nothing
// after that.
#pragma once

#include <charconv>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace quorvane {

// A running viewer that takes lines.
class TraceViewer {
 public:
  virtual ~TraceViewer() = default;
  // Sends one line (no terminating zero). Never fails visibly.
  virtual void Send(const std::string& bytes) = 0;
};

// Looks for a viewer; returns nullptr when none runs.
using TraceViewerSearch = std::function<std::unique_ptr<TraceViewer>()>;

// Installs the search the front end uses (the D-Bus one) and forgets any earlier result,
// so the next trace searches again. Without a search there is never a viewer.
void SetTraceViewerSearch(TraceViewerSearch search);

// True when a viewer was found; the first call makes the one search.
bool TraceViewerPresent();

// How many searches were made since the last SetTraceViewerSearch.
int TraceViewerSearchCount();

// The prefix of every line: the program file's name without extension.
void SetTraceProgramName(std::string name);

// Joins the parts with tabs behind the program name and sends the line.
void TraceParts(const std::vector<std::string>& parts);

namespace trace_detail {

inline void Append(std::vector<std::string>& parts, std::string_view text) {
  parts.emplace_back(text);
}
inline void Append(std::vector<std::string>& parts, const char* text) { parts.emplace_back(text); }
inline void Append(std::vector<std::string>& parts, const std::string& text) {
  parts.push_back(text);
}
inline void Append(std::vector<std::string>& parts, bool value) {
  parts.emplace_back(value ? "True" : "False");
}

template <typename Number>
requires std::is_arithmetic_v<Number>
void Append(std::vector<std::string>& parts, Number value) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  parts.emplace_back(buffer, result.ptr);
}

template <typename Element>
void Append(std::vector<std::string>& parts, const std::vector<Element>& values) {
  for (const auto& value : values) Append(parts, value);
}

}  // namespace trace_detail

// Trace("FileWriteWavePart: Enter"), Trace("x", 3, std::vector<std::string>{"a", "b"}):
// values and the elements of arrays become text, joined with tabs.
template <typename... Values>
void Trace(const Values&... values) {
  if (!TraceViewerPresent()) return;
  std::vector<std::string> parts;
  (trace_detail::Append(parts, values), ...);
  TraceParts(parts);
}

}  // namespace quorvane
