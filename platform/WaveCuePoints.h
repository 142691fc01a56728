// Markers carried in a WAV file as cue points: a `cue ` chunk of sample offsets from the
// file's first frame, and a `LIST` chunk of type `adtl` naming each point with a `labl`.
// The program writes both after the data chunk; other programs show them as markers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quorvane {

struct WaveCuePoint {
  uint32_t Frame = 0;  // from the file's first frame
  std::string Label;
  bool operator==(const WaveCuePoint&) const = default;
};

// The bytes of both chunks, each of even size; empty for no points.
std::vector<unsigned char> CueChunkBytes(const std::vector<WaveCuePoint>& points);

struct WaveCueList {
  uint32_t Rate = 0;  // the file's sample rate, which the frames count in
  std::vector<WaveCuePoint> Points;
};

// The cue points of a RIFF WAV file in order of their frames, each labelled from the
// file's `adtl` list where it names it; no points when the file has none or is not a RIFF
// WAV file. Counts and sizes are trusted only as far as the chunks and the file go.
WaveCueList ReadWaveCuePoints(const std::string& path);

}  // namespace quorvane
