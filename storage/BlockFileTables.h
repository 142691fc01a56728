// The files that blocks read from: the original (source) WAV files and the temporary block
// files, each with the number of blocks that use it, and the left/right pairs of blocks of
// a stereo original file that one read can fill together. A file goes once its last block
// lets go of it: a temporary file, or an original file inside the session folder, is then
// deleted. What needs the block table as well is in OriginalFileBlocks.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace quorvane {

class PeakRuns;

struct OrgFileEntry {
  std::string FileName;  // full path; empty once released
  int32_t Channels = 0;  // 1 or 2
  int32_t Bits = 0;      // 8 or 16
  int32_t UseCount = 0;  // kind-4 blocks that refer to it
  int32_t Rate = 0;      // samples per second, 0 where not known
  uint64_t Serial = 0;   // which registration of the entry this is
  // The bytes the registered runs cover (1-based, inclusive), and the summary of each
  // channel over them once the builder has made it.
  int32_t FirstByte = 0;
  int32_t LastByte = 0;
  std::shared_ptr<const std::vector<PeakRuns>> Peaks;
};

struct TempFileSlot {
  std::string FileName;  // empty once the file is deleted
  int32_t UseCount = 0;  // blocks of kinds 1 and 3 that refer to it
  uint64_t Serial = 0;   // which registration of the slot this is
  // The summary of the file's samples from its first byte, once made.
  std::shared_ptr<const PeakRuns> Peaks;
};

struct ChannelPair {
  int32_t BlockA = 0;  // left block of a stretch of a stereo original file
  int32_t BlockB = 0;  // the right block of the same stretch
};

// The entries, read-only, and their number with the placeholder at index 0 (valid
// indexes are 1 .. count - 1).
const OrgFileEntry& OriginalFile(int32_t entry);
int32_t OriginalFileCount();
const TempFileSlot& TempFile(int32_t slot);
int32_t TempFileCount();

int32_t RegisterOriginalFile(const std::string& name, int32_t channels, int32_t bits,
                             int32_t rate = 0);
void RegisterChannelPair(int32_t blockA, int32_t blockB);
int32_t NewTempFileSlot();
void ReleaseUnusedFiles();
void ReleaseAllFiles();

// Bytes per sample times channels of an original file: the step between a channel's samples.
int32_t OriginalFrameBytes(int32_t entry);

}  // namespace quorvane
