#include "core/AppFolders.h"

#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "core/DiskSpace.h"
#include "core/EditJournal.h"
#include "core/Environment.h"
#include "core/FileHelpers.h"
#include "core/Numbers.h"
#include "core/Settings.h"
#include "core/StaleSessions.h"
#include "platform/ProgramFile.h"

namespace quorvane {

namespace fs = std::filesystem;

namespace {

std::string WithoutTrailingSlash(std::string folder) {
  if (folder.size() > 1 && folder.back() == '/') folder.pop_back();
  return folder;
}

bool AnyFileIn(const std::string& folder) {
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    if (it->is_regular_file(error)) return true;
  }
  return false;
}

// The session folder as the termination thread sees it: the last one made and not yet
// removed. Once the process is ending no other is made.
std::mutex g_sessionMutex;
std::string g_liveSessionFolder;
bool g_ending = false;

void DeleteFilesIn(const std::string& folder) {
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    std::error_code ignored;
    if (it->is_regular_file(ignored)) fs::remove(it->path(), ignored);
  }
}

}  // namespace

void InitAppPaths() {
  std::error_code error;
  const fs::path temporary = fs::temp_directory_path(error);
  InitAppPaths(ProgramFolder(), error ? std::string() : temporary.string());
}

void InitAppPaths(const std::string& appPath, const std::string& systemTempFolder) {
  Env().AppPath = appPath;
  std::string temporary = WithoutTrailingSlash(systemTempFolder);
  if (Trim(temporary).empty() || !FolderExists(temporary) || FileExists(temporary)) {
    temporary = Env().AppPath;
  }
  Env().SystemTempPath = temporary;
  Env().SettingsFile = SettingsFilePlace();
}

bool InitTempFolder() {
  SettingPut("General", "InstalledPath", Env().AppPath);
  Env().TempRoot = SettingGet("General", "TmpDir0", Env().SystemTempPath);
  if (!FolderExists(Env().TempRoot + "/")) Env().TempRoot = Env().SystemTempPath;
  SettingPut("General", "FreeHardDisk", DecimalText(FreeDiskBytes()));
  Env().SessionFolder = MakeSessionFolder();
  if (Env().SessionFolder.empty() && Env().TempRoot != Env().SystemTempPath) {
    // The chosen folder exists but takes no new folder: the system's one still may.
    Env().TempRoot = Env().SystemTempPath;
    Env().SessionFolder = MakeSessionFolder();
  }
  if (Env().SessionFolder.empty()) return false;
  // The folders of sessions that were killed would otherwise stay for ever.
  RemoveStaleSessionFolders(Env().TempRoot, Env().SessionFolder);
  return true;
}

std::string MakeSessionFolder() {
  // A name nobody can guess or take beforehand, and a folder only this user may enter:
  // the audio in it is the user's narration.
  std::string name = Env().TempRoot + "/fmXXXXXX";
  const std::lock_guard lock(g_sessionMutex);
  if (g_ending || ::mkdtemp(name.data()) == nullptr) return "";
  g_liveSessionFolder = name;
  // Held while this process lives: a later start knows the folder is in use.
  HoldSessionFolder(name);
  return name;
}

void RemoveSessionFolder() {
  const std::string folder = Env().SessionFolder;
  if (folder.empty()) return;
  ReleaseSessionFolder();
  std::error_code kept;
  fs::remove_all(folder + "/" + kKeptFolderName, kept);
  if (AnyFileIn(folder)) {
    DeleteFilesIn(folder);
    if (AnyFileIn(folder)) std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
  std::error_code ignored;
  fs::remove(folder, ignored);  // stays when it still holds files
  const std::lock_guard lock(g_sessionMutex);
  if (g_liveSessionFolder == folder) g_liveSessionFolder.clear();
}

std::string MoveSessionFolderAside() {
  const std::lock_guard lock(g_sessionMutex);
  g_ending = true;
  const std::string folder = std::exchange(g_liveSessionFolder, std::string());
  if (folder.empty()) return "";
  // Renamed over an empty folder of a fresh random name beside it, which only this
  // process can know, so that no other file can take the name meanwhile.
  std::string aside = fs::path(folder).parent_path().string() + "/fmXXXXXX";
  if (::mkdtemp(aside.data()) == nullptr) return folder;
  std::error_code error;
  fs::rename(folder, aside, error);
  if (!error) return aside;
  fs::remove(aside, error);
  return folder;  // deleted where it is, then
}

void DeleteMovedSessionFolder(const std::string& folder, bool keepJournal) {
  if (folder.empty()) return;
  std::error_code ignored;
  if (keepJournal && fs::exists(folder + "/" + kSessionJournalName, ignored)) {
    for (fs::directory_iterator it(folder, ignored), end; !ignored && it != end;
         it.increment(ignored)) {
      const std::string name = it->path().filename().string();
      std::error_code failed;
      if (name != kSessionJournalName && name != kKeptFolderName)
        fs::remove_all(it->path(), failed);
    }
    return;
  }
  fs::remove_all(folder, ignored);
}

}  // namespace quorvane
