// The edit commands of the editor, as plain functions over the document and the editor
// state: the window's menu handlers and the batch tool call them as they are. Redrawing
// the view afterwards is the caller's.
#pragma once

#include <optional>
#include <string>

namespace quorvane {

class FileMemoClass;

// Copies the selected range to the clipboard; does nothing without a range. False when
// the copy failed ("Copying operation failed").
bool EditCopy(FileMemoClass& document);

// Copies the selected range to the clipboard and, when that worked, deletes it ("Cut").
void EditCut(FileMemoClass& document);

// Inserts the clipboard's audio at the selected position ("Paste"); does nothing with a
// range or without a selection.
void EditPaste(FileMemoClass& document);

// Selects the whole document.
void EditSelectAll(const FileMemoClass& document);

// Deletes the selected range ("Delete"); does nothing without a range.
void EditDelete(FileMemoClass& document);

// Asks for a duration (repeating while it is below one second) and inserts that much
// silence at the selection's start ("Insert Silence").
void InsertSilence(FileMemoClass& document);

// Inserts the answer's seconds, rounded to whole seconds, of silence at the selection's
// start. False (and nothing inserted) when the rounded answer is below 1, or when the
// document would grow beyond the largest sample position.
bool InsertSilenceSeconds(FileMemoClass& document, const std::string& answer);

// Undoes the last user operation and puts the markers back in position order.
void EditUndo(FileMemoClass& document);
void EditRedo(FileMemoClass& document);

}  // namespace quorvane
