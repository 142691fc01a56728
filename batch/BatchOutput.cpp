#include "batch/BatchOutput.h"

#include <cmath>

#include "core/JsonText.h"
#include "core/Numbers.h"
#include "core/ProjectTables.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

namespace {

std::string Number(int64_t value) { return std::to_string(value); }

std::string SampleList(const FileMemoClass& document, int32_t from, int32_t to, bool right) {
  std::string list = "[";
  list.reserve(static_cast<size_t>(to - from + 1) * 7 + 2);
  for (int32_t position = from; position <= to; ++position) {
    if (position > from) list += ',';
    list += Number(right ? document.WaveR(position) : document.WaveL(position));
  }
  return list + "]";
}

// JSON has no infinity: a silent slide's figures are null.
std::string Decibels(double value) {
  return std::isfinite(value) ? FormatOneDecimal(value) : "null";
}

}  // namespace

std::string InfoJson(const FileMemoClass& document, const std::string& undoCaption) {
  const ProjectData& project = Project();
  std::string json = "{\"channels\":" + Number(document.WavFmtChannel) +
                     ",\"rate\":" + Number(document.WavFmtFreq) +
                     ",\"bits\":" + Number(document.WavFmtBits) +
                     ",\"length\":" + Number(document.WavWaveINos) +
                     ",\"changed\":" + (Editor().WaveChanged ? "true" : "false") +
                     ",\"undo\":" + JsonString(undoCaption) + ",\"slides\":[";
  for (int32_t n = 1; n <= project.SlideCount; ++n) {
    const SlideInfo& slide = project.Slides[static_cast<size_t>(n)];
    if (n > 1) json += ',';
    json += "{\"title\":" + JsonString(slide.Title) + ",\"track\":" + JsonString(slide.Track) +
            ",\"start\":" + Number(slide.Start) +
            ",\"end\":" + Number(SlideEndPosition(n, document.WavWaveINos)) + "}";
  }
  json += "],\"markers\":[";
  for (int32_t m = 1; m <= project.MarkerCount; ++m) {
    const MarkerInfo& marker = project.Markers[static_cast<size_t>(m)];
    if (m > 1) json += ',';
    json += "{\"kind\":" + Number(marker.Kind) + ",\"position\":" + Number(marker.Position) +
            ",\"slide\":" + Number(marker.Slide) + "}";
  }
  return json + "]}";
}

std::string SamplesJson(const FileMemoClass& document, int32_t from, int32_t to) {
  std::string json = "{\"left\":" + SampleList(document, from, to, false);
  if (document.WavFmtChannel == 2) json += ",\"right\":" + SampleList(document, from, to, true);
  return json + "}";
}

std::string LoudnessJson(const std::vector<SlideLoudness>& slides) {
  std::string json = "{\"slides\":[";
  for (const SlideLoudness& slide : slides) {
    if (&slide != &slides.front()) json += ',';
    json += "{\"slide\":" + Number(slide.slide) + ",\"integrated\":" + Decibels(slide.integrated) +
            ",\"true_peak\":" + Decibels(slide.truePeak) + "}";
  }
  return json + "]}";
}

}  // namespace quorvane
