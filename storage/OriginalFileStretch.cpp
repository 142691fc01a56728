#include "storage/OriginalFileStretch.h"

#include "storage/BlockList.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

namespace {

constexpr uint64_t kFnvOffset = 14695981039346656037ULL;
constexpr uint64_t kFnvPrime = 1099511628211ULL;

void Mix(uint64_t& digest, int64_t value) {
  for (int byte = 0; byte < 8; ++byte) {
    digest = (digest ^ ((static_cast<uint64_t>(value) >> (8 * byte)) & 0xFF)) * kFnvPrime;
  }
}

// Mixes the channel's blocks over [first, last] into the digest; false when one of them
// is not a block of a matching original file or the stretch does not begin and end with
// blocks.
bool MixChannel(const FileMemoClass& document, const ChannelBlockList& channel, int32_t first,
                int32_t last, const std::string& fileName, uint64_t& digest) {
  size_t from = 0;
  size_t to = 0;
  channel.Overlapping(first, last, from, to);
  if (from >= to) return false;
  const std::vector<int32_t>& blocks = channel.Blocks();
  if (BlockTable[blocks[from]].Start != first) return false;
  const BlockRecord& lastBlock = BlockTable[blocks[to - 1]];
  if (lastBlock.Start + lastBlock.Length - 1 != last) return false;
  for (size_t slot = from; slot < to; ++slot) {
    const BlockRecord& block = BlockTable[blocks[slot]];
    if (block.Kind != BlockOrgFile) return false;
    const OrgFileEntry& file = OrgFileTable[static_cast<size_t>(block.FileRef)];
    if (file.FileName != fileName || file.Channels != document.WavFmtChannel ||
        file.Bits != document.WavFmtBits || file.Rate != document.WavFmtFreq) {
      return false;
    }
    Mix(digest, block.FilePosition);
    Mix(digest, block.Length);
  }
  return true;
}

}  // namespace

uint64_t OriginalFileLayout(const FileMemoClass& document, int32_t first, int32_t last,
                            const std::string& fileName) {
  if (first > last || fileName.empty()) return 0;
  uint64_t digest = kFnvOffset;
  if (!MixChannel(document, document.LeftChannel(), first, last, fileName, digest)) return 0;
  if (document.WavFmtChannel == 2 &&
      !MixChannel(document, document.RightChannel(), first, last, fileName, digest)) {
    return 0;
  }
  return digest == 0 ? 1 : digest;
}

}  // namespace quorvane
