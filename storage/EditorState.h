// The editor's values that the wave document reads and writes: the selection, the view
// range and cursor, the modified flag, the undo setting and the copies of the document's
// format that playback and recording read. The editor window uses this struct as it is.
#pragma once

#include <cstdint>

namespace quorvane {

struct EditorState {
  int32_t SelStart = 0;  // 0: no selection; SelStart = SelEnd: a position
  int32_t SelEnd = 0;
  int32_t ViewStart = 1;
  int32_t ViewLength = 0;
  int32_t CursorPos = 0;
  bool WaveChanged = false;  // true after any edit, false after loading and saving
  bool UndoEnabled = true;   // the undo setting; off shows "Undo [Off]"
  int32_t CurrentFmtChannel = 0;
  int32_t CurrentFmtFreq = 0;
  int32_t CurrentFmtBits = 0;
};

EditorState& Editor();

// Back to the values at process start (tests start each case from here).
void ResetEditorState();

}  // namespace quorvane
