// The editor window's view of the timeline beyond what the document keeps in the editor
// state (selection, cursor, view start and length): the scales the last redraw computed,
// the current slide and marker, and the table of time-scale spacings.
#pragma once

#include <array>
#include <cstdint>

namespace quorvane {

struct ViewState {
  bool ViewAll = true;           // every redraw shows the whole document
  int32_t ViewPixels = 0;        // width of the left wave picture
  double PixelsPerSample = 1.0;  // (ViewPixels - 1) / ViewLength
  double AmplitudeScale = 1e-6;  // pixels per sample unit
  double CentreY = 0.0;          // the zero line
  int32_t CurrentSlide = 1;      // index into Slides
  int32_t CurrentMarker = 1;     // index into Markers
};

ViewState& View();
void ResetViewState();

// Candidate tick spacings of the time scale in seconds, largest first; entry 35 stays 0.
inline constexpr int kScaleStepsUsed = 35;
extern std::array<float, 36> ScaleSteps;
void InitScaleSteps();

}  // namespace quorvane
