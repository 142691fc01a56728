// The selection as the edit commands see it.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

class FileMemoClass;

// What a command wants of the selection.
inline constexpr int32_t kWantAny = 0;
inline constexpr int32_t kWantPosition = 1;
inline constexpr int32_t kWantRange = 2;
inline constexpr int32_t kWantPositionOrRange = 3;

// 0 nothing selected, 1 a position, 2 a range.
int32_t SelectionKind();

// True, with First and Last from the selection, when its kind suits Wanted; Channels is
// always the channel choice of the document (0 both, 1 the only channel).
bool GetEditRange(const FileMemoClass& document, int32_t& First, int32_t& Last, int32_t& Channels,
                  int32_t Wanted, const std::string& Operation);

}  // namespace quorvane
