// What the insert-position dialog decides, without the dialog: its three options, the
// first one disabled while the cursor lies outside the document, and the choice it keeps
// from one use to the next. The window shows it with Qt; the batch tool answers it.
#pragma once

#include <cstdint>

namespace quorvane {

inline constexpr int32_t kInsertAtCursor = 0;      // "Cursor Position"
inline constexpr int32_t kInsertAtSlideStart = 1;  // "Start of Current Slide"
inline constexpr int32_t kInsertAtSlideEnd = 2;    // "End of Current Slide"

struct InsertPosFrm {
  int32_t InsertPosOpn = kInsertAtCursor;  // the chosen option
  bool CursorOptionEnabled = true;
  bool OkClicked = false;

  // Before showing: "Cursor Position" is enabled only for a cursor inside 1..length; when
  // it was the choice and is disabled, "End of Current Slide" is chosen instead.
  void Prepare(int32_t cursorPos, int32_t length) {
    CursorOptionEnabled = cursorPos >= 1 && cursorPos <= length;
    if (!CursorOptionEnabled && InsertPosOpn == kInsertAtCursor) InsertPosOpn = kInsertAtSlideEnd;
    OkClicked = false;
  }
};

// The one dialog of the session, loaded once and shown again, so its choice survives.
InsertPosFrm& InsertPositionForm();

}  // namespace quorvane
