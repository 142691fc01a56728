#include "app/SessionJournal.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "app/StagedFiles.h"
#include "core/Environment.h"
#include "core/Interaction.h"
#include "core/ProjectTables.h"
#include "core/StaleSessions.h"
#include "platform/FileLock.h"

namespace quorvane {

namespace fs = std::filesystem;

namespace {

constexpr const char* kJournalVersion = "1";

JournalWords SourceLine(const char* kind, const std::string& path) {
  JournalWords line{kind, path};
  const std::optional<FileIdentity> identity = IdentityOf(path);
  if (identity) {
    const JournalWords words = IdentityWords(*identity);
    line.insert(line.end(), words.begin(), words.end());
  }
  return line;
}

bool IsHeaderOf(const std::vector<JournalWords>& journal, const std::string& project) {
  return journal.size() >= 2 && journal[0] == JournalWords{"journal", kJournalVersion} &&
         journal[1].size() >= 2 && journal[1][0] == "project" && journal[1][1] == project;
}

bool NobodyHolds(const std::string& folder) {
  const std::string file = folder + "/" + kSessionLockName;
  ExclusiveFileLock probe;
  return probe.Take(file, file) == ExclusiveFileLock::Outcome::Locked;
}

uint64_t InodeOf(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 ? static_cast<uint64_t>(status.st_ino) : 0;
}

// Puts one file of a plan in place (only checks that it can be, unless `apply`). A file
// swapped in leaves the old one under its staged name; the inodes tell which name holds
// which. A target that is neither the file the save found nor the one it put there was
// changed by someone else since: it is left alone.
bool FinishEntry(const std::string& target, const std::string& staged, uint64_t stagedInode,
                 const std::optional<FileIdentity>& found, bool apply) {
  const bool untouched = IdentityOf(target) == found;
  if (staged.empty()) {
    if (InodeOf(target) == 0) return true;
    return untouched && (!apply || ::unlink(target.c_str()) == 0);
  }
  if (stagedInode == 0) return false;
  if (InodeOf(staged) == stagedInode) {
    return untouched && (!apply || ::rename(staged.c_str(), target.c_str()) == 0);
  }
  if (InodeOf(target) != stagedInode) return false;
  if (apply) ::unlink(staged.c_str());
  return true;
}

uint64_t InodeWord(const JournalWords& line, size_t at) {
  try {
    return at < line.size() ? std::stoull(line[at]) : 0;
  } catch (const std::exception&) {
    return 0;
  }
}

}  // namespace

std::vector<JournalWords> SessionJournalHeader() {
  const ProjectData& project = Project();
  std::vector<JournalWords> header{{"journal", kJournalVersion},
                                   SourceLine("project", project.ProjectPath)};
  for (int32_t n = 1; n <= project.SlideCount; ++n) {
    const std::string& track = project.Slides[static_cast<size_t>(n)].TrackPath;
    if (!track.empty()) header.push_back(SourceLine("source", track));
  }
  return header;
}

std::vector<std::string> DeadSessionsOf(const std::string& project) {
  std::vector<std::pair<fs::file_time_type, std::string>> found;
  std::error_code error;
  const std::string& root = Env().TempRoot;
  for (fs::directory_iterator it(root, error), end; !error && it != end; it.increment(error)) {
    const std::string folder = it->path().string();
    const std::string name = it->path().filename().string();
    if (name.size() != 8 || name.rfind("fm", 0) != 0 || folder == Env().SessionFolder) continue;
    const std::string journal = folder + "/" + kSessionJournalName;
    std::error_code missing;
    const fs::file_time_type written = fs::last_write_time(journal, missing);
    if (missing || !IsHeaderOf(ReadJournal(journal), project) || !NobodyHolds(folder)) continue;
    found.emplace_back(written, folder);
  }
  std::sort(found.begin(), found.end(), std::greater<>());
  std::vector<std::string> folders;
  for (auto& entry : found) folders.push_back(std::move(entry.second));
  return folders;
}

std::string ChangedSource(const std::vector<JournalWords>& journal) {
  for (const JournalWords& line : journal) {
    if (line.empty() || (line[0] != "project" && line[0] != "source")) continue;
    if (line.size() < 2) return "";
    const std::optional<FileIdentity> then = IdentityFromWords(line, 2);
    if (then != IdentityOf(line[1])) return line[1];
  }
  return "";
}

JournalWords SavePlan(const StagedFiles& staged) {
  JournalWords line{"save-plan"};
  for (const auto& [target, file] : staged.Plan()) {
    // The target as the save found it, to tell later whether anyone changed it since.
    const std::optional<FileIdentity> found = IdentityOf(target);
    const JournalWords identity = found ? IdentityWords(*found) : JournalWords{"-", "-", "-"};
    line.insert(line.end(), {target, file, std::to_string(file.empty() ? 0 : InodeOf(file))});
    line.insert(line.end(), identity.begin(), identity.end());
  }
  return line;
}

void FinishInterruptedSaves(const std::string& project) {
  for (const std::string& folder : DeadSessionsOf(project)) {
    const std::vector<JournalWords> journal = ReadJournal(folder + "/" + kSessionJournalName);
    // A plan counts unless a later line says the save put everything back.
    const auto plan = std::find_if(journal.rbegin(), journal.rend(), [](const JournalWords& line) {
      return !line.empty() && (line[0] == "save-plan" || line[0] == "save-abandoned");
    });
    if (plan == journal.rend() || (*plan)[0] != "save-plan") continue;
    // Every file is checked before the first is put in place: a plan that cannot be
    // finished whole is not begun.
    std::string failed;
    for (const bool apply : {false, true}) {
      for (size_t at = 1; at + 5 < plan->size() && failed.empty(); at += 6) {
        const std::string& target = (*plan)[at];
        if (!FinishEntry(target, (*plan)[at + 1], InodeWord(*plan, at + 2),
                         IdentityFromWords(*plan, at + 3), apply)) {
          failed = target;
        }
      }
    }
    if (!failed.empty()) {
      UserInterface().Message(
          std::string("A save that was cut off could not be finished: this file was changed "
                      "after it:") +
              kCrLf + failed,
          MessageIcon::Exclamation);
      continue;
    }
    // Everything the journal held is saved now.
    std::error_code ignored;
    fs::remove_all(folder, ignored);
  }
}

}  // namespace quorvane
