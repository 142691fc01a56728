#include "core/ErrorReport.h"

#include <cerrno>
#include <cstring>

#include "core/Interaction.h"
#include "core/Trace.h"

namespace quorvane {

namespace {

int32_t NumberForErrno(int code) {
  switch (code) {
    case ENOENT:
      return kErrorFileNotFound;
    case ENOSPC:
    case EDQUOT:
      return kErrorDiskFull;
    case EACCES:
    case EPERM:
    case EROFS:
      return kErrorPermissionDenied;
    case EIO:
      return kErrorDeviceIo;
    case ENAMETOOLONG:
      return kErrorBadFileName;
    case ENOMEM:
      return kErrorOutOfMemory;
    default:
      return kErrorPathFileAccess;
  }
}

std::string Location(const std::string& module, const std::string& procedure, uint32_t line) {
  return std::string("in QuorvaneAudio.") + module + "." + procedure + " " + "at line " +
         std::to_string(line);
}

}  // namespace

void ThrowErrno(const std::string& what, std::source_location where) {
  const int code = errno;
  throw RuntimeError(NumberForErrno(code), what + ": " + std::strerror(code), where);
}

void ThrowError(int32_t number, const std::string& description, std::source_location where) {
  throw RuntimeError(number, description, where);
}

std::string ErrorDescription(const std::exception& error) {
  if (dynamic_cast<const std::bad_alloc*>(&error)) return "Out of memory";
  return error.what();
}

int32_t ErrorNumber(const std::exception& error) {
  if (const auto* runtime = dynamic_cast<const RuntimeError*>(&error)) return runtime->Number();
  if (dynamic_cast<const std::bad_alloc*>(&error)) return kErrorOutOfMemory;
  return 0;
}

uint32_t ErrorLine(const std::exception& error) {
  if (const auto* runtime = dynamic_cast<const RuntimeError*>(&error)) return runtime->Line();
  return 0;
}

std::string TraceErrorText(const std::string& description, const std::string& module,
                           const std::string& procedure, uint32_t line, bool spacedColon) {
  return std::string(spacedColon ? "Error : " : "Error: ") + description + kCrLf +
         Location(module, procedure, line);
}

void TraceError(const std::exception& error, const std::string& module,
                const std::string& procedure, bool spacedColon) {
  Trace(TraceErrorText(ErrorDescription(error), module, procedure, ErrorLine(error), spacedColon));
}

std::string ActionErrorText(const std::string& phrase, const std::string& description) {
  return phrase.empty() ? description : phrase + kCrLf + description;
}

std::string LocatedErrorText(const std::string& description, const std::string& module,
                             const std::string& procedure, uint32_t line) {
  return description + kCrLf + Location(module, procedure, line);
}

std::string NumberedErrorText(int32_t number, std::optional<uint32_t> line,
                              const std::string& className, const std::string& description) {
  const std::string where =
      line ? "at or after line " + std::to_string(*line) : std::string("(unspecified)");
  return "Error (" + std::to_string(number) + ") occurred " + where + " of " + className + kCrLf +
         kCrLf + description;
}

}  // namespace quorvane
