// Start-up and shutdown of the program's folders: where the program lives, the system's
// temporary folder, and the per-run session folder that holds every temporary audio file.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

// AppPath, SystemTempPath and the place of the settings file (the user's configuration
// folder, see SettingsFilePlace).
void InitAppPaths();
void InitAppPaths(const std::string& appPath, const std::string& systemTempFolder);

// Writes "InstalledPath" and "FreeHardDisk", chooses TempRoot from "TmpDir0" and makes the
// session folder. False when no session folder could be made.
bool InitTempFolder();

// Makes TempRoot + "/fm" + six random characters, open to this user only; returns the
// folder's name, or "" when it could not be made.
std::string MakeSessionFolder();

// Deletes the files of the session folder and the folder itself.
void RemoveSessionFolder();

// For a process that is ending at once, on any thread: renames the session folder to a
// fresh name, so that no thread still at work (writing an effect's blocks) can make a file
// under its old name any more, and returns where it went ("" when there is none; the old
// name itself when it could not be moved). No session folder is made from then on.
std::string MoveSessionFolderAside();

// Deletes a session folder moved aside, with everything in it; with `keepJournal`, a
// journal of unsaved edits and the files it keeps stay in it for the next start.
void DeleteMovedSessionFolder(const std::string& folder, bool keepJournal = false);

}  // namespace quorvane
