// The flat description of blocks that the player and the clipboard use: per block its
// file name packed four bytes to an element, length, kind, start, file position, channels
// and bits; and the blocks made back from one.
#pragma once

#include <cstdint>
#include <vector>

namespace quorvane {

std::vector<int32_t> BlocksToDescriptor(const std::vector<int32_t>& blocks);
std::vector<int32_t> DescriptorToBlocks(const std::vector<int32_t>& descriptor, bool takeOver);

}  // namespace quorvane
