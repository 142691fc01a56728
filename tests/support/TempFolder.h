// A fresh folder for one test, removed with everything in it at the end.
#pragma once

#include <cstdint>
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

// Files this process writes may not grow beyond `bytes` while it lives: a write past the
// limit fails with EFBIG, as on a full disk (SIGXFSZ is ignored meanwhile).
class ScopedFileSizeLimit {
 public:
  explicit ScopedFileSizeLimit(uint64_t bytes);
  ~ScopedFileSizeLimit();
  ScopedFileSizeLimit(const ScopedFileSizeLimit&) = delete;
  ScopedFileSizeLimit& operator=(const ScopedFileSizeLimit&) = delete;

 private:
  uint64_t saved_;
  void (*savedSignal_)(int);
};

// Reads a whole file as bytes ("" when missing).
std::string ReadFileBytes(const std::string& path);

}  // namespace quorvane::testing
