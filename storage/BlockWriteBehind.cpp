#include "storage/BlockWriteBehind.h"

#include <algorithm>
#include <deque>
#include <future>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "storage/BlockFileTables.h"
#include "storage/BlockListParts.h"
#include "storage/BlockTable.h"

namespace quorvane {

namespace block_list {

namespace {

// Two writes under way keep the disk busy while a third block is being computed; the
// samples they hold are what the pass may use beyond the memory budget.
constexpr size_t kWritesUnderWay = 2;

struct PendingWrite {
  int32_t slot = 0;
  std::string name;
  std::vector<int16_t> samples;
  std::future<std::string> written;  // empty when written, else why not
};

int g_scopes = 0;
std::deque<PendingWrite> g_pending;  // in the order they were handed over

// The blocks still on the slot of a failed write become memory blocks again: file blocks
// get their samples back, blocks loaded from the samples in hand meanwhile keep theirs.
// The slot is given up (the writer removed what it had written of the file).
void RestoreFailedSlot(const PendingWrite& write) {
  for (int32_t block = 1; block < static_cast<int32_t>(BlockTable.size()); ++block) {
    BlockRecord& record = BlockTable[block];
    if ((record.Kind != BlockFile && record.Kind != BlockMemFile) || record.FileRef != write.slot) {
      continue;
    }
    if (record.Kind == BlockFile) {
      const auto first = static_cast<size_t>(record.FilePosition - 1) / 2;
      const auto length = static_cast<size_t>(record.Length);
      record.Data.assign(length, 0);
      if (first < write.samples.size()) {
        const size_t kept = std::min(length, write.samples.size() - first);
        std::copy_n(write.samples.begin() + static_cast<std::ptrdiff_t>(first), kept,
                    record.Data.begin());
      }
    }
    DropTempUse(write.slot);
    record.FileRef = 0;
    record.FilePosition = 0;
    record.UseStamp = NextUseStamp();
    SetKind(block, BlockMemory);
  }
  if (ValidSlot(write.slot)) TempFileTable[write.slot] = TempFileSlot{};
}

// Waits for the oldest write and settles it.
void SettleOldest() {
  PendingWrite write = std::move(g_pending.front());
  g_pending.pop_front();
  const std::string failure = write.written.get();
  if (failure.empty()) {
    NoteWriteSucceeded();
    return;
  }
  RestoreFailedSlot(write);
  ReportWriteFailure(write.name, failure);
}

}  // namespace

bool WritingBehind() { return g_scopes > 0; }

void WriteBehind(int32_t slot, std::vector<int16_t>&& samples) {
  while (!g_pending.empty() && (g_pending.size() >= kWritesUnderWay ||
                                g_pending.front().written.wait_for(std::chrono::seconds(0)) ==
                                    std::future_status::ready)) {
    SettleOldest();
  }
  PendingWrite write;
  write.slot = slot;
  write.name = TempFileTable[slot].FileName;
  write.samples = std::move(samples);
  const auto job = [name = write.name, data = write.samples.data(),
                    count = static_cast<int32_t>(write.samples.size())] {
    // Straight to the disk: filling the page cache with hundreds of megabytes of fresh
    // pages costs more processor time than the pass itself, and a pass's results are read
    // back at most once more (played, saved) and then in order.
    std::string reason;
    return WriteSampleFile(name, data, count, true, reason) ? std::string() : reason;
  };
  try {
    write.written = std::async(std::launch::async, job);
  } catch (const std::system_error&) {
    // No thread to be had: written here and now.
    std::promise<std::string> done;
    done.set_value(job());
    write.written = done.get_future();
  }
  g_pending.push_back(std::move(write));
}

const std::vector<int16_t>* SamplesBeingWritten(int32_t slot) {
  for (const PendingWrite& write : g_pending) {
    if (write.slot == slot) return &write.samples;
  }
  return nullptr;
}

void SettleWrites() {
  while (!g_pending.empty()) SettleOldest();
}

}  // namespace block_list

BlockWriteBehind::BlockWriteBehind() { ++block_list::g_scopes; }

BlockWriteBehind::~BlockWriteBehind() {
  if (--block_list::g_scopes == 0) block_list::SettleWrites();
}

}  // namespace quorvane
