#include "storage/OriginalFileBlocks.h"

#include <algorithm>

#include <filesystem>
#include <system_error>

#include "core/Environment.h"
#include "core/FileHelpers.h"
#include "storage/BlockFileTables.h"
#include "storage/BlockListParts.h"
#include "storage/BlockTable.h"

namespace quorvane {

using namespace block_list;

namespace {

// Gives the file a second name, `target`: a hard link, or a copy where the two names lie
// on different file systems. The file keeps its own name until the caller replaces or
// deletes it, so it never goes missing in between. False, with nothing made, when
// neither works.
bool KeepFileAside(const std::string& from, const std::string& target) {
  std::error_code error;
  std::filesystem::create_hard_link(from, target, error);
  if (!error) return true;
  if (!std::filesystem::copy_file(from, target, error) || error) {
    std::filesystem::remove(target, error);
    return false;
  }
  return true;
}

}  // namespace

void ReleaseOriginalFile(int32_t entry) {
  if (!ValidOriginal(entry)) return;
  for (int32_t block = 1; block < static_cast<int32_t>(BlockTable.size()); ++block) {
    if (BlockTable[block].Kind == BlockOrgFile && BlockTable[block].FileRef == entry) {
      LoadBlock(block);
    }
  }
  OriginalFiles().CloseEntry(entry);
  OrgFileEntry& file = OrgFileTable[entry];
  if (file.UseCount == 0 && !file.FileName.empty()) {
    if (InsideTempFolder(file.FileName)) DeleteFileIfExists(file.FileName);
    DropPeaks(file);
    file.FileName.clear();
  }
}

void ReleaseOriginalFileByName(const std::string& name) {
  for (int32_t entry = 1; entry < static_cast<int32_t>(OrgFileTable.size()); ++entry) {
    if (!OrgFileTable[entry].FileName.empty() &&
        SameNameIgnoringCase(OrgFileTable[entry].FileName, name)) {
      ReleaseOriginalFile(entry);
    }
  }
}

int32_t AddOriginalFileRun(int32_t entry, int32_t filePosition, int32_t start, int32_t length) {
  const int32_t block = NewBlock(length, BlockSilence);
  BlockRecord& record = BlockTable[block];
  record.FileRef = entry;
  record.FilePosition = filePosition;
  record.Start = start;
  SetKind(block, BlockOrgFile);
  AddOriginalUse(entry, 1);
  if (ValidOriginal(entry)) {
    OrgFileEntry& file = OrgFileTable[entry];
    const int32_t sampleBytes = SampleBytes(entry);
    const int32_t lastByte =
        filePosition + (length - 1) * sampleBytes * FileChannels(entry) + sampleBytes - 1;
    file.FirstByte = file.FirstByte == 0 ? filePosition : std::min(file.FirstByte, filePosition);
    file.LastByte = std::max(file.LastByte, lastByte);
  }
  return block;
}

void SetOriginalFileAside(const std::string& name) {
  for (int32_t entry = 1; entry < static_cast<int32_t>(OrgFileTable.size()); ++entry) {
    OrgFileEntry& file = OrgFileTable[entry];
    if (file.FileName.empty() || !SameNameIgnoringCase(file.FileName, name)) continue;
    // Only the very file moves: a name that differs in case alone may be another file,
    // which stays where it is (its blocks are loaded instead).
    std::error_code error;
    const bool sameFile = std::filesystem::equivalent(file.FileName, name, error) && !error;
    if (sameFile && file.UseCount > 0 && !Env().SessionFolder.empty() &&
        !InsideTempFolder(file.FileName)) {
      const std::string target = NewTempFileName("wav");
      OriginalFiles().CloseEntry(entry);
      if (KeepFileAside(file.FileName, target)) {
        file.FileName = target;
        continue;
      }
    }
    ReleaseOriginalFile(entry);
  }
}

}  // namespace quorvane
