// The arithmetic of the waveform view, apart from any drawing: fitting the view to the
// document, pixels and positions, the waveform's sampling step, the time-scale spacing,
// the five zoom modes and the scroll bar. It reads and writes the editor state and the view
// state, so the window and the tests share one set of rules.
#pragma once

#include <cstdint>

namespace quorvane {

// Limits the view to the document (step 4 of a redraw); sets ViewAll when it then shows
// everything, never clears it.
void FitViewToDocument(int32_t length);

// ViewStart + ViewLength, but at most the length.
int32_t LastDrawnPosition(int32_t length);

// x = (p - ViewStart) * PixelsPerSample, unrounded and rounded half to even.
double PixelX(double position);
int32_t PixelOf(double position);

// The sample position under pixel x, within 1..length.
int32_t PositionAtPixel(double x, int32_t length);

// Samples between two waveform lines: 0.85 / PixelsPerSample, at least 1.
int32_t WaveStep();
// The left channel's first drawn position: ViewStart rounded down to a multiple of the step.
int32_t FirstLeftPosition(int32_t step);

// The tick spacing of the time scale for a view of that many seconds and pixels.
float ScaleSpacing(double viewSeconds, int32_t viewPixels);

// Zoom modes: 1 in, 2 out, 4 all, 5 selection, 6 current slide. Zooming in and out keeps
// ZoomAnchor at its place on screen.
enum class ZoomOutcome { Unchanged, Redraw, NoSelection };
ZoomOutcome ZoomViewState(int32_t Mode, int32_t length);

// What zooming in and out holds still on screen: the middle of a selected stretch, else the
// cursor, when it is in view; 0 when neither is, and the middle of the view stays instead.
int32_t ZoomAnchor();

// Zoom in (Mode 1) or out (Mode 2) with the position `anchor` kept at its pixel; anchor 0
// keeps the middle of the view.
ZoomOutcome ZoomAround(int32_t Mode, int32_t anchor, int32_t length);

// The samples one pixel column of the view spans, at least 1.
int32_t ColumnSamples();

// Moves the view by that many samples (negative: towards the start), within the document.
void ScrollViewBy(int64_t samples, int32_t length);

// Scrolls the view just far enough that the position is in it.
void ScrollIntoView(int32_t position, int32_t length);

// Puts the cursor at `position` (kept within 1..length). With `extend` the selection runs
// from its end away from the cursor (or from the cursor, when only a position is selected)
// to the new place; without, the selection becomes that one position.
void MoveCursorTo(int32_t position, bool extend, int32_t length);

// The selection's end the cursor moves when a selection is extended: the end nearer to the
// cursor; without a selected stretch, the cursor itself.
int32_t MovingSelectionEnd();

struct ScrollSettings {
  bool enabled = false;
  int32_t largeChange = 0;
  int32_t value = 0;
};
ScrollSettings ScrollBarSettings(int32_t length, int32_t maximum);
int32_t ViewStartFromScroll(int32_t value, int32_t maximum, int32_t length);

// The slide entry whose stretch holds the position (the end entry included), or 0.
int32_t SlideHolding(int32_t position, int32_t length);

}  // namespace quorvane
