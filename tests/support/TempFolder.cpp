#include "tests/support/TempFolder.h"

#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace quorvane::testing {

TempFolder::TempFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "qvtest-XXXXXX").string();
  if (!::mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  // Tests may take write permission away; give it back so everything can go.
  std::filesystem::permissions(path_, std::filesystem::perms::owner_all,
                               std::filesystem::perm_options::add, ignored);
  std::filesystem::remove_all(path_, ignored);
}

std::string TempFolder::Write(const std::string& name, const std::string& content) const {
  const std::string path = File(name);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << content;
  return path;
}

std::string TempFolder::Read(const std::string& name) const { return ReadFileBytes(File(name)); }

ScopedVariable::ScopedVariable(const std::string& name, const std::string& value) : name_(name) {
  if (const char* previous = std::getenv(name.c_str())) previous_ = previous;
  ::setenv(name.c_str(), value.c_str(), 1);
}

ScopedVariable::~ScopedVariable() {
  if (previous_) {
    ::setenv(name_.c_str(), previous_->c_str(), 1);
  } else {
    ::unsetenv(name_.c_str());
  }
}

std::string ReadFileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

ScopedFileSizeLimit::ScopedFileSizeLimit(uint64_t bytes) {
  rlimit limit{};
  ::getrlimit(RLIMIT_FSIZE, &limit);
  saved_ = limit.rlim_cur;
  savedSignal_ = std::signal(SIGXFSZ, SIG_IGN);
  limit.rlim_cur = bytes;
  ::setrlimit(RLIMIT_FSIZE, &limit);
}

ScopedFileSizeLimit::~ScopedFileSizeLimit() {
  rlimit limit{};
  ::getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = saved_;
  ::setrlimit(RLIMIT_FSIZE, &limit);
  std::signal(SIGXFSZ, savedSignal_);
}

}  // namespace quorvane::testing
