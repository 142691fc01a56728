#include "storage/BlockDescriptor.h"

#include <string>

#include "core/Interaction.h"
#include "core/Numbers.h"
#include "core/PackedText.h"
#include "storage/BlockFileTables.h"
#include "storage/BlockListParts.h"
#include "storage/BlockTable.h"
#include "storage/StorageChecks.h"

namespace quorvane {

using namespace block_list;

std::vector<int32_t> BlocksToDescriptor(const std::vector<int32_t>& blocks) {
  // Whoever reads the description (another editor, the player's thread) reads the files.
  SettleWrites();
  std::vector<int32_t> descriptor{0, static_cast<int32_t>(blocks.size())};
  for (const int32_t block : blocks) {
    QUORVANE_CHECK(ValidBlock(block), "describing a block that does not exist");
    const BlockRecord& record = ValidBlock(block) ? BlockTable[block] : BlockTable[0];
    std::string name = " ";
    int32_t kind = BlockSilence;
    int32_t channels = 0;
    int32_t bits = 0;
    switch (record.Kind) {
      case BlockMemFile:
      case BlockFile:
        name = ValidSlot(record.FileRef) ? TempFileTable[record.FileRef].FileName : "";
        kind = BlockFile;
        break;
      case BlockOrgFile:
        if (ValidOriginal(record.FileRef)) {
          const OrgFileEntry& file = OrgFileTable[record.FileRef];
          name = file.FileName;
          channels = file.Channels;
          bits = file.Bits;
        }
        kind = BlockOrgFile;
        break;
      case BlockSilence:
        break;
      default:
        // Described as silence of the same length, so that what follows keeps its place.
        ShowBlockError("Error - Block should be written to file before converting");
        break;
    }
    PackText(name, descriptor);
    const int32_t filePosition = kind == BlockSilence ? 0 : record.FilePosition;
    descriptor.insert(descriptor.end(),
                      {record.Length, kind, record.Start, filePosition, channels, bits});
  }
  descriptor[0] = static_cast<int32_t>(descriptor.size()) - 1;
  return descriptor;
}

std::vector<int32_t> DescriptorToBlocks(const std::vector<int32_t>& descriptor, bool takeOver) {
  std::vector<int32_t> blocks;
  if (descriptor.size() < 2) return blocks;
  const int32_t count = descriptor[1];
  size_t at = 2;
  for (int32_t n = 0; n < count; ++n) {
    std::string name;
    // A descriptor read from a file may be cut short or damaged: what is whole is used.
    if (!UnpackText(descriptor, at, name) || at + 6 > descriptor.size()) break;
    const int32_t length = descriptor[at];
    const int32_t kind = descriptor[at + 1];
    const int32_t start = descriptor[at + 2];
    const int32_t filePosition = descriptor[at + 3];
    const int32_t channels = descriptor[at + 4];
    const int32_t bits = descriptor[at + 5];
    at += 6;
    if (length < 1) break;
    const int32_t block = NewBlock(length, BlockSilence);
    BlockTable[block].Start = start;
    BlockTable[block].FilePosition = filePosition;
    blocks.push_back(block);
    if (kind == BlockOrgFile) {
      int32_t entry = FindOriginalFileInUse(name);
      const bool fresh = entry == 0;
      if (fresh) entry = RegisterOriginalFile(name, channels, bits);
      AddOriginalUse(entry, 1);
      BlockTable[block].FileRef = entry;
      BlockTable[block].UseStamp = NextUseStamp();
      SetKind(block, BlockOrgFile);
      if (takeOver && fresh) {
        MakeBlockWritable(block);
        OriginalFiles().CloseEntry(entry);
        OrgFileTable[entry].UseCount = 0;
        OrgFileTable[entry].FileName.clear();
      }
    } else if (kind == BlockFile) {
      bool fresh = false;
      const int32_t slot = AdoptTempFile(name, fresh);
      AddTempUse(slot, 1);
      BlockTable[block].FileRef = slot;
      SetKind(block, BlockFile);
      if (takeOver && fresh) {
        MakeBlockWritable(block);
        TempFiles().CloseEntry(slot);
        TempFileTable[slot].UseCount = 0;
        TempFileTable[slot].FileName.clear();
      }
    } else if (kind != BlockSilence) {
      ShowBlockError("Error - Block type can not be converted to Block");
    }
  }
  return blocks;
}

}  // namespace quorvane
