// Level Slides: brings each chosen slide to one integrated loudness by a gain of its own,
// never letting its true peak rise above -1 dBTP, and replaces the slides as one undo item
// "Level Slides". Silent slides keep their samples.
#pragma once

#include <cstdint>
#include <vector>

#include "editing/SlideLoudness.h"

namespace quorvane {

class FileMemoClass;

inline constexpr double kMonoLoudnessTarget = -19.0;    // LUFS, speech in one channel
inline constexpr double kStereoLoudnessTarget = -16.0;  // LUFS
inline constexpr double kTruePeakCeiling = -1.0;        // dBTP
// The targets accepted, in LUFS.
inline constexpr double kQuietestLoudnessTarget = -70.0;
inline constexpr double kLoudestLoudnessTarget = 0.0;

// The target the dialog and the batch tool start from for a document of `channels`.
double DefaultLoudnessTarget(int32_t channels);

// What leveling did (or would do) to one slide.
struct SlideLevel {
  SlideLoudness before;
  SlideLoudness after;       // measured again once the gain is applied
  double gain = 0.0;         // dB; 0 for a silent slide
  bool peakLimited = false;  // the gain was lowered to keep the true peak at the ceiling
  bool changed = false;      // false for a silent slide, left alone
};

// The gain in dB that brings `before` to `target` LUFS without its true peak passing the
// ceiling; peakLimited tells whether the ceiling decided it. Nothing for a silent slide.
bool LevelGain(const SlideLoudness& before, double target, double& gain, bool& peakLimited);

// Levels the slides listed to `target` LUFS and tells what it did to each in `levels`.
// False when the document is unchanged (every slide silent, or a run-time error after its
// message).
bool LevelSlides(FileMemoClass& document, const std::vector<int32_t>& slides, double target,
                 std::vector<SlideLevel>& levels);

}  // namespace quorvane
