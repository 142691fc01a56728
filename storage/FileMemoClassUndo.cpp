// The undo history of the wave document and the redo list beside it. Undo takes back the
// last group of items (one user operation) and records, as ordinary undo items, what does
// it again; redo replays those the same way, so each direction feeds the other.
#include <exception>
#include <string>
#include <vector>

#include "core/ErrorReport.h"
#include "core/Interaction.h"
#include "storage/BlockList.h"
#include "storage/DocumentWindow.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "storage/JournalOperation.h"
#include "storage/SlidesAndMarkers.h"
#include "storage/UndoClearChoice.h"

namespace quorvane {

namespace {

// An undo item that no longer matches the document (edits were made while undo was
// switched off) must not be replayed onto the wrong samples.
void RequireFits(bool fits) {
  if (!fits) ThrowError(5, "The undo data does not match the audio any more");
}

}  // namespace

void FileMemoClass::Undo() {
  if (UndoItemCount() <= undoFloor_) {
    UserInterface().Message("Undo Failed", MessageIcon::Exclamation);
    UndoInfoReset();
    Editor().SelStart = 0;
    Editor().SelEnd = 0;
    return;
  }
  ReplayGroup(undoItems_, undoFloor_, redoItems_);
}

void FileMemoClass::Redo() {
  if (!redoItems_.empty()) ReplayGroup(redoItems_, 0, undoItems_);
}

bool FileMemoClass::ReplayGroup(std::vector<UndoItem>& from, int32_t floor,
                                std::vector<UndoItem>& into) {
  const auto count = static_cast<int32_t>(from.size());
  if (count <= floor) return false;
  const auto itemNumber = [&from](int32_t number) -> UndoItem& {
    return from[static_cast<size_t>(number) - 1];
  };
  // The group: back over trailing padding items, then back over every earlier item that
  // does not end an operation.
  int32_t first = count;
  while (first > floor && itemNumber(first).Kind == kUndoPadding) --first;
  if (first <= floor) {
    first = floor + 1;
  } else {
    while (first - 1 > floor && !itemNumber(first - 1).IsLastOperation) --first;
  }
  const int32_t groupSize = count - first + 1;
  const std::string name = itemNumber(count).Name;

  ProgressDisplay& progress = UserInterface().Progress();
  progress.SetIsVisible(true);
  progress.SetCurrentProgress(0.0F);
  struct Recording {  // replayed edits record into `into`, whatever way the replay ends
    FileMemoClass& document;
    ~Recording() {
      document.replaying_ = false;
      document.recordInto_ = &document.undoItems_;
    }
  } recording{*this};
  replaying_ = true;
  recordInto_ = &into;
  const size_t recordedFrom = into.size();
  try {
    // The recorded group's oldest item keeps the boundaries, markers, selection and view
    // as they are now; replaying it last puts them back exactly.
    SaveSlidesAndMarkers(NewUndoItem(kUndoSnapshot, name, false));
    for (int32_t number = count; number >= first; --number) {
      ReplayItem(itemNumber(number));
      progress.SetCurrentProgress(static_cast<float>(count - number + 1) /
                                  static_cast<float>(groupSize));
    }
    const UndoItem& oldest = itemNumber(first);
    EditorState& editor = Editor();
    editor.SelStart = oldest.SelStart;
    editor.SelEnd = oldest.SelEnd;
    editor.ViewStart = oldest.ViewValue1;
    editor.ViewLength = oldest.ViewValue2;
    from.resize(static_cast<size_t>(first) - 1);
    for (size_t i = recordedFrom; i < into.size(); ++i) {
      into[i].Name = name;
      into[i].IsLastOperation = i + 1 == into.size();
    }
  } catch (const std::exception& error) {
    progress.SetIsVisible(false);
    UserInterface().MsgBox(MessageRequest{ErrorDescription(error),
                                          &from == &undoItems_ ? "Undo Error" : "Redo Error",
                                          MessageIcon::None, MessageButtons::OkOnly, 1});
    UndoInfoReset();
    return true;
  }
  UndoInfoUpdateMenu();
  Editor().WaveChanged = true;
  progress.SetIsVisible(false);
  return true;
}

void FileMemoClass::ReplayItem(UndoItem& item) {
  const int32_t position = item.Position;
  const int32_t channel = item.Channel;
  const int32_t length = item.Length;
  switch (item.Kind) {
    case kUndoFormat: {
      UndoItem& inverse = NewUndoItem(kUndoFormat, "", false);
      inverse.Position = WavFmtBits;
      inverse.Channel = WavFmtChannel;
      inverse.Length = WavFmtFreq;
      WavFmtBits = position;
      WavFmtChannel = channel;
      WavFmtFreq = length;
      EditorState& editor = Editor();
      editor.CurrentFmtChannel = WavFmtChannel;
      editor.CurrentFmtFreq = WavFmtFreq;
      editor.CurrentFmtBits = WavFmtBits;
      TheDocumentWindow().SetMenu_To_DefaultFormat();
      break;
    }
    case kUndoDelete: {
      RequireFits(position >= 1);
      if (SelectsLeft(channel)) RequireFits(position <= left_.Length() + 1);
      if (SelectsRight(channel)) RequireFits(position <= right_.Length() + 1);
      BlockCarrBuffClass leftCarrier;
      BlockCarrBuffClass rightCarrier;
      // The carriers own the removed blocks from here on and free them when dropped.
      if (SelectsLeft(channel)) leftCarrier.BuffBlocksPutFresh(item.LeftBlocks);
      if (SelectsRight(channel)) rightCarrier.BuffBlocksPutFresh(item.RightBlocks);
      item.LeftBlocks.clear();
      item.RightBlocks.clear();
      WaveDataInsert(position, channel, &leftCarrier, &rightCarrier, "", false);
      if (item.SlidesSaved == 1) UnshiftDelete(position, length, item);
      break;
    }
    case kUndoInsert:
    case kUndoPadding: {
      RequireFits(position >= 1 && length >= 0);
      if (SelectsLeft(channel)) RequireFits(position + length - 1 <= left_.Length());
      if (SelectsRight(channel)) RequireFits(position + length - 1 <= right_.Length());
      WaveDataDelete(position, channel, length, "", false);
      if (item.SlidesSaved == 1) UnshiftInsert(position, length, item);
      break;
    }
    case kUndoMarkersAdded:
      UndoMarkersAdded(item);
      break;
    case kUndoMarkersDeleted:
      UndoMarkersDeleted(item);
      break;
    case kUndoSlidesChanged:
      RestoreSlideBoundaries(item);
      break;
    case kUndoSnapshot:
      RestoreSlidesAndMarkers(item);
      break;
    default:
      break;
  }
}

void FileMemoClass::UndoInfoUpdateMenu() {
  DocumentWindow& window = TheDocumentWindow();
  if (!Editor().UndoEnabled) {
    window.SetUndoMenuItem("Undo [Off]", false);
  } else if (UndoItemCount() > undoFloor_) {
    const std::string caption = "Undo [" + undoItems_.back().Name + "]";
    window.SetUndoMenuItem(caption, true);
    window.SetUndoButton(true, caption);
  } else {
    window.SetUndoMenuItem("Undo [Nothing]", false);
  }
  if (!Editor().UndoEnabled) {
    window.SetRedoItem("Redo [Off]", false);
  } else if (!redoItems_.empty()) {
    window.SetRedoItem("Redo [" + redoItems_.back().Name + "]", true);
  } else {
    window.SetRedoItem("Redo [Nothing]", false);
  }
}

void FileMemoClass::ReleaseItemBlocks(UndoItem& item) {
  for (const int32_t block : item.LeftBlocks) FreeBlock(block);
  for (const int32_t block : item.RightBlocks) FreeBlock(block);
  item.LeftBlocks.clear();
  item.RightBlocks.clear();
}

void FileMemoClass::UndoInfoReleaseUpto(int32_t UpToNo) {
  const int32_t upTo = std::min(UpToNo, UndoItemCount());
  if (upTo > undoFloor_) {
    for (int32_t number = undoFloor_ + 1; number <= upTo; ++number) {
      ReleaseItemBlocks(ItemNumber(number));
    }
    undoFloor_ = upTo;
  }
  while (undoFloor_ < UndoItemCount() && ItemNumber(undoFloor_ + 1).Kind == kUndoPadding) {
    ReleaseItemBlocks(ItemNumber(undoFloor_ + 1));
    ++undoFloor_;
  }
  ReleaseUnusedFiles();
  UndoInfoUpdateMenu();
}

void FileMemoClass::DropRedo() {
  if (redoItems_.empty()) return;
  for (UndoItem& item : redoItems_) ReleaseItemBlocks(item);
  redoItems_.clear();
  ReleaseUnusedFiles();
}

void FileMemoClass::UndoInfoReset() {
  for (UndoItem& item : redoItems_) ReleaseItemBlocks(item);
  redoItems_.clear();
  for (int32_t number = undoFloor_ + 1; number <= UndoItemCount(); ++number) {
    ReleaseItemBlocks(ItemNumber(number));
  }
  undoItems_.clear();
  undoFloor_ = 0;
  ReleaseUnusedFiles();
  // A scratch document has no menu entry of its own to refresh.
  if (!IsTempObject) UndoInfoUpdateMenu();
}

void FileMemoClass::UndoClearFiles_UserAssisted() {
  std::vector<std::string> names;
  std::vector<int32_t> numbers;
  for (int32_t number = undoFloor_ + 1; number <= UndoItemCount(); ++number) {
    const UndoItem& item = ItemNumber(number);
    if (item.IsLastOperation && item.Kind != kUndoPadding) {
      names.push_back(item.Name);
      numbers.push_back(number);
    }
  }
  if (names.empty()) {
    UserInterface().Message("No undo data is left to clear.");
    return;
  }
  JournalOperation operation("clear-undo");
  const UndoClearChoice choice = TheDocumentWindow().ShowUndoClearFrm(names);
  switch (choice.Button) {
    case kUndoClearFirstOne:
      ClearUndoUpTo(numbers.front());
      operation.Done({std::to_string(numbers.front())});
      break;
    case kUndoClearUpToSelected:
      if (choice.SelectedEntry >= 0 && choice.SelectedEntry < static_cast<int>(numbers.size())) {
        const int32_t upTo = numbers[static_cast<size_t>(choice.SelectedEntry)];
        ClearUndoUpTo(upTo);
        operation.Done({std::to_string(upTo)});
      }
      break;
    case kUndoClearAll:
      ClearUndoUpTo(0);
      operation.Done({"0"});
      break;
    default:
      break;
  }
}

void FileMemoClass::ClearUndoUpTo(int32_t UpToNo) {
  if (UpToNo <= 0) {
    UndoInfoReset();
  } else {
    UndoInfoReleaseUpto(UpToNo);
  }
}

}  // namespace quorvane
