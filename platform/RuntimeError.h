// The one error type the program throws for run-time errors: a description in plain words,
// the number the reports show, and the source line of the place that raised it. Every
// layer throws it inside an operation and catches it at the operation's boundary.
#pragma once

#include <cstdint>
#include <source_location>
#include <stdexcept>
#include <string>

namespace quorvane {

// A run-time error with the number and description the reports show, and the source
// line of the place that raised it.
class RuntimeError : public std::runtime_error {
 public:
  RuntimeError(int32_t number, const std::string& description,
               std::source_location where = std::source_location::current())
      : std::runtime_error(description), number_(number), line_(where.line()) {}
  int32_t Number() const { return number_; }
  uint32_t Line() const { return line_; }

 private:
  int32_t number_;
  uint32_t line_;
};

// Error numbers of the reports.
inline constexpr int32_t kErrorFileNotFound = 53;
inline constexpr int32_t kErrorDiskFull = 61;
inline constexpr int32_t kErrorPermissionDenied = 70;
inline constexpr int32_t kErrorPathFileAccess = 75;
inline constexpr int32_t kErrorDeviceIo = 57;
inline constexpr int32_t kErrorBadFileName = 52;
inline constexpr int32_t kErrorOutOfMemory = 7;

}  // namespace quorvane
