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

bool StretchSelected(const EditorState& editor) {
  return editor.SelStart != 0 && editor.SelStart != editor.SelEnd;
}

}  // namespace

int32_t ZoomAnchor() {
  const EditorState& editor = Editor();
  const auto inView = [&](int64_t p) {
    return p >= 1 && p >= editor.ViewStart &&
           p <= static_cast<int64_t>(editor.ViewStart) + editor.ViewLength;
  };
  if (StretchSelected(editor)) {
    const int64_t middle = (static_cast<int64_t>(editor.SelStart) + editor.SelEnd) / 2;
    if (inView(middle)) return static_cast<int32_t>(middle);
  }
  return inView(editor.CursorPos) ? editor.CursorPos : 0;
}

ZoomOutcome ZoomAround(int32_t Mode, int32_t anchor, int32_t length) {
  EditorState& editor = Editor();
  View().ViewAll = false;
  const int32_t oldStart = editor.ViewStart;
  const int32_t oldLength = editor.ViewLength;
  if (Mode == 1) {
    if (oldLength < 21) return ZoomOutcome::Unchanged;
    editor.ViewLength = RoundHalfEven(0.6 * oldLength);
    if (anchor == 0) editor.ViewStart = RoundHalfEven(oldStart + 0.2 * oldLength);
  } else if (Mode == 2) {
    if (oldLength >= length) return ZoomOutcome::Unchanged;
    editor.ViewLength = RoundHalfEven(oldLength / 0.6);
    if (anchor == 0) editor.ViewStart = RoundHalfEven(oldStart - oldLength / 3.0);
  } else {
    return ZoomOutcome::Unchanged;
  }
  // The anchor's distance from the view's start shrinks or grows with the view, so its
  // pixel stays where it was.
  if (anchor != 0) {
    const double scale = static_cast<double>(editor.ViewLength) / oldLength;
    editor.ViewStart = RoundHalfEven(anchor - (anchor - static_cast<double>(oldStart)) * scale);
  }
  ApplyZoomEndRule(editor, length);
  return ZoomOutcome::Redraw;
}

int32_t ColumnSamples() { return std::max(RoundHalfEven(1.0 / View().PixelsPerSample), 1); }

void ScrollViewBy(int64_t samples, int32_t length) {
  EditorState& editor = Editor();
  if (editor.ViewLength >= length) return;
  const int64_t lastStart = static_cast<int64_t>(length) - editor.ViewLength + 1;
  editor.ViewStart =
      static_cast<int32_t>(std::clamp<int64_t>(editor.ViewStart + samples, 1, lastStart));
}

void ScrollIntoView(int32_t position, int32_t length) {
  EditorState& editor = Editor();
  // A position that leaves the view brings a tenth of a view beyond it along, so that
  // stepping on does not scroll at every step.
  const int32_t margin = editor.ViewLength / 10;
  if (position < editor.ViewStart) {
    ScrollViewBy(static_cast<int64_t>(position) - margin - editor.ViewStart, length);
  } else if (position > static_cast<int64_t>(editor.ViewStart) + editor.ViewLength) {
    ScrollViewBy(static_cast<int64_t>(position) + margin - editor.ViewStart - editor.ViewLength,
                 length);
  }
}

int32_t MovingSelectionEnd() {
  const EditorState& editor = Editor();
  if (!StretchSelected(editor)) return editor.CursorPos;
  const int64_t toStart = std::abs(static_cast<int64_t>(editor.CursorPos) - editor.SelStart);
  const int64_t toEnd = std::abs(static_cast<int64_t>(editor.CursorPos) - editor.SelEnd);
  return toStart <= toEnd ? editor.SelStart : editor.SelEnd;
}

void MoveCursorTo(int32_t position, bool extend, int32_t length) {
  EditorState& editor = Editor();
  const int32_t last = std::max(length, 1);
  position = std::clamp(position, 1, last);
  if (extend) {
    int32_t fixed = std::clamp(editor.CursorPos, 1, last);
    if (StretchSelected(editor)) {
      fixed = MovingSelectionEnd() == editor.SelStart ? editor.SelEnd : editor.SelStart;
    }
    editor.SelStart = std::min(fixed, position);
    editor.SelEnd = std::max(fixed, position);
  } else {
    editor.SelStart = editor.SelEnd = position;
  }
  editor.CursorPos = position;
}

ZoomOutcome ZoomViewState(int32_t Mode, int32_t length) {
  EditorState& editor = Editor();
  ViewState& view = View();
  view.ViewAll = false;
  switch (Mode) {
    case 1:
    case 2:
      return ZoomAround(Mode, ZoomAnchor(), length);
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
