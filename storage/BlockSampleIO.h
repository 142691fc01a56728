// Reading the samples of blocks where they lie (memory, temporary file, original file),
// changing nothing.
#pragma once

#include <cstdint>
#include <vector>

namespace quorvane {

// One sample at position `p` of the block.
int16_t PeekSample(int32_t block, int32_t p);
// The samples at offsets first..last (0-based inside the block). `out` receives
// last - first + 1 values.
void ReadBlockRange(int32_t block, int32_t first, int32_t last, std::vector<int16_t>& out);
void ReadBlockRange(int32_t block, int32_t first, int32_t last, int16_t* out);
// The same offsets of the left and the right block of one stretch; when both lie side by
// side in one stereo source file, one read fills both.
void ReadBlockPairRange(int32_t leftBlock, int32_t rightBlock, int32_t first, int32_t last,
                        int16_t* left, int16_t* right);
// The same, interleaved into `frames` (left, right, left, ...); a 16-bit stereo source's
// frames are read straight into place.
void ReadBlockPairFrames(int32_t leftBlock, int32_t rightBlock, int32_t first, int32_t last,
                         int16_t* frames);

}  // namespace quorvane
