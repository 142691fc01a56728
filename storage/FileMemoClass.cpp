#include "storage/FileMemoClass.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <utility>

#include "core/Environment.h"
#include "core/ErrorReport.h"
#include "core/Interaction.h"
#include "core/ProjectTables.h"
#include "storage/DocumentWindow.h"
#include "storage/EditorState.h"
#include "storage/SlidesAndMarkers.h"
#include "storage/StorageChecks.h"
#include "storage/UndoClearChoice.h"

namespace quorvane {

FileMemoClass::FileMemoClass()
    : blockSize_(BlockCarrBuffClass::BlockSizeForBudget(Env().MemoryBudget)) {}

FileMemoClass::~FileMemoClass() { StorageReset(); }

bool FileMemoClass::RecordsUndo() const {
  return (Editor().UndoEnabled || replaying_) && !SwitchUndoOff && !IsTempObject;
}

bool FileMemoClass::MovesSlides(int32_t WorkChn) const {
  return !IsTempObject && !SwitchUndoOff && !replaceInProgress_ && !replaying_ &&
         (WavFmtChannel != 2 || WorkChn == 0);
}

UndoItem& FileMemoClass::NewUndoItem(int32_t kind, const std::string& name, bool isLastOperation) {
  if (!replaying_) DropRedo();
  UndoItem& item = recordInto_->emplace_back();
  item.Name = name;
  item.Kind = kind;
  item.IsLastOperation = isLastOperation;
  const EditorState& editor = Editor();
  item.SelStart = editor.SelStart;
  item.SelEnd = editor.SelEnd;
  item.ViewValue1 = editor.ViewStart;
  item.ViewValue2 = editor.ViewLength;
  return item;
}

void FileMemoClass::WaveDataInsert(int32_t PosStart, int32_t WorkChn,
                                   const BlockCarrBuffClass* FileObL,
                                   const BlockCarrBuffClass* FileObR, const std::string& UndoName,
                                   bool IsLastOperation) {
  int32_t inserted = 0;
  bool counted = false;
  const auto insertInto = [&](ChannelBlockList& channel, const BlockCarrBuffClass* carrier) {
    if (!carrier || carrier->WaveINos == 0) return;
    std::vector<int32_t> copies;
    carrier->BuffBlocksGetCopy(copies);
    channel.InsertBlocks(PosStart, copies);
    if (!counted) inserted = carrier->WaveINos;
    counted = true;
  };
  if (SelectsLeft(WorkChn)) insertInto(left_, FileObL);
  if (SelectsRight(WorkChn)) insertInto(right_, FileObR);

  if (!IsTempObject && !SwitchUndoOff) {
    UndoItem* item = nullptr;
    if (RecordsUndo()) {
      item = &NewUndoItem(kUndoInsert, UndoName, IsLastOperation);
      item->Position = PosStart;
      item->Channel = WorkChn;
      item->Length = inserted;
    }
    if (MovesSlides(WorkChn)) ShiftForInsert(PosStart, inserted, item);
  }
  FinishEdit(UndoName, IsLastOperation);
}

void FileMemoClass::WaveDataDelete(int32_t PosStart, int32_t WorkChn, int32_t DeleteLen,
                                   const std::string& UndoName, bool IsLastOperation) {
  std::vector<int32_t> removedLeft;
  std::vector<int32_t> removedRight;
  if (SelectsLeft(WorkChn)) removedLeft = left_.TakeOut(PosStart, DeleteLen);
  if (SelectsRight(WorkChn)) removedRight = right_.TakeOut(PosStart, DeleteLen);

  if (RecordsUndo()) {
    UndoItem& item = NewUndoItem(kUndoDelete, UndoName, IsLastOperation);
    item.LeftBlocks = std::move(removedLeft);
    item.RightBlocks = std::move(removedRight);
    item.Position = PosStart;
    item.Channel = WorkChn;
    item.Length = DeleteLen;
    if (MovesSlides(WorkChn)) ShiftForDelete(PosStart, DeleteLen, &item);
  } else {
    for (const int32_t block : removedLeft) FreeBlock(block);
    for (const int32_t block : removedRight) FreeBlock(block);
    if (MovesSlides(WorkChn)) ShiftForDelete(PosStart, DeleteLen, nullptr);
  }
  FinishEdit(UndoName, IsLastOperation);
}

void FileMemoClass::WaveDataReplace(int32_t PosStart, int32_t WorkChn,
                                    const BlockCarrBuffClass* FileObL,
                                    const BlockCarrBuffClass* FileObR, const std::string& UndoName,
                                    bool IsLastOperation) {
  replaceInProgress_ = true;
  if (SelectsLeft(WorkChn) && FileObL) {
    const int32_t count = std::min(FileObL->WaveINos, left_.Length() - PosStart + 1);
    if (count > 0) WaveDataDelete(PosStart, 1, count, UndoName, false);
  }
  if (SelectsRight(WorkChn) && FileObR) {
    const int32_t count = std::min(FileObR->WaveINos, right_.Length() - PosStart + 1);
    if (count > 0) WaveDataDelete(PosStart, 2, count, UndoName, false);
  }
  WaveDataInsert(PosStart, WorkChn, FileObL, FileObR, UndoName, IsLastOperation);
  replaceInProgress_ = false;
}

void FileMemoClass::WaveDataReplaceRange(int32_t PosStart, int32_t ReplacedLen,
                                         const BlockCarrBuffClass* FileObL,
                                         const BlockCarrBuffClass* FileObR,
                                         const std::string& UndoName, bool IsLastOperation) {
  const int32_t newLength = FileObL ? FileObL->WaveINos : 0;
  const int32_t channels = WavFmtChannel == 2 ? 0 : 1;
  const bool movesSlides = MovesSlides(channels);
  if (movesSlides) SlidesAndMarkersBeingChanged();
  {
    // The delete and the insert leave boundaries and markers alone; they move once, below.
    replaceInProgress_ = true;
    struct Done {
      bool& flag;
      ~Done() { flag = false; }
    } done{replaceInProgress_};
    if (ReplacedLen > 0) WaveDataDelete(PosStart, channels, ReplacedLen, UndoName, false);
    WaveDataInsert(PosStart, channels, FileObL, FileObR, UndoName, IsLastOperation);
  }
  if (movesSlides) ShiftForReplace(PosStart, ReplacedLen, newLength);
}

void FileMemoClass::FinishEdit(const std::string& UndoName, bool IsLastOperation) {
  // Whatever was undone no longer fits once the audio changed some other way.
  if (!replaying_ && !IsTempObject) DropRedo();
  if (!IsTempObject && IsLastOperation) {
    if (WavFmtChannel == 2) PadChannels(UndoName);
    UndoInfoUpdateMenu();
  }
  WavWaveINos = std::max(left_.Length(), right_.Length());
  Editor().WaveChanged = true;
}

void FileMemoClass::PadChannels(const std::string& UndoName) {
  const int32_t leftLength = left_.Length();
  const int32_t rightLength = right_.Length();
  if (leftLength == rightLength) return;
  const bool padLeft = leftLength < rightLength;
  const int32_t difference = padLeft ? rightLength - leftLength : leftLength - rightLength;
  const int32_t firstPadded = std::min(leftLength, rightLength) + 1;
  (padLeft ? left_ : right_).AppendSilence(difference, blockSize_);
  if (RecordsUndo()) {
    UndoItem& item = NewUndoItem(kUndoPadding, UndoName, true);
    item.Position = firstPadded;
    item.Channel = padLeft ? 1 : 2;
    item.Length = difference;
  }
}

void FileMemoClass::WaveDataChangeFmt(int32_t NewChn, int32_t NewBits, int32_t NewFreq,
                                      const std::string& UndoName, bool IsLastOperation) {
  if (!IsTempObject) DropRedo();
  const bool recorded = RecordsUndo();
  if (recorded) {
    UndoItem& item = NewUndoItem(kUndoFormat, UndoName, IsLastOperation);
    item.Position = WavFmtBits;
    item.Channel = WavFmtChannel;
    item.Length = WavFmtFreq;
  }
  if (NewChn != 0) WavFmtChannel = NewChn;
  if (NewBits != 0) WavFmtBits = NewBits;
  if (NewFreq != 0) WavFmtFreq = NewFreq;
  if (recorded) UndoInfoUpdateMenu();
}

void FileMemoClass::WaveCollectBuff(int32_t FromPos, int32_t ToPos, int32_t WorkChn,
                                    std::vector<int16_t>& WavBuffL,
                                    std::vector<int16_t>& WavBuffR) {
  QUORVANE_CHECK(FromPos >= 1 && ToPos >= FromPos - 1, "collecting outside the document");
  const int32_t count = std::max(ToPos - FromPos + 1, 0);
  const auto collect = [&](const ChannelBlockList& channel, std::vector<int16_t>& out) {
    out.assign(static_cast<size_t>(count), 0);
    if (count == 0) return;
    size_t from = 0;
    size_t to = 0;
    channel.Overlapping(FromPos, ToPos, from, to);
    for (size_t slot = from; slot < to; ++slot) {
      const int32_t block = channel.Blocks()[slot];
      LoadBlock(block);
      const BlockRecord& record = RecordOf(block);
      const int32_t first = std::max(FromPos, record.Start);
      const int32_t last = std::min(ToPos, record.Start + record.Length - 1);
      if (first > last) continue;
      int16_t* target = out.data() + (first - FromPos);
      if (IsResidentKind(record.Kind)) {
        std::copy_n(record.Data.data() + (first - record.Start), last - first + 1, target);
      } else {
        ReadBlockRange(block, first - record.Start, last - record.Start, target);
      }
    }
  };
  if (SelectsLeft(WorkChn)) {
    collect(left_, WavBuffL);
  } else {
    WavBuffL.assign(1, 0);
  }
  if (SelectsRight(WorkChn)) {
    collect(right_, WavBuffR);
  } else {
    WavBuffR.assign(1, 0);
  }
}

void FileMemoClass::QuickBuffGet(int32_t FromPos, int32_t BuffSz, int32_t WorkChn,
                                 std::vector<int16_t>& QBuffL, std::vector<int16_t>& QBuffR) {
  const size_t size = static_cast<size_t>(std::max(BuffSz, 0)) + 1;
  QBuffL.assign(size, 0);
  QBuffR.assign(size, 0);
  const int32_t last = FromPos + BuffSz - 1;
  const auto read = [&](const ChannelBlockList& channel, std::vector<int16_t>& out) {
    if (BuffSz < 1) return;
    size_t from = 0;
    size_t to = 0;
    channel.Overlapping(FromPos, last, from, to);
    for (size_t slot = from; slot < to; ++slot) {
      const int32_t block = channel.Blocks()[slot];
      const BlockRecord& record = RecordOf(block);
      const int32_t first = std::max(FromPos, record.Start);
      const int32_t end = std::min(last, record.Start + record.Length - 1);
      if (first > end) continue;
      ReadBlockRange(block, first - record.Start, end - record.Start,
                     out.data() + (first - FromPos + 1));
    }
  };
  // Stretches long enough to matter read both channels of a stereo source at once; a
  // sample or two for the display costs less the plain way.
  constexpr int32_t kShortestPairRead = 64;
  if (BuffSz >= kShortestPairRead && SelectsLeft(WorkChn) && SelectsRight(WorkChn) &&
      QuickPairGet(FromPos, last, QBuffL, QBuffR)) {
    return;
  }
  if (SelectsLeft(WorkChn)) read(left_, QBuffL);
  if (SelectsRight(WorkChn)) read(right_, QBuffR);
}

template <typename Read>
bool FileMemoClass::ForEachPairStretch(int32_t FromPos, int32_t last, Read read) const {
  size_t from = 0;
  size_t to = 0;
  size_t rightFrom = 0;
  size_t rightTo = 0;
  left_.Overlapping(FromPos, last, from, to);
  right_.Overlapping(FromPos, last, rightFrom, rightTo);
  if (from == to || to - from != rightTo - rightFrom) return false;
  for (size_t slot = from; slot < to; ++slot) {
    const BlockRecord& a = RecordOf(left_.Blocks()[slot]);
    const BlockRecord& b = RecordOf(right_.Blocks()[rightFrom + slot - from]);
    if (a.Start != b.Start || a.Length != b.Length) return false;
  }
  for (size_t slot = from; slot < to; ++slot) {
    const int32_t block = left_.Blocks()[slot];
    const BlockRecord& record = RecordOf(block);
    const int32_t first = std::max(FromPos, record.Start);
    const int32_t end = std::min(last, record.Start + record.Length - 1);
    if (first > end) continue;
    read(block, right_.Blocks()[rightFrom + slot - from], first - record.Start, end - record.Start,
         static_cast<size_t>(first - FromPos));
  }
  return true;
}

bool FileMemoClass::QuickPairGet(int32_t FromPos, int32_t last, std::vector<int16_t>& QBuffL,
                                 std::vector<int16_t>& QBuffR) const {
  // The channels are cut alike: each stretch of a stereo source file is read once.
  return ForEachPairStretch(
      FromPos, last,
      [&](int32_t leftBlock, int32_t rightBlock, int32_t first, int32_t end, size_t at) {
        ReadBlockPairRange(leftBlock, rightBlock, first, end, QBuffL.data() + at + 1,
                           QBuffR.data() + at + 1);
      });
}

void FileMemoClass::QuickFramesGet(int32_t FromPos, int32_t count, int16_t* frames) {
  if (count < 1) return;
  const int32_t last = FromPos + count - 1;
  const bool stereo = WavFmtChannel == 2;
  // Parts of the range beyond a channel's end read as silence, as QuickBuffGet gives them.
  if (stereo && last <= left_.Length() && last <= right_.Length() &&
      ForEachPairStretch(
          FromPos, last,
          [&](int32_t leftBlock, int32_t rightBlock, int32_t first, int32_t end, size_t at) {
            ReadBlockPairFrames(leftBlock, rightBlock, first, end, frames + 2 * at);
          })) {
    return;
  }
  std::vector<int16_t> left;
  std::vector<int16_t> right;
  QuickBuffGet(FromPos, count, stereo ? 0 : 1, left, right);
  const size_t channels = stereo ? 2 : 1;
  for (size_t k = 0; k < static_cast<size_t>(count); ++k) {
    frames[k * channels] = left[k + 1];
    if (stereo) frames[k * channels + 1] = right[k + 1];
  }
}

void FileMemoClass::CollectData(int32_t FromPos, int32_t ToPos, int32_t WorkChn,
                                BlockCarrBuffClass& FileObL, BlockCarrBuffClass& FileObR,
                                bool forPlay) {
  QUORVANE_CHECK(FromPos >= 1 && ToPos >= FromPos - 1, "collecting outside the document");
  ShownProgress progress;
  size_t leftFrom = 0;
  size_t leftTo = 0;
  size_t rightFrom = 0;
  size_t rightTo = 0;
  if (SelectsLeft(WorkChn)) left_.Overlapping(FromPos, ToPos, leftFrom, leftTo);
  if (SelectsRight(WorkChn)) right_.Overlapping(FromPos, ToPos, rightFrom, rightTo);
  const size_t total = (leftTo - leftFrom) + (rightTo - rightFrom);
  size_t done = 0;
  const auto collect = [&](const ChannelBlockList& channel, size_t from, size_t to,
                           BlockCarrBuffClass& carrier) {
    std::vector<int32_t> copies;
    for (size_t slot = from; slot < to; ++slot) {
      const int32_t copy = CopyBlockRange(channel.Blocks()[slot], FromPos, ToPos);
      if (copy == 0) continue;
      if (forPlay) SaveBlockCopy(copy);
      copies.push_back(copy);
      progress.Set(static_cast<float>(++done) / static_cast<float>(total));
    }
    carrier = BlockCarrBuffClass();
    carrier.BuffBlocksPutFresh(copies);
  };
  collect(left_, leftFrom, leftTo, FileObL);
  collect(right_, rightFrom, rightTo, FileObR);
}

void FileMemoClass::WaveCollectData(int32_t FromPos, int32_t ToPos, int32_t WorkChn,
                                    BlockCarrBuffClass& FileObL, BlockCarrBuffClass& FileObR) {
  CollectData(FromPos, ToPos, WorkChn, FileObL, FileObR, false);
}

void FileMemoClass::WaveCollectData_ForPlay(int32_t FromPos, int32_t ToPos, int32_t WorkChn,
                                            BlockCarrBuffClass& FileObL,
                                            BlockCarrBuffClass& FileObR) {
  CollectData(FromPos, ToPos, WorkChn, FileObL, FileObR, true);
}

int16_t FileMemoClass::WaveL(int32_t WPosition) const {
  const int32_t block = left_.BlockAt(WPosition);
  return block == 0 ? int16_t{0} : PeekSample(block, WPosition);
}

int16_t FileMemoClass::WaveR(int32_t WPosition) const {
  const int32_t block = right_.BlockAt(WPosition);
  return block == 0 ? int16_t{0} : PeekSample(block, WPosition);
}

void FileMemoClass::WavePair(int32_t LeftPos, int32_t RightPos, int16_t& Left,
                             int16_t& Right) const {
  // One read of a few kilobytes costs less than two reads of one sample each.
  constexpr int32_t kLongestPairSpan = 1024;
  const int32_t leftBlock = left_.BlockAt(LeftPos);
  const int32_t rightBlock = right_.BlockAt(RightPos);
  if (leftBlock != 0 && rightBlock != 0 && std::abs(RightPos - LeftPos) < kLongestPairSpan) {
    const BlockRecord& a = RecordOf(leftBlock);
    const BlockRecord& b = RecordOf(rightBlock);
    if (a.Kind == BlockOrgFile && b.Kind == BlockOrgFile && a.Start == b.Start &&
        a.Length == b.Length && a.FileRef == b.FileRef) {
      const int32_t first = std::min(LeftPos, RightPos);
      const int32_t last = std::max(LeftPos, RightPos);
      thread_local std::vector<int16_t> left;
      thread_local std::vector<int16_t> right;
      left.resize(static_cast<size_t>(last - first + 1));
      right.resize(left.size());
      ReadBlockPairRange(leftBlock, rightBlock, first - a.Start, last - a.Start, left.data(),
                         right.data());
      Left = left[static_cast<size_t>(LeftPos - first)];
      Right = right[static_cast<size_t>(RightPos - first)];
      return;
    }
  }
  Left = WaveL(LeftPos);
  Right = WaveR(RightPos);
}

void FileMemoClass::StorageReset() {
  UndoInfoReset();
  left_.FreeAll();
  right_.FreeAll();
  WavWaveINos = 0;
  ReleaseUnusedFiles();
}

// ---- Slides and markers recorded by the editor --------------------------------------

void FileMemoClass::RecordMarkers(int32_t DoWhat, const std::vector<int32_t>& MarkerNos,
                                  const std::string& UndoName, bool IsLastOperation) {
  if (!IsTempObject) DropRedo();
  if (!RecordsUndo() || (DoWhat != 1 && DoWhat != 2)) return;
  const ProjectData& project = Project();
  UndoItem& item = NewUndoItem(DoWhat == 1 ? kUndoMarkersAdded : kUndoMarkersDeleted,
                               IsLastOperation ? UndoName : std::string(), IsLastOperation);
  for (const int32_t number : MarkerNos) {
    if (number >= 1 && number <= project.MarkerCount &&
        number < static_cast<int32_t>(project.Markers.size())) {
      item.SavedMarkers.push_back(project.Markers[number]);
    }
  }
  item.SlidesSaved = 1;
  if (IsLastOperation) UndoInfoUpdateMenu();
}

void FileMemoClass::MarkerOneChanged(int32_t DoWhat, int32_t MarkerNo, const std::string& UndoName,
                                     bool IsLastOperation) {
  RecordMarkers(DoWhat, {MarkerNo}, UndoName, IsLastOperation);
}

void FileMemoClass::MarkerManyChanged(int32_t DoWhat, const std::vector<int32_t>& MarkerNos,
                                      const std::string& UndoName, bool IsLastOperation) {
  RecordMarkers(DoWhat, MarkerNos, UndoName, IsLastOperation);
}

void FileMemoClass::SlidesAndMarkersBeingChanged() {
  if (!IsTempObject) DropRedo();
  if (RecordsUndo()) SaveSlidesAndMarkers(NewUndoItem(kUndoSnapshot, "", false));
}

void FileMemoClass::SlidesBeingChanged(const std::string& UndoName, bool IsLastOperation) {
  if (!IsTempObject) DropRedo();
  if (!RecordsUndo()) return;
  UndoItem& item =
      NewUndoItem(kUndoSlidesChanged, IsLastOperation ? UndoName : std::string(), IsLastOperation);
  SaveSlideBoundaries(item);
  if (IsLastOperation) UndoInfoUpdateMenu();
}

}  // namespace quorvane
