// One entry of a wave document's undo history. An item never holds copies of samples: a
// deletion moves the removed blocks into it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/ProjectTables.h"

namespace quorvane {

inline constexpr int32_t kUndoInsert = 1;
inline constexpr int32_t kUndoDelete = 2;
inline constexpr int32_t kUndoPadding = 3;
inline constexpr int32_t kUndoFormat = 4;
inline constexpr int32_t kUndoMarkersAdded = 401;
inline constexpr int32_t kUndoMarkersDeleted = 402;
inline constexpr int32_t kUndoSlidesChanged = 403;
inline constexpr int32_t kUndoSnapshot = 404;  // every boundary and marker, set back as a whole

struct UndoItem {
  std::string Name;                  // shown in the undo menu
  int32_t Kind = 0;                  // one of the kinds above
  bool IsLastOperation = false;      // true on the item that ends a user operation
  std::vector<int32_t> LeftBlocks;   // delete: the blocks removed from the left channel
  std::vector<int32_t> RightBlocks;  // delete: the blocks removed from the right channel
  int32_t Position = 0;              // insert, delete: PosStart; padding: first padded position;
                                     // format: old WavFmtBits
  int32_t Channel = 0;               // insert, delete: WorkChn; padding: 1 left, 2 right;
                                     // format: old WavFmtChannel
  int32_t Length = 0;                // insert, delete, padding: the length; format: old WavFmtFreq
  int32_t SelStart = 0;              // the editor's selection and view when the item was recorded
  int32_t SelEnd = 0;
  int32_t ViewValue1 = 0;   // ViewStart
  int32_t ViewValue2 = 0;   // ViewLength
  int32_t SlidesSaved = 0;  // 1 when the item holds slide and marker data
  std::vector<MarkerInfo> SavedMarkers;
  int32_t Spare = 0;
  std::vector<int32_t> SavedSlides;  // slide boundaries before the edit, 0-based
};

}  // namespace quorvane
