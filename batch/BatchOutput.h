// The JSON the batch tool prints: one object on one line per "info" or "samples".
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "editing/SlideLoudness.h"

namespace quorvane {

class FileMemoClass;

// channels, rate, bits, length, changed, undo, slides (title, track, start, end) and
// markers (kind, position, slide) in table order.
std::string InfoJson(const FileMemoClass& document, const std::string& undoCaption);

// left and, for two channels, right: the sample values at positions from..to.
std::string SamplesJson(const FileMemoClass& document, int32_t from, int32_t to);

// slides (slide, integrated in LUFS, true_peak in dBTP, one decimal each; null where the
// slide is silent).
std::string LoudnessJson(const std::vector<SlideLoudness>& slides);

}  // namespace quorvane
