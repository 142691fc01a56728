// The wave document: the whole timeline being edited, one block list per channel, its
// sample format and its undo history. Every edit goes through insert, delete and replace,
// which split at most two blocks per channel and never copy samples; every reader goes
// through the collection operations. Edits of the main document keep the slide
// boundaries and markers in step and record undo items.
//
// WorkChn selects channels everywhere: 0 both, 1 left (or the only channel of a mono
// document), 2 right. Positions are 1-based; callers keep PosStart within
// 1..length + 1 and stretches within the document.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "storage/BlockCarrBuffClass.h"
#include "storage/ChannelBlockList.h"
#include "storage/PeakRuns.h"
#include "storage/UndoItem.h"

namespace quorvane {

// The most samples a document holds per channel: positions are 32-bit, the one after the
// last sample included.
inline constexpr int32_t kMostSamples = std::numeric_limits<int32_t>::max() - 1;

// Whether a WorkChn value takes in the left (or only) channel, and the right one.
inline bool SelectsLeft(int32_t WorkChn) { return WorkChn == 0 || WorkChn == 1; }
inline bool SelectsRight(int32_t WorkChn) { return WorkChn == 0 || WorkChn == 2; }

class FileMemoClass {
 public:
  FileMemoClass();
  ~FileMemoClass();
  FileMemoClass(const FileMemoClass&) = delete;
  FileMemoClass& operator=(const FileMemoClass&) = delete;

  int32_t WavFmtChannel = 0;   // 1 mono, 2 stereo
  int32_t WavFmtFreq = 0;      // sample rate in Hz
  int32_t WavFmtBits = 0;      // 8 or 16
  int32_t WavWaveINos = 0;     // the larger of the two channel lengths
  bool SwitchUndoOff = false;  // while true, edits record nothing and move no slides
  bool IsTempObject = false;   // scratch document: no undo, no slides or markers
  int32_t OrgRoFileInUse = 0;  // OrgFileTable entry of the source last read in

  void Undo();
  // Does again the operation the last Undo took back, group by group, until a new edit.
  void Redo();
  void UndoClearFiles_UserAssisted();
  // What the Clear Undo Data dialog's choice does: the undo data of items 1..UpToNo goes,
  // or all of it (and the redo list) for 0.
  void ClearUndoUpTo(int32_t UpToNo);
  void UndoInfoUpdateMenu();
  // 0-based arrays of ToPos - FromPos + 1 samples; an unselected channel gets one element.
  // The blocks read are loaded into memory.
  void WaveCollectBuff(int32_t FromPos, int32_t ToPos, int32_t WorkChn,
                       std::vector<int16_t>& WavBuffL, std::vector<int16_t>& WavBuffR);
  // Arrays 0..BuffSz, element k the sample at FromPos + k - 1, element 0 unused; read
  // where the samples lie, so drawing never changes what is in memory.
  void QuickBuffGet(int32_t FromPos, int32_t BuffSz, int32_t WorkChn, std::vector<int16_t>& QBuffL,
                    std::vector<int16_t>& QBuffR);
  // `count` frames from FromPos into `frames`, interleaved by channel (a value a frame for
  // a mono document), read where they lie like QuickBuffGet. Stretches whose channels lie
  // side by side in a 16-bit stereo source are read straight into place.
  void QuickFramesGet(int32_t FromPos, int32_t count, int16_t* frames);
  // The lowest and highest sample of each of `columns` pixel columns of the channels
  // WorkChn selects (0 both, 1 left, 2 right), column c holding the positions p from
  // `first` to `last` with floor((p - first) / perColumn) = c; an unselected channel's
  // columns stay empty. Where a column holds many samples they come from the summaries,
  // which may widen it by up to a run of the channel's samples either side. Loads nothing.
  // False when a summary is not made yet (it is being made, those in view first): the
  // columns are then incomplete.
  bool ColumnPeaks(int32_t WorkChn, int32_t first, double perColumn, int32_t columns, int32_t last,
                   std::vector<PeakPair>& left, std::vector<PeakPair>& right);
  // New carriers holding a copy of the stretch (blocks shared by reference where they lie
  // in files); an unselected channel's carrier is empty.
  void WaveCollectData(int32_t FromPos, int32_t ToPos, int32_t WorkChn, BlockCarrBuffClass& FileObL,
                       BlockCarrBuffClass& FileObR);
  // The same, with every collected block lying in a file, for the player.
  void WaveCollectData_ForPlay(int32_t FromPos, int32_t ToPos, int32_t WorkChn,
                               BlockCarrBuffClass& FileObL, BlockCarrBuffClass& FileObR);
  // A format change is undone alone unless IsLastOperation is false: then it goes with the
  // edits that follow, up to the one that ends the operation.
  void WaveDataChangeFmt(int32_t NewChn, int32_t NewBits, int32_t NewFreq,
                         const std::string& UndoName, bool IsLastOperation = true);
  void WaveDataReplace(int32_t PosStart, int32_t WorkChn, const BlockCarrBuffClass* FileObL,
                       const BlockCarrBuffClass* FileObR, const std::string& UndoName,
                       bool IsLastOperation);
  // Replaces the ReplacedLen samples from PosStart on, in both channels, with the carriers'
  // audio, as one operation. Boundaries and markers inside the replaced stretch keep their
  // offset from PosStart, up to the new audio's last sample; later ones move by the change
  // in length. Undo sets every boundary and marker back as it was.
  void WaveDataReplaceRange(int32_t PosStart, int32_t ReplacedLen,
                            const BlockCarrBuffClass* FileObL, const BlockCarrBuffClass* FileObR,
                            const std::string& UndoName, bool IsLastOperation);
  void WaveDataInsert(int32_t PosStart, int32_t WorkChn, const BlockCarrBuffClass* FileObL,
                      const BlockCarrBuffClass* FileObR, const std::string& UndoName,
                      bool IsLastOperation);
  // DoWhat 1: marker MarkerNo was just added; 2: it is about to be deleted.
  void MarkerOneChanged(int32_t DoWhat, int32_t MarkerNo, const std::string& UndoName,
                        bool IsLastOperation);
  void MarkerManyChanged(int32_t DoWhat, const std::vector<int32_t>& MarkerNos,
                         const std::string& UndoName, bool IsLastOperation);
  // Before the editor moves a slide boundary.
  void SlidesBeingChanged(const std::string& UndoName, bool IsLastOperation);
  // Before an operation that sets boundaries and markers itself: undo puts every one of
  // them back as it is now. The operation's own edits follow and end it.
  void SlidesAndMarkersBeingChanged();
  // Marker and boundary edits, each recorded as one undo item named UndoName; the marker
  // table stays sorted. MoveSlideStart deletes the markers the boundary passes.
  void MoveMarker(int32_t MarkerNo, int32_t Position, const std::string& UndoName);
  int32_t AddMarkers(const std::vector<MarkerInfo>& markers, const std::string& UndoName);
  void DeleteMarkers(std::vector<int32_t> MarkerNos, const std::string& UndoName,
                     bool IsLastOperation = true);
  void MoveSlideStart(int32_t Slide, int32_t Position, const std::string& UndoName);
  // The markers (their numbers) that moving slide Slide's start to Position would delete.
  std::vector<int32_t> MarkersPassedBySlideStart(int32_t Slide, int32_t Position) const;
  void WaveDataDelete(int32_t PosStart, int32_t WorkChn, int32_t DeleteLen,
                      const std::string& UndoName, bool IsLastOperation);
  void UndoInfoReset();
  void UndoInfoReleaseUpto(int32_t UpToNo);
  void StorageReset();
  // One sample, read where it lies (no loading); 0 where no block covers the position.
  int16_t WaveL(int32_t WPosition) const;
  int16_t WaveR(int32_t WPosition) const;
  // The left sample at LeftPos and the right one at RightPos in one read where the two
  // channels lie side by side in a stereo source file and the positions are close; else
  // as WaveL and WaveR.
  void WavePair(int32_t LeftPos, int32_t RightPos, int16_t& Left, int16_t& Right) const;

