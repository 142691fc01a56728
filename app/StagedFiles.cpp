#include "app/StagedFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <mutex>
#include <unordered_set>

#include "core/ErrorReport.h"
#include "core/FileHelpers.h"
#include "platform/FileHandle.h"
#include "platform/FileReplace.h"

namespace quorvane {

namespace {

// The staged files of the saves under way, for a program ended in the middle of one.
std::mutex g_underWayLock;
std::unordered_set<std::string> g_underWay;
bool g_ending = false;  // the staged files were removed: the program is ending

void Remember(const std::string& staged) {
  const std::lock_guard lock(g_underWayLock);
  // A save that goes on beside the clean-up of an ending program leaves no file behind.
  if (g_ending) {
    ::unlink(staged.c_str());
    ThrowError(kErrorPathFileAccess, "The program is ending");
  }
  g_underWay.insert(staged);
}

void Forget(const std::string& staged) {
  const std::lock_guard lock(g_underWayLock);
  g_underWay.erase(staged);
}

void RemoveStaged(const std::string& staged) {
  DeleteFileIfExists(staged);
  Forget(staged);
}

[[noreturn]] void RefuseStaging(const std::string& target, const std::string& folder) {
  if (errno == EACCES || errno == EPERM || errno == EROFS) {
    ThrowError(kErrorPermissionDenied, "Cannot create files in the folder " + folder);
  }
  ThrowError(kErrorPermissionDenied, "Cannot write " + target);
}

}  // namespace

StagedFiles::~StagedFiles() {
  for (const Entry& entry : entries_) {
    if (!entry.staged.empty()) RemoveStaged(entry.staged);
  }
}

std::string StagedFiles::Stage(const std::string& target) {
  const std::filesystem::path path(target);
  const std::string folder = path.parent_path().string();
  std::string name = (path.parent_path() / (".~" + path.filename().string() + ".XXXXXX")).string();
  // Made anew under a name of random characters and only where no file or link stands, so
  // nothing planted beside the target can take the save elsewhere or stand in its way.
  FileHandle file(::mkostemp(name.data(), O_CLOEXEC));
  if (!file.IsOpen()) RefuseStaging(target, folder);
  Remember(name);
  struct stat current {};
  const mode_t mode = ::stat(target.c_str(), &current) == 0 && S_ISREG(current.st_mode)
                          ? current.st_mode & 07777
                          : 0644;
  ::fchmod(file.Descriptor(), mode);
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [&](const Entry& entry) { return entry.target == target; });
  Entry& entry = found != entries_.end() ? *found : entries_.emplace_back(Entry{target, ""});
  if (!entry.staged.empty()) RemoveStaged(entry.staged);
  entry.staged = name;
  entry.mode = mode;
  return name;
}

void StagedFiles::StageText(const std::string& target, const std::string& content) {
  const std::string staged = Stage(target);
  FileHandle file(::open(staged.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC | O_NOFOLLOW));
  size_t written = 0;
  while (file.IsOpen() && written < content.size()) {
    const ssize_t count =
        ::write(file.Descriptor(), content.data() + written, content.size() - written);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    written += static_cast<size_t>(count);
  }
  if (written < content.size() || !file.Close())
    ThrowError(kErrorDiskFull, "Cannot write " + target);
}

void StagedFiles::StageDeletion(const std::string& target) {
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [&](const Entry& entry) { return entry.target == target; });
  if (found == entries_.end()) {
    entries_.push_back(Entry{target, ""});
  } else if (!found->staged.empty()) {
    RemoveStaged(found->staged);
    found->staged.clear();
  }
}

std::vector<std::pair<std::string, std::string>> StagedFiles::Plan() const {
  std::vector<std::pair<std::string, std::string>> plan;
  for (const Entry& entry : entries_) plan.emplace_back(entry.target, entry.staged);
  return plan;
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
  // Each file put in place keeps the one it replaced under its staged name until all are
  // in place: when one cannot be (the project file, last, in a folder that takes no new
  // name), those before it are put back, so the project never describes tracks that are
  // not the ones on disk.
  struct Placed {
    const Entry* entry;
    std::string oldFile;  // the replaced file's name now; empty when there was none
    SwapOutcome outcome;
  };
  std::vector<Placed> placed;
  const auto putBack = [&] {
    for (auto at = placed.rbegin(); at != placed.rend(); ++at) {
      if (at->entry->staged.empty()) {
        if (!at->oldFile.empty()) ::rename(at->oldFile.c_str(), at->entry->target.c_str());
      } else {
        UndoSwap(at->entry->staged, at->entry->target, at->outcome);
      }
    }
  };
  for (const Entry& entry : entries_) {
    beforeReplace(entry.target);
    if (entry.staged.empty()) {
      // A deletion sets the track aside under a hidden name first, to be put back as well.
      std::string aside;
      if (FileExists(entry.target)) {
        const std::filesystem::path path(entry.target);
        aside = (path.parent_path() / (".~" + path.filename().string() + ".XXXXXX")).string();
        const FileHandle made(::mkostemp(aside.data(), O_CLOEXEC));
        if (made.IsOpen()) Remember(aside);
        if (!made.IsOpen() || ::rename(entry.target.c_str(), aside.c_str()) != 0) {
          if (made.IsOpen()) RemoveStaged(aside);
          Forget(aside);
          failedTarget = entry.target;
          putBack();
          return false;
        }
      }
      placed.push_back({&entry, aside, SwapOutcome::Renamed});
      continue;
    }
    // The writers may have made the staged file anew, private as temporary files are: it
    // takes the permissions of the track it replaces.
    ::chmod(entry.staged.c_str(), entry.mode);
    struct stat before {};
    const bool replacesFile = ::lstat(entry.target.c_str(), &before) == 0;
    SwapOutcome outcome = SwapIntoPlace(entry.staged, entry.target);
    if (outcome == SwapOutcome::Failed) {
      failedTarget = entry.target;
      putBack();
      return false;
    }
    // A rename over the old file (a file system that cannot swap) cannot be taken back.
    if (outcome == SwapOutcome::Renamed && replacesFile) outcome = SwapOutcome::Failed;
    placed.push_back({&entry, outcome == SwapOutcome::Swapped ? entry.staged : "", outcome});
  }
  // All in place: the replaced files go, and nothing staged is left to remove.
  for (const Placed& done : placed) {
    if (!done.oldFile.empty()) RemoveStaged(done.oldFile);
    if (!done.entry->staged.empty()) Forget(done.entry->staged);
  }
  entries_.clear();
  return true;
}

void RemoveStagedFilesNow() {
  const std::lock_guard lock(g_underWayLock);
  g_ending = true;
  for (const std::string& staged : g_underWay) ::unlink(staged.c_str());
  g_underWay.clear();
}

}  // namespace quorvane
