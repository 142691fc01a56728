// Slide boundaries and markers following the edits of the wave document, and their
// restoring by undo. The tables are the project's (Project().Slides, Project().Markers);
// an undo item, when given, keeps what the restoring needs.
#pragma once

#include <cstdint>

#include "storage/UndoItem.h"

namespace quorvane {

// Audio of `length` samples was inserted at PosStart. A boundary exactly at PosStart stays
// (the inserted audio ends up after it); later ones, and from there on every one, move.
void ShiftForInsert(int32_t PosStart, int32_t length, UndoItem* item);

// Positions PosStart..PosStart + length - 1 were deleted: boundaries inside move to
// PosStart, markers inside are deleted (and kept in the item when one is given).
void ShiftForDelete(int32_t PosStart, int32_t length, UndoItem* item);

// PosStart..PosStart + oldLength - 1 became newLength other samples: boundaries and
// markers inside keep their offset from PosStart, at most newLength - 1 (PosStart when
// nothing came in); later ones move by the difference.
void ShiftForReplace(int32_t PosStart, int32_t oldLength, int32_t newLength);

// Undo of an insert (or a padding) and of a delete.
void UnshiftInsert(int32_t PosStart, int32_t length, const UndoItem& item);
void UnshiftDelete(int32_t PosStart, int32_t length, const UndoItem& item);

// Undo of the editor's own recordings: markers added (kind 401) are removed, markers
// deleted (402) are appended again, slide boundaries (403) are restored.
void UndoMarkersAdded(const UndoItem& item);
void UndoMarkersDeleted(const UndoItem& item);

// Every slide boundary into the item (and its slides-saved flag set), and back.
void SaveSlideBoundaries(UndoItem& item);
void RestoreSlideBoundaries(const UndoItem& item);

// Every boundary and every marker into the item, and back exactly as they were.
void SaveSlidesAndMarkers(UndoItem& item);
void RestoreSlidesAndMarkers(const UndoItem& item);

}  // namespace quorvane
