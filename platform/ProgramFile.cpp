#include "platform/ProgramFile.h"

#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include <unistd.h>

namespace quorvane {

namespace fs = std::filesystem;

std::string ProgramFile() {
  std::error_code error;
  const fs::path path = fs::read_symlink("/proc/self/exe", error);
  return error ? std::string() : path.string();
}

std::string ProgramFolder() { return fs::path(ProgramFile()).parent_path().string(); }

std::string ProgramBaseName() { return fs::path(ProgramFile()).stem().string(); }

std::string UserConfigFolder() {
  const char* xdg = std::getenv("XDG_CONFIG_HOME");
  if (xdg && *xdg) return xdg;
  const char* home = std::getenv("HOME");
  return std::string(home && *home ? home : "/tmp") + "/.config";
}

std::string FindOnPath(const std::string& programName) {
  const char* path = std::getenv("PATH");
  std::string_view folders = path ? path : "/usr/local/bin:/usr/bin:/bin";
  while (!folders.empty()) {
    const size_t colon = folders.find(':');
    const std::string_view folder = folders.substr(0, colon);
    folders = colon == std::string_view::npos ? std::string_view() : folders.substr(colon + 1);
    if (folder.empty()) continue;
    const std::string candidate = std::string(folder) + "/" + programName;
    std::error_code error;
    if (fs::is_regular_file(candidate, error) && ::access(candidate.c_str(), X_OK) == 0) {
      return candidate;
    }
  }
  return "";
}

}  // namespace quorvane