  // Read-only views of the state, for the other parts and for checks.
  const ChannelBlockList& LeftChannel() const { return left_; }
  const ChannelBlockList& RightChannel() const { return right_; }
  int32_t BlockSize() const { return blockSize_; }
  const std::vector<UndoItem>& UndoItems() const { return undoItems_; }
  int32_t UndoItemCount() const { return static_cast<int32_t>(undoItems_.size()); }
  int32_t UndoFloor() const { return undoFloor_; }
  const std::vector<UndoItem>& RedoItems() const { return redoItems_; }

 private:
  bool RecordsUndo() const;
  bool MovesSlides(int32_t WorkChn) const;
  UndoItem& NewUndoItem(int32_t kind, const std::string& name, bool isLastOperation);
  UndoItem& ItemNumber(int32_t number) { return undoItems_[static_cast<size_t>(number) - 1]; }
  void FinishEdit(const std::string& UndoName, bool IsLastOperation);
  void PadChannels(const std::string& UndoName);
  // QuickBuffGet of both channels when they are cut into blocks alike; false otherwise.
  bool QuickPairGet(int32_t FromPos, int32_t last, std::vector<int16_t>& QBuffL,
                    std::vector<int16_t>& QBuffR) const;
  // Calls read(left block, right block, first offset, last offset, index of the first
  // sample from FromPos) for each stretch of FromPos..last when both channels are cut into
  // blocks alike there; false, calling nothing, otherwise.
  template <typename Read>
  bool ForEachPairStretch(int32_t FromPos, int32_t last, Read read) const;
  void CollectData(int32_t FromPos, int32_t ToPos, int32_t WorkChn, BlockCarrBuffClass& FileObL,
                   BlockCarrBuffClass& FileObR, bool forPlay);
  // Takes back the last group of `from` (items above `floor`), recording into `into` what
  // does it again; false when `from` holds nothing to take back.
  bool ReplayGroup(std::vector<UndoItem>& from, int32_t floor, std::vector<UndoItem>& into);
  void ReplayItem(UndoItem& item);
  void DropRedo();
  void ReleaseItemBlocks(UndoItem& item);
  void RecordMarkers(int32_t DoWhat, const std::vector<int32_t>& MarkerNos,
                     const std::string& UndoName, bool IsLastOperation);

  ChannelBlockList left_;
  ChannelBlockList right_;
  int32_t blockSize_ = 0;
  std::vector<UndoItem> undoItems_;  // item n (1-based) is undoItems_[n - 1]
  int32_t undoFloor_ = 0;            // items 1..floor have had their data released
  std::vector<UndoItem> redoItems_;  // what Undo took back, recorded as undo items are
  std::vector<UndoItem>* recordInto_ = &undoItems_;
  bool replaying_ = false;  // an undo or redo group is being replayed
  bool replaceInProgress_ = false;
};

}  // namespace quorvane
