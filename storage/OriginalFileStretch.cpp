#include "storage/OriginalFileStretch.h"

#include "core/Digest.h"
#include "storage/BlockList.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

namespace {

// Mixes the channel's blocks over [first, last] into the digest; false when one of them
// is not a block of a matching original file or the stretch does not begin and end with
// blocks.
bool MixChannel(const FileMemoClass& document, const ChannelBlockList& channel, int32_t first,
                int32_t last, const std::string& fileName, Digest& digest) {
  size_t from = 0;
  size_t to = 0;
  channel.Overlapping(first, last, from, to);
  if (from >= to) return false;
  const std::vector<int32_t>& blocks = channel.Blocks();
  if (RecordOf(blocks[from]).Start != first) return false;
  const BlockRecord& lastBlock = RecordOf(blocks[to - 1]);
  if (lastBlock.Start + lastBlock.Length - 1 != last) return false;
  for (size_t slot = from; slot < to; ++slot) {
    const BlockRecord& block = RecordOf(blocks[slot]);
    if (block.Kind != BlockOrgFile) return false;
    const OrgFileEntry& file = OriginalFile(block.FileRef);
    if (file.FileName != fileName || file.Channels != document.WavFmtChannel ||
        file.Bits != document.WavFmtBits || file.Rate != document.WavFmtFreq) {
      return false;
    }
    digest.Mix(block.FilePosition);
    digest.Mix(block.Length);
  }
  return true;
}

}  // namespace

uint64_t OriginalFileLayout(const FileMemoClass& document, int32_t first, int32_t last,
                            const std::string& fileName) {
  if (first > last || fileName.empty()) return 0;
  Digest digest;
  if (!MixChannel(document, document.LeftChannel(), first, last, fileName, digest)) return 0;
  if (document.WavFmtChannel == 2 &&
      !MixChannel(document, document.RightChannel(), first, last, fileName, digest)) {
    return 0;
  }
  return digest.Value() == 0 ? 1 : digest.Value();
}

std::string OriginalFileAt(const FileMemoClass& document, int32_t position) {
  size_t from = 0;
  size_t to = 0;
  document.LeftChannel().Overlapping(position, position, from, to);
  if (from >= to) return "";
  const BlockRecord& block = RecordOf(document.LeftChannel().Blocks()[from]);
  if (block.Kind != BlockOrgFile) return "";
  return OriginalFile(block.FileRef).FileName;
}

}  // namespace quorvane
