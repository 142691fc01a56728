// A slide's markers in its WAV track as cue points, so that other programs show them too;
// and the cue points of a file inserted into the document, as click markers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/WaveCuePoints.h"

namespace quorvane {

class FileMemoClass;

// The settings' [General] CuePoints: on unless it is 0.
bool CuePointsWanted();

// Slide n's markers as cue points: offsets from the slide's first sample, named
// "Click 1", "Auto 1", ... by kind, in order along the slide.
std::vector<WaveCuePoint> SlideCuePoints(int32_t n);

// The cue points of `file`, whose audio is `frames` frames at `rate` Hz once loaded, as
// offsets from its first frame: one for each point inside the audio.
std::vector<int32_t> CueOffsets(const std::string& file, int32_t frames, int32_t rate);

// Adds a click marker at `first` plus each offset, in the slide that holds it, and records
// them as the end of the operation named `undoName`.
void AddClickMarkers(FileMemoClass& document, int32_t first, const std::vector<int32_t>& offsets,
                     const std::string& undoName);

}  // namespace quorvane
