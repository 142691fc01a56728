#include "ui/ViewGeometry.h"

#include <algorithm>
#include <cmath>

#include "core/Numbers.h"
#include "core/ProjectTables.h"
#include "storage/EditorState.h"
#include "ui/ViewState.h"

namespace quorvane {

void FitViewToDocument(int32_t length) {
  EditorState& editor = Editor();
  ViewState& view = View();
  if (view.ViewAll) {
    editor.ViewStart = 1;
    editor.ViewLength = length;
  }
  if (editor.ViewLength >= length) {
    editor.ViewStart = 1;
    editor.ViewLength = length;
  } else if (editor.ViewLength < 10) {
    editor.ViewLength = 10;
  }
  if (editor.ViewStart + editor.ViewLength > length) {
    editor.ViewStart = length - editor.ViewLength + 1;
  }
  if (editor.ViewStart < 1) editor.ViewStart = 1;
  if (editor.ViewLength == length && editor.ViewStart == 1) view.ViewAll = true;
}

int32_t LastDrawnPosition(int32_t length) {
  return std::min(Editor().ViewStart + Editor().ViewLength, length);
}

double PixelX(double position) { return (position - Editor().ViewStart) * View().PixelsPerSample; }

int32_t PixelOf(double position) { return RoundHalfEven(PixelX(position)); }

int32_t PositionAtPixel(double x, int32_t length) {
  const int32_t position = RoundHalfEven(x / View().PixelsPerSample + Editor().ViewStart);
  return std::clamp(position, 1, std::max(length, 1));
}

int32_t WaveStep() { return std::max(RoundHalfEven(0.85 / View().PixelsPerSample), 1); }

int32_t FirstLeftPosition(int32_t step) { return std::max(Editor().ViewStart / step * step, 1); }

float ScaleSpacing(double viewSeconds, int32_t viewPixels) {
  const double ticks = std::floor(viewPixels / 65.0);
  const double wanted = ticks > 0.0 ? viewSeconds / ticks : HUGE_VAL;
  if (!(wanted < ScaleSteps[0])) return ScaleSteps[0];
  float spacing = ScaleSteps[0];
  for (int index = 1; index < kScaleStepsUsed && wanted < ScaleSteps[index]; ++index) {
    spacing = ScaleSteps[index];
  }
  return spacing;
}

namespace {

// Keeps a zoomed view inside the document.
void ApplyZoomEndRule(EditorState& editor, int32_t length) {
  if (editor.ViewStart < 1) editor.ViewStart = 1;
  if (editor.ViewStart + editor.ViewLength > length) {
    if (editor.ViewStart == 1) {
      editor.ViewLength = length;
    } else {
      editor.ViewStart = length - editor.ViewLength;
      if (editor.ViewStart < 1) {
        editor.ViewStart = 1;
        editor.ViewLength = length;
      }
    }
  }
}

}  // namespace

ZoomOutcome ZoomViewState(int32_t Mode, int32_t length) {
  EditorState& editor = Editor();
  ViewState& view = View();
  view.ViewAll = false;
  switch (Mode) {
    case 1:
      if (editor.ViewLength < 21) return ZoomOutcome::Unchanged;
      editor.ViewStart = RoundHalfEven(editor.ViewStart + 0.2 * editor.ViewLength);
      editor.ViewLength = RoundHalfEven(0.6 * editor.ViewLength);
      ApplyZoomEndRule(editor, length);
      return ZoomOutcome::Redraw;
    case 2:
      if (editor.ViewLength >= length) return ZoomOutcome::Unchanged;
      editor.ViewStart = RoundHalfEven(editor.ViewStart - editor.ViewLength / 3.0);
      editor.ViewLength = RoundHalfEven(editor.ViewLength / 0.6);
      ApplyZoomEndRule(editor, length);
      return ZoomOutcome::Redraw;
    case 4:
      if (editor.ViewLength >= length) return ZoomOutcome::Unchanged;
      view.ViewAll = true;
      return ZoomOutcome::Redraw;
    case 5:
      if (editor.SelStart == 0) return ZoomOutcome::NoSelection;
      editor.ViewStart = editor.SelStart;
      editor.ViewLength = editor.SelEnd == editor.SelStart ? length - editor.SelStart
                                                           : editor.SelEnd - editor.SelStart;
      return ZoomOutcome::Redraw;
    case 6: {
      const ProjectData& project = Project();
      if (view.CurrentSlide < 1 || view.CurrentSlide > project.SlideEntryCount) {
        return ZoomOutcome::Unchanged;
      }
      const int32_t start = project.Slides[static_cast<size_t>(view.CurrentSlide)].Start;
      int32_t end = SlideEndPosition(view.CurrentSlide, length);
      if (end == length + 1) end = length;
      if (end > length || start < 1 || start >= end) return ZoomOutcome::Unchanged;
      editor.ViewStart = start;
      editor.ViewLength = end - start;
      return ZoomOutcome::Redraw;
    }
    default:
      return ZoomOutcome::Unchanged;
  }
}

ScrollSettings ScrollBarSettings(int32_t length, int32_t maximum) {
  const EditorState& editor = Editor();
  ScrollSettings settings;
  if (editor.ViewLength < length) {
    const double hidden = static_cast<double>(length) - editor.ViewLength;
    settings.enabled = true;
    settings.largeChange =
        length / 2.0 <= editor.ViewLength
            ? maximum
            : std::clamp(RoundHalfEven(editor.ViewLength / hidden * maximum), 1, maximum);
    settings.value = std::clamp(RoundHalfEven(editor.ViewStart / hidden * maximum), 0, maximum);
  } else {
    settings.largeChange = maximum;
  }
  return settings;
}

int32_t ViewStartFromScroll(int32_t value, int32_t maximum, int32_t length) {
  const double hidden = static_cast<double>(length) - Editor().ViewLength;
  return RoundHalfEven(hidden / maximum * value);
}

int32_t SlideHolding(int32_t position, int32_t length) {
  const ProjectData& project = Project();
  int32_t found = 0;
  for (int32_t i = 1; i <= project.SlideEntryCount; ++i) {
    if (project.Slides[static_cast<size_t>(i)].Start <= position &&
        position < SlideEndPosition(i, length)) {
      found = i;
    }
  }
  return found;
}

}  // namespace quorvane
