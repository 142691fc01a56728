// Free space on the volume of the temporary folders.
#pragma once

#include <cstdint>

namespace quorvane {

// Bytes available to this process on the volume of TempRoot; 0 when the query fails.
int64_t FreeDiskBytes();

// True when more than `neededBytes` are free; otherwise says "Free disk space for this is
// low." and returns false.
bool CheckFreeDisk(int64_t neededBytes);

}  // namespace quorvane
