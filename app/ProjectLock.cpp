#include "app/ProjectLock.h"

#include <filesystem>

#include "core/Interaction.h"
#include "platform/FileLock.h"

namespace quorvane {

namespace {
ExclusiveFileLock g_projectLock;
}

bool LockProject(const std::string& projectPath) {
  const std::filesystem::path project(projectPath);
  const std::string lockFile =
      (project.parent_path() / ("." + project.filename().string() + ".lock")).string();
  if (g_projectLock.Take(lockFile, projectPath) != ExclusiveFileLock::Outcome::HeldElsewhere) {
    return true;
  }
  UserInterface().Message(
      std::string("This project is already open in another session of the editor:") + kCrLf +
          projectPath,
      MessageIcon::Exclamation);
  return false;
}

void UnlockProject() { g_projectLock.Release(); }

}  // namespace quorvane
