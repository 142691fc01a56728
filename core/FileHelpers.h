// Small file helpers used by every layer, and unique names for temporary files.
#pragma once

#include <string>

namespace quorvane {

// True when a regular file (not a folder) of that name exists; false for a name that is
// empty after trimming.
bool FileExists(const std::string& name);

// True when a folder of that name exists.
bool FolderExists(const std::string& name);

// Deletes the file when it exists. False only when the file still exists afterwards.
bool DeleteFileIfExists(const std::string& name);

// SessionFolder + "/tm" + counter + "." + extension for the next counter value whose file
// does not exist yet (the file is not created). An empty extension means "tmp".
std::string NewTempFileName(const std::string& extension);

}  // namespace quorvane
