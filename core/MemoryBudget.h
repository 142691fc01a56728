// How much sample memory the storage engine may hold before it moves blocks to files.
#pragma once

#include <cstdint>

#include "platform/MemoryStatus.h"

namespace quorvane {

inline constexpr int32_t kLargestMemoryBudget = 67'108'864;
inline constexpr int32_t kSmallestMemoryBudget = 10'000'000;

// The budget for a machine with `totalBytes` of physical memory.
int32_t MemoryBudgetFor(uint64_t totalBytes);

// Memory load in percent: round(100 * (1 - available / total)), 0 when total is unknown.
int32_t MemoryLoadPercent(const MemoryStatus& status);

// Writes "PhyMemorySz" and "PhyMemoryLoad" to the settings and sets Env().MemoryBudget.
void InitMemoryBudget(const MemoryStatus& status);
void InitMemoryBudget();  // from /proc/meminfo

}  // namespace quorvane
