#include "app/StagedFiles.h"

#include <algorithm>
#include <filesystem>

#include "core/FileHelpers.h"
#include "platform/FileReplace.h"

namespace quorvane {

namespace {

std::string StagedName(const std::string& target) {
  const std::filesystem::path path(target);
  return (path.parent_path() / (".~" + path.filename().string())).string();
}

}  // namespace

StagedFiles::~StagedFiles() {
  for (const Entry& entry : entries_) {
    if (!entry.staged.empty()) DeleteFileIfExists(entry.staged);
  }
}

std::string StagedFiles::Stage(const std::string& target) {
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [&](const Entry& entry) { return entry.target == target; });
  Entry& entry = found != entries_.end() ? *found : entries_.emplace_back(Entry{target, ""});
  entry.staged = StagedName(target);
  // A file left by a save that was cut off is only in the way.
  DeleteFileIfExists(entry.staged);
  return entry.staged;
}

void StagedFiles::StageDeletion(const std::string& target) {
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [&](const Entry& entry) { return entry.target == target; });
  if (found == entries_.end()) {
    entries_.push_back(Entry{target, ""});
  } else if (!found->staged.empty()) {
    DeleteFileIfExists(found->staged);
    found->staged.clear();
  }
}

bool StagedFiles::AllWritten(std::string& failedTarget) const {
  for (const Entry& entry : entries_) {
    if (!entry.staged.empty() && !FileExists(entry.staged)) {
      failedTarget = entry.target;
      return false;
    }
  }
  return true;
}

bool StagedFiles::Commit(const std::function<void(const std::string&)>& beforeReplace,
                         std::string& failedTarget) {
  size_t done = 0;
  for (; done < entries_.size(); ++done) {
    const Entry& entry = entries_[done];
    beforeReplace(entry.target);
    const bool inPlace = entry.staged.empty() ? DeleteFileIfExists(entry.target)
                                              : ReplaceFile(entry.staged, entry.target);
    if (!inPlace) {
      failedTarget = entry.target;
      break;
    }
  }
  // What is in place is no longer ours to remove; what is not, is.
  const bool complete = done == entries_.size();
  entries_.erase(entries_.begin(), entries_.begin() + static_cast<std::ptrdiff_t>(done));
  return complete;
}

}  // namespace quorvane
