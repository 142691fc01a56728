// A fresh folder for one test, removed with everything in it at the end.
#pragma once

#include <optional>
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

// Sets an environment variable while it lives, then puts back what was there before.
class ScopedVariable {
 public:
  ScopedVariable(const std::string& name, const std::string& value);
  ~ScopedVariable();
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  std::string name_;
  std::optional<std::string> previous_;
};

// Reads a whole file as bytes ("" when missing).
std::string ReadFileBytes(const std::string& path);

}  // namespace quorvane::testing
