// The operations that join the block table and the file tables: blocks made over a run of
// an original file, and an original file let go of.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

// A new BlockOrgFile block of `length` samples of one channel of the original file
// `entry`, its first sample at the 1-based byte `filePosition`, starting at `start` in its
// owner. The file's use count counts it.
int32_t AddOriginalFileRun(int32_t entry, int32_t filePosition, int32_t start, int32_t length);
void ReleaseOriginalFileByName(const std::string& name);
void ReleaseOriginalFile(int32_t entry);
// Before a file is replaced or deleted: the blocks that still read from it keep reading it
// under a second name in the session folder (a hard link; a copy only across file
// systems), without loading a sample. The caller then renames a new file over the name or
// deletes it; the session's copy is the only one left of the old audio. Where no second
// name can be made, the blocks are loaded as by ReleaseOriginalFileByName.
void SetOriginalFileAside(const std::string& name);

}  // namespace quorvane
