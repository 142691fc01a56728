#include "core/MemoryBudget.h"

#include "core/Environment.h"
#include "core/Numbers.h"
#include "core/Settings.h"

namespace quorvane {

int32_t MemoryBudgetFor(uint64_t totalBytes) {
  const double total = static_cast<double>(totalBytes);
  int64_t budget = 0;
  if (total < 33'000'000.0) {
    budget = RoundHalfEven64(total * 0.66);
  } else if (total < 66'500'000.0) {
    budget = RoundHalfEven64(total * 0.5);
  } else if (total < 157'000'000.0) {
    budget = RoundHalfEven64(total * 0.33);
  } else {
    budget = RoundHalfEven64(total * 0.25);
    if (budget > kLargestMemoryBudget) budget = kLargestMemoryBudget;
  }
  if (budget < kSmallestMemoryBudget) budget = kSmallestMemoryBudget;
  return static_cast<int32_t>(budget);
}

int32_t MemoryLoadPercent(const MemoryStatus& status) {
  if (status.totalBytes == 0) return 0;
  const double available = static_cast<double>(status.availableBytes);
  const double total = static_cast<double>(status.totalBytes);
  return RoundHalfEven(100.0 * (1.0 - available / total));
}

void InitMemoryBudget(const MemoryStatus& status) {
  SettingPut("General", "PhyMemorySz", DecimalText(static_cast<int64_t>(status.totalBytes)));
  SettingPut("General", "PhyMemoryLoad", DecimalText(MemoryLoadPercent(status)));
  Env().MemoryBudget = MemoryBudgetFor(status.totalBytes);
}

void InitMemoryBudget() { InitMemoryBudget(QueryMemoryStatus()); }

}  // namespace quorvane
