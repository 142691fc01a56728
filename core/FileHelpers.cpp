#include "core/FileHelpers.h"

#include <filesystem>
#include <system_error>

#include "core/Environment.h"
#include "core/Numbers.h"

namespace quorvane {

namespace fs = std::filesystem;

bool FileExists(const std::string& name) {
  if (Trim(name).empty()) return false;
  std::error_code error;
  return fs::is_regular_file(name, error);
}

bool FolderExists(const std::string& name) {
  if (Trim(name).empty()) return false;
  std::error_code error;
  return fs::is_directory(name, error);
}

bool DeleteFileIfExists(const std::string& name) {
  if (name.empty() || !FileExists(name)) return true;
  std::error_code error;
  fs::remove(name, error);
  return !FileExists(name);
}

std::string NewTempFileName(const std::string& extension) {
  const std::string ending = extension.empty() ? "tmp" : extension;
  std::string name;
  do {
    ++Env().TempNameCounter;
    name = Env().SessionFolder + "/tm" + DecimalText(Env().TempNameCounter) + "." + ending;
  } while (FileExists(name));
  return name;
}

}  // namespace quorvane
