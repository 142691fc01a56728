#include "storage/BlockFileTables.h"

#include <algorithm>
#include <cctype>
#include <system_error>

#include "core/Environment.h"
#include "core/FileHelpers.h"
#include "storage/BlockListParts.h"
#include "storage/PeakRuns.h"

namespace quorvane {

std::vector<OrgFileEntry> OrgFileTable(1);
std::vector<TempFileSlot> TempFileTable(1);
std::vector<ChannelPair> ChannelPairTable(1);

namespace block_list {

namespace {

OpenFileCache g_originalFiles;
OpenFileCache g_tempFiles;
uint64_t g_registrations = 0;

// Closes and deletes the file of every unused slot (but one named `keep`) and gives the
// last unused slot, or a new one at the end of the table.
int32_t FreeTempSlot(const std::string& keep) {
  int32_t reuse = 0;
  for (int32_t slot = 1; slot < static_cast<int32_t>(TempFileTable.size()); ++slot) {
    TempFileSlot& entry = TempFileTable[slot];
    // A file still being written stays until its write has been settled.
    if (entry.UseCount != 0 || SamplesBeingWritten(slot)) continue;
    g_tempFiles.CloseEntry(slot);
    if (!entry.FileName.empty() && !SameNameIgnoringCase(entry.FileName, keep)) {
      DeleteFileIfExists(entry.FileName);
    }
    DropPeaks(entry);
    entry.FileName.clear();
    reuse = slot;
  }
  if (reuse != 0) return reuse;
  TempFileTable.emplace_back();
  return static_cast<int32_t>(TempFileTable.size()) - 1;
}

}  // namespace

OpenFileCache& OriginalFiles() { return g_originalFiles; }
OpenFileCache& TempFiles() { return g_tempFiles; }

bool ValidOriginal(int32_t entry) {
  return entry >= 1 && entry < static_cast<int32_t>(OrgFileTable.size());
}

bool ValidSlot(int32_t slot) {
  return slot >= 1 && slot < static_cast<int32_t>(TempFileTable.size());
}

void AddTempUse(int32_t slot, int32_t count) {
  if (ValidSlot(slot)) TempFileTable[slot].UseCount += count;
}

void DropTempUse(int32_t slot) {
  if (ValidSlot(slot) && TempFileTable[slot].UseCount > 0) --TempFileTable[slot].UseCount;
}

void AddOriginalUse(int32_t entry, int32_t count) {
  if (ValidOriginal(entry)) OrgFileTable[entry].UseCount += count;
}

void DropOriginalUse(int32_t entry) {
  if (ValidOriginal(entry) && OrgFileTable[entry].UseCount > 0) --OrgFileTable[entry].UseCount;
}

bool SameNameIgnoringCase(const std::string& a, const std::string& b) {
  // From the end: names of one folder differ there, and a save compares every file it
  // writes with every file the document reads.
  const auto lower = [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  };
  return a.size() == b.size() && std::equal(a.rbegin(), a.rend(), b.rbegin(),
                                            [&](char x, char y) { return lower(x) == lower(y); });
}

int32_t SampleBytes(int32_t entry) { return OrgFileTable[entry].Bits == 8 ? 1 : 2; }

int32_t FileChannels(int32_t entry) { return std::max(1, OrgFileTable[entry].Channels); }

int32_t PairIndexOf(int32_t block) {
  for (int32_t i = 1; i < static_cast<int32_t>(ChannelPairTable.size()); ++i) {
    if (ChannelPairTable[i].BlockA == block || ChannelPairTable[i].BlockB == block) return i;
  }
  return 0;
}

void RemovePairsOf(int32_t block) {
  auto first = ChannelPairTable.begin() + 1;
  ChannelPairTable.erase(std::remove_if(first, ChannelPairTable.end(),
                                        [block](const ChannelPair& pair) {
                                          return pair.BlockA == block || pair.BlockB == block;
                                        }),
                         ChannelPairTable.end());
}

int32_t AdoptTempFile(const std::string& name, bool& fresh) {
  for (int32_t slot = 1; slot < static_cast<int32_t>(TempFileTable.size()); ++slot) {
    if (TempFileTable[slot].UseCount > 0 &&
        SameNameIgnoringCase(TempFileTable[slot].FileName, name)) {
      fresh = false;
      return slot;
    }
  }
  fresh = true;
  const int32_t reuse = FreeTempSlot(name);
  TempFileTable[reuse] = TempFileSlot{name, 0, ++g_registrations, nullptr};
  return reuse;
}

int32_t FindOriginalFileInUse(const std::string& name) {
  for (int32_t entry = 1; entry < static_cast<int32_t>(OrgFileTable.size()); ++entry) {
    if (OrgFileTable[entry].UseCount > 0 &&
        SameNameIgnoringCase(OrgFileTable[entry].FileName, name)) {
      return entry;
    }
  }
  return 0;
}

bool InsideTempFolder(const std::string& name) {
  const std::string& folder = Env().SessionFolder;
  if (folder.empty() || name.size() <= folder.size() + 1) return false;
  // Only its own files: those the journal keeps in a folder inside it stay while it lives.
  return name.compare(0, folder.size(), folder) == 0 && name[folder.size()] == '/' &&
         name.find('/', folder.size() + 1) == std::string::npos;
}

std::string OriginalPeaksFile(uint64_t serial, int32_t channel) {
  const std::string& folder = Env().SessionFolder;
  if (folder.empty()) return "";
  return folder + "/peaks-" + std::to_string(serial) + "-" + std::to_string(channel) + ".pk";
}

std::string TempPeaksFile(const std::string& tempFile) {
  return Env().SessionFolder.empty() || tempFile.empty() ? "" : tempFile + ".pk";
}

void DropPeaks(OrgFileEntry& file) {
  if (file.Peaks) {
    for (int32_t channel = 0; channel < static_cast<int32_t>(file.Peaks->size()); ++channel) {
      const std::string summary = OriginalPeaksFile(file.Serial, channel);
      if (!summary.empty()) DeleteFileIfExists(summary);
    }
  }
  file.Peaks.reset();
}

void DropPeaks(TempFileSlot& slot) {
  if (slot.Peaks && slot.Peaks->InFile()) DeleteFileIfExists(TempPeaksFile(slot.FileName));
  slot.Peaks.reset();
}

}  // namespace block_list

using namespace block_list;

int32_t OriginalFrameBytes(int32_t entry) {
  if (!ValidOriginal(entry)) return 0;
  return SampleBytes(entry) * FileChannels(entry);
}

int32_t RegisterOriginalFile(const std::string& name, int32_t channels, int32_t bits,
                             int32_t rate) {
  int32_t reuse = 0;
  for (int32_t entry = 1; entry < static_cast<int32_t>(OrgFileTable.size()); ++entry) {
    OrgFileEntry& file = OrgFileTable[entry];
    if (file.UseCount != 0) continue;
    g_originalFiles.CloseEntry(entry);
    if (InsideTempFolder(file.FileName) && !SameNameIgnoringCase(file.FileName, name)) {
      DeleteFileIfExists(file.FileName);
    }
    DropPeaks(file);
    reuse = entry;
  }
  if (reuse == 0) {
    OrgFileTable.emplace_back();
    reuse = static_cast<int32_t>(OrgFileTable.size()) - 1;
  }
  OrgFileTable[reuse] =
      OrgFileEntry{name, channels, bits, 0, rate, ++g_registrations, 0, 0, nullptr};
  return reuse;
}

void RegisterChannelPair(int32_t blockA, int32_t blockB) {
  ChannelPairTable.push_back(ChannelPair{blockA, blockB});
}

int32_t NewTempFileSlot() {
  const int32_t reuse = FreeTempSlot("");
  TempFileTable[reuse] = TempFileSlot{NewTempFileName("tmp"), 0, ++g_registrations, nullptr};
  return reuse;
}

void ReleaseUnusedFiles() {
  for (int32_t slot = 1; slot < static_cast<int32_t>(TempFileTable.size()); ++slot) {
    TempFileSlot& entry = TempFileTable[slot];
    if (entry.UseCount != 0 || entry.FileName.empty() || SamplesBeingWritten(slot)) continue;
    g_tempFiles.CloseEntry(slot);
    DeleteFileIfExists(entry.FileName);
    DropPeaks(entry);
    entry.FileName.clear();
  }
  for (int32_t entry = 1; entry < static_cast<int32_t>(OrgFileTable.size()); ++entry) {
    OrgFileEntry& file = OrgFileTable[entry];
    if (file.UseCount != 0 || file.FileName.empty()) continue;
    g_originalFiles.CloseEntry(entry);
    if (InsideTempFolder(file.FileName)) DeleteFileIfExists(file.FileName);
    DropPeaks(file);
    file.FileName.clear();
  }
}

void ReleaseAllFiles() {
  g_tempFiles.Close();
  g_originalFiles.Close();
  for (int32_t slot = 1; slot < static_cast<int32_t>(TempFileTable.size()); ++slot) {
    TempFileSlot& entry = TempFileTable[slot];
    if (entry.FileName.empty()) continue;
    DeleteFileIfExists(entry.FileName);
    DropPeaks(entry);
    entry.FileName.clear();
  }
  for (OrgFileEntry& file : OrgFileTable) DropPeaks(file);
}

const OrgFileEntry& OriginalFile(int32_t entry) { return OrgFileTable[static_cast<size_t>(entry)]; }
int32_t OriginalFileCount() { return static_cast<int32_t>(OrgFileTable.size()); }
const TempFileSlot& TempFile(int32_t slot) { return TempFileTable[static_cast<size_t>(slot)]; }
int32_t TempFileCount() { return static_cast<int32_t>(TempFileTable.size()); }

}  // namespace quorvane
