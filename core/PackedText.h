// Texts packed into a table of 32-bit integers, as block descriptions carry file names:
// [W, byte count, bytes four to an integer, least significant first], W the count of
// integers after the first.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quorvane {

void PackText(const std::string& text, std::vector<int32_t>& out);

// Reads the packed text at `at` and moves `at` past it; false when the table ends early.
bool UnpackText(const std::vector<int32_t>& in, size_t& at, std::string& text);

}  // namespace quorvane
