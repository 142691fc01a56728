// The process-wide environment: program and temporary folders, the session folder in
// which all temporary audio files live, the temporary-name counter and the memory budget.
// Set up once at start-up, torn down at the end of the session.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

struct Environment {
  std::string AppPath;         // folder of the program file
  std::string SystemTempPath;  // system temporary folder, or AppPath when unusable
  std::string TempRoot;        // folder in which the session folder is made
  std::string SessionFolder;   // per-run folder, TempRoot + "/fm" + random characters
  std::string SettingsFile;    // the settings (INI) file
  int32_t TempNameCounter = 0;
  int32_t MemoryBudget = 0;  // bytes of samples the storage engine may keep in memory
};

Environment& Env();

// Back to the state before start-up (tests start each case from here).
void ResetEnvironment();

}  // namespace quorvane
