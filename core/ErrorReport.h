// Run-time errors and the forms in which they are reported. Operations throw inside and
// catch at their own boundary, then report in one of these forms.
#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <source_location>
#include <stdexcept>
#include <string>

#include "platform/RuntimeError.h"

namespace quorvane {

// Throws a RuntimeError for the current errno: "what: No such file or directory".
[[noreturn]] void ThrowErrno(const std::string& what,
                             std::source_location where = std::source_location::current());
[[noreturn]] void ThrowError(int32_t number, const std::string& description,
                             std::source_location where = std::source_location::current());

// The description, number and line of any exception (0 where it has none).
std::string ErrorDescription(const std::exception& error);
int32_t ErrorNumber(const std::exception& error);
uint32_t ErrorLine(const std::exception& error);

// Form 1: "Error: " + description + CR LF + "in QuorvaneAudio." + module + "." + procedure +
// " at line " + line. `spacedColon` gives "Error : " (the window's load handler).
std::string TraceErrorText(const std::string& description, const std::string& module,
                           const std::string& procedure, uint32_t line, bool spacedColon = false);
void TraceError(const std::exception& error, const std::string& module,
                const std::string& procedure, bool spacedColon = false);

// Form 2: the description alone, or a fixed phrase + CR LF + the description, in a
// message box captioned with the failed action.
std::string ActionErrorText(const std::string& phrase, const std::string& description);

// Form 3: description + CR LF + "in QuorvaneAudio." + module + "." + procedure +
// " at line " + line.
std::string LocatedErrorText(const std::string& description, const std::string& module,
                             const std::string& procedure, uint32_t line);

// Form 4: "Error (" n ") occurred " + ("at or after line " + line | "(unspecified)") +
// " of " + class + CR LF + CR LF + description.
std::string NumberedErrorText(int32_t number, std::optional<uint32_t> line,
                              const std::string& className, const std::string& description);

}  // namespace quorvane
