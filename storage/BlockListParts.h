// What the block list's own files share and nobody else uses: index checks, kind changes,
// record reuse, use counts, the open-file caches, and the reads and writes of block files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "storage/BlockFileTables.h"
#include "storage/BlockTable.h"
#include "storage/OpenFileCache.h"

namespace quorvane {

// The tables themselves, 1-based: element 0 of each is a placeholder that is never used.
inline std::vector<BlockRecord>& BlockTable = detail::blockRecords;
extern std::vector<OrgFileEntry> OrgFileTable;
extern std::vector<TempFileSlot> TempFileTable;
extern std::vector<ChannelPair> ChannelPairTable;
// Bytes of sample data held by blocks of kinds 1 and 2.
extern int64_t ResidentBytes;

}  // namespace quorvane

namespace quorvane::block_list {

// Where the summary of a channel of an original file, and of a temporary file, is kept in
// the session folder ("" when there is none).
std::string OriginalPeaksFile(uint64_t serial, int32_t channel);
std::string TempPeaksFile(const std::string& tempFile);
// Lets go of a file's summary and deletes its summary files.
void DropPeaks(OrgFileEntry& file);
void DropPeaks(TempFileSlot& slot);
// Keeps a block's summary, held in memory, in a summary file beside the temporary file it
// is written to (slot `slot`), and reads it from there from now on.
void KeepPeaksInFile(int32_t block, int32_t slot);

void ShowBlockError(const std::string& text);

bool ValidBlock(int32_t block);
bool ValidOriginal(int32_t entry);
bool ValidSlot(int32_t slot);

// Every kind change goes through here: it keeps the free and resident sets exact and
// counts the block's samples in ResidentBytes while its kind is a resident one.
void SetKind(int32_t block, int32_t kind);
// A cleared record taken out of the free set (the first free one, or the last one), or a
// new one at the end of the table. Its kind stays BlockFree until the caller sets it.
int32_t TakeRecord(bool firstFree);

void AddTempUse(int32_t slot, int32_t count);
void DropTempUse(int32_t slot);
void AddOriginalUse(int32_t entry, int32_t count);
void DropOriginalUse(int32_t entry);
bool SameNameIgnoringCase(const std::string& a, const std::string& b);
// Whether the file lies in the session folder, whose files go when nothing uses them.
bool InsideTempFolder(const std::string& name);
// Bytes per sample and channels of an original file.
int32_t SampleBytes(int32_t entry);
int32_t FileChannels(int32_t entry);
// The pair that holds `block` (0 when none), and every pair that holds it taken out.
int32_t PairIndexOf(int32_t block);
void RemovePairsOf(int32_t block);
// Registers a file named in a descriptor in the temporary-file table, or finds the slot
// that already holds it. `fresh` tells whether a new slot was taken.
int32_t AdoptTempFile(const std::string& name, bool& fresh);
// The entry of an original file that blocks use under that name (0 when none).
int32_t FindOriginalFileInUse(const std::string& name);

OpenFileCache& OriginalFiles();
OpenFileCache& TempFiles();

// Reads `count` samples of a temporary block file from byte `offset` (0-based). What
// cannot be read is silence. False when something could not be read.
bool ReadTempSamples(int32_t slot, int64_t offset, int32_t count, int16_t* out);
// Writes a resident block's samples to a fresh temporary slot and makes it a file copy of
// the block (use count 1, file position 1). The slot number, or 0 when the write failed.
int32_t WriteToNewSlot(int32_t block);
// Reads a BlockOrgFile block (with its stereo partner when one read fills both) into
// memory; the blocks become BlockMemory blocks of their own.
void LoadOriginalBlock(int32_t block);
// Writes samples into a new file of that name, with `bypassCache` straight to the disk
// instead of through the page cache where the file system allows. False, with the file
// removed again and the reason given, when the samples could not all be written. Touches
// no table: the writes behind a pass run it on a thread of their own.
bool WriteSampleFile(const std::string& name, const int16_t* data, int32_t count, bool bypassCache,
                     std::string& reason);
// One message per spell of failing writes (a full disk fails every write until space is
// freed); the block concerned stays in memory. A write that succeeds ends the spell.
void ReportWriteFailure(const std::string& name, const std::string& reason);
void NoteWriteSucceeded();
bool WritesFailing();
// Forgets the files already reported and the failing-write spell.
void ResetSampleReports();

// Writing behind a pass (see BlockWriteBehind): whether a pass is running, handing a
// block's samples over to be written to `slot`, the samples still being written to a slot
// (nullptr when none are), and waiting for every write, settling each.
bool WritingBehind();
void WriteBehind(int32_t slot, std::vector<int16_t>&& samples);
const std::vector<int16_t>* SamplesBeingWritten(int32_t slot);
void SettleWrites();

}  // namespace quorvane::block_list
