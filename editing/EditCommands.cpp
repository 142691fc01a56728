#include "editing/EditCommands.h"

#include "core/ErrorReport.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "core/ProjectTables.h"
#include "core/Settings.h"
#include "editing/ClipboardAudio.h"
#include "editing/ClipboardExchange.h"
#include "editing/EditRange.h"
#include "storage/BlockCarrBuffClass.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "storage/JournalOperation.h"

namespace quorvane {

bool EditCopy(FileMemoClass& document) {
  JournalOperation operation("copy");
  int32_t first = 0;
  int32_t last = 0;
  int32_t channels = 0;
  if (!GetEditRange(document, first, last, channels, kWantRange, "Copy")) return false;
  bool copied = false;
  {
    const BusyPointer busy;
    BlockCarrBuffClass left;
    BlockCarrBuffClass right;
    document.WaveCollectData(first, last, channels, left, right);
    copied = ClipboardCopy(channels, document.WavFmtBits, document.WavFmtFreq, left, right);
  }
  if (!copied) UserInterface().Message("Copying operation failed", MessageIcon::Critical);
  if (copied && operation.Recorded()) {
    Journal().NoteClip(ClipPointer());
    operation.Done();
  }
  return copied;
}

void EditCut(FileMemoClass& document) {
  JournalOperation operation("cut");
  int32_t first = 0;
  int32_t last = 0;
  int32_t channels = 0;
  if (!GetEditRange(document, first, last, channels, kWantRange, "Cut")) return;
  const BusyPointer busy;
  bool copied = false;
  {
    BlockCarrBuffClass left;
    BlockCarrBuffClass right;
    document.WaveCollectData(first, last, channels, left, right);
    copied = ClipboardCopy(channels, document.WavFmtBits, document.WavFmtFreq, left, right);
  }
  if (!copied) return;
  document.WaveDataDelete(first, channels, last - first + 1, "Cut", true);
  if (operation.Recorded()) {
    Journal().NoteClip(ClipPointer());
    operation.Done();
  }
}

void EditPaste(FileMemoClass& document) {
  JournalOperation operation("paste");
  int32_t first = 0;
  int32_t last = 0;
  int32_t channels = 0;
  if (!GetEditRange(document, first, last, channels, kWantPosition, "Paste")) return;
  const BusyPointer busy;
  try {
    // Audio another program copied goes in as an inserted file does. It, and a clip that
    // another editor copied, is done again from its samples, which the journal keeps; a
    // clip that a recorded copy made, from that copy.
    std::string kept;
    const bool pasted = !ClipboardHoldsClip() &&
                        PasteClipboardWav(document, first, operation.Recorded() ? &kept : nullptr);
    if (pasted && operation.Recorded()) {
      if (kept.empty()) Journal().Fail();
      operation.Done({kept});
    }
    BlockCarrBuffClass left;
    BlockCarrBuffClass right;
    if (!pasted && ClipboardPaste(document, left, right, channels)) {
      const bool foreign = operation.Recorded() && ClipPointer() != Journal().Clip();
      if (foreign) {
        kept =
            Journal().KeepBytes(CarriersAsWav(left, document.WavFmtChannel >= 2 ? &right : nullptr,
                                              document.WavFmtBits, document.WavFmtFreq),
                                ".wav");
        if (kept.empty()) Journal().Fail();
      }
      document.WaveDataInsert(first, channels, &left, &right, "Paste", true);
      operation.Done(foreign ? JournalWords{kept} : JournalWords{});
    }
  } catch (const std::exception& error) {
    UserInterface().Message(LocatedErrorText(ErrorDescription(error), "WaveEditor_Frm",
                                             "EditPaste_Mnu_Click", ErrorLine(error)),
                            MessageIcon::Critical);
  }
  UserInterface().Progress().SetIsVisible(false);
}

void EditSelectAll(const FileMemoClass& document) {
  Editor().SelStart = 1;
  Editor().SelEnd = document.WavWaveINos;
}

void EditDelete(FileMemoClass& document) {
  JournalOperation operation("delete");
  int32_t first = 0;
  int32_t last = 0;
  int32_t channels = 0;
  if (!GetEditRange(document, first, last, channels, kWantRange, "Delete")) return;
  document.WaveDataDelete(first, channels, last - first + 1, "Delete", true);
  operation.Done();
}

void InsertSilence(FileMemoClass& document) {
  int32_t first = 0;
  int32_t last = 0;
  int32_t channels = 0;
  if (!GetEditRange(document, first, last, channels, kWantPositionOrRange, "Insert Silence")) {
    UserInterface().Message("No position selection found to insert silence.");
    return;
  }
  const std::string proposal = SettingGet("", "SilceDur", "1");
  for (;;) {
    const std::optional<std::string> answer = UserInterface().InputBox(
        std::string("Enter duration of Silence to insert:") + kCrLf + "(Number of seconds)",
        " Insert Silence (Duration)", proposal);
    if (!answer || answer->empty()) return;
    if (InsertSilenceSeconds(document, *answer)) return;
  }
}

bool InsertSilenceSeconds(FileMemoClass& document, const std::string& answer) {
  JournalOperation operation("insert-silence");
  int32_t first = 0;
  int32_t last = 0;
  int32_t channels = 0;
  if (!GetEditRange(document, first, last, channels, kWantPositionOrRange, "Insert Silence")) {
    return false;
  }
  const int32_t seconds = RoundHalfEven(LeadingNumber(answer));
  if (seconds < 1) return false;
  // Sample positions are 32-bit, the position after the last sample included: a silence
  // the document cannot hold is refused like one that is too short, rather than wrapping
  // round to a length that means nothing.
  const int64_t count = static_cast<int64_t>(document.WavFmtFreq) * seconds;
  const int64_t room = int64_t{kMostSamples} - document.WavWaveINos;
  if (count > room) return false;
  SettingPut("", "SilceDur", answer);
  BlockCarrBuffClass left;
  BlockCarrBuffClass right;
  if (channels == 0 || channels == 1) left.ReDimSize(static_cast<int32_t>(count));
  if (channels == 0 || channels == 2) right.ReDimSize(static_cast<int32_t>(count));
  document.WaveDataInsert(first, channels, &left, &right, "Insert Silence", true);
  operation.Done({answer});
  return true;
}

void EditUndo(FileMemoClass& document) {
  JournalOperation operation("undo");
  document.Undo();
  Editor().CursorPos = 0;
  SortMarkers();
  operation.Done();
}

void EditRedo(FileMemoClass& document) {
  JournalOperation operation("redo");
  document.Redo();
  Editor().CursorPos = 0;
  SortMarkers();
  operation.Done();
}

}  // namespace quorvane
