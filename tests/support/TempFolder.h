// A fresh folder for one test, removed with everything in it at the end.
#pragma once

#include <string>

namespace quorvane::testing {

class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::string& Path() const { return path_; }
  std::string File(const std::string& name) const { return path_ + "/" + name; }

  // Writes `content` to the named file (created or replaced) and returns its path.
  std::string Write(const std::string& name, const std::string& content) const;
  std::string Read(const std::string& name) const;

 private:
  std::string path_;
};

// Reads a whole file as bytes ("" when missing).
std::string ReadFileBytes(const std::string& path);

}  // namespace quorvane::testing
