// The editor's values that the wave document reads and writes: the selection, the view
// range and cursor, the modified flag, the undo setting and the copies of the document's
// format that playback and recording read. The editor window uses this struct as it is,
// and keeps its own view of the timeline beside it in a ViewState.
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

// The editor window's view of the timeline beyond what the document keeps in the editor
// state (selection, cursor, view start and length): the scales the last redraw computed
// and the current slide and marker.
struct ViewState {
  bool ViewAll = true;           // every redraw shows the whole document
  int32_t ViewPixels = 0;        // width of the left wave picture
  double PixelsPerSample = 1.0;  // (ViewPixels - 1) / ViewLength
  double AmplitudeScale = 1e-6;  // pixels per sample unit
  double CentreY = 0.0;          // the zero line
  int32_t CurrentSlide = 1;      // index into Slides
  int32_t CurrentMarker = 1;     // index into Markers
};

EditorState& Editor();

// Back to the values at process start (tests start each case from here).
void ResetEditorState();

}  // namespace quorvane
