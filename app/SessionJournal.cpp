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

// Puts one file of a plan in place. A file swapped in leaves the old one under its staged
// name; the staged file's inode tells which of the two names holds the new file.
bool FinishEntry(const std::string& target, const std::string& staged, uint64_t inode) {
  if (staged.empty()) return ::unlink(target.c_str()) == 0 || errno == ENOENT;
  if (inode != 0 && InodeOf(staged) == inode) return ::rename(staged.c_str(), target.c_str()) == 0;
  if (inode != 0 && InodeOf(target) == inode) {
    ::unlink(staged.c_str());
    return true;
  }
  return false;
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
    line.insert(line.end(), {target, file, std::to_string(file.empty() ? 0 : InodeOf(file))});
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
    std::string failed;
    for (size_t at = 1; at + 2 < plan->size() && failed.empty(); at += 3) {
      const std::string& target = (*plan)[at];
      uint64_t inode = 0;
      try {
        inode = std::stoull((*plan)[at + 2]);
      } catch (const std::exception&) {
      }
      if (!FinishEntry(target, (*plan)[at + 1], inode)) failed = target;
    }
    if (!failed.empty()) {
      UserInterface().Message(std::string("A save that was cut off could not be finished: ") +
                                  failed + kCrLf + "Its files are in " + folder,
                              MessageIcon::Exclamation);
      continue;
    }
    // Everything the journal held is saved now.
    std::error_code ignored;
    fs::remove_all(folder, ignored);
  }
}

}  // namespace quorvane
