// The loudness of each slide of the document after EBU R128: integrated loudness in LUFS
// and true peak in dBTP, measured in one pass over the document, both channels at once,
// reading the samples where they lie (nothing is loaded into memory). The integrated
// loudness comes from libebur128; the true peak from TruePeakMeter, whose block-wise filter
// costs a fraction of libebur128's sample-by-sample one.
#pragma once

#include <cstdint>
#include <vector>

namespace quorvane {

class FileMemoClass;

struct SlideLoudness {
  int32_t slide = 0;        // 1-based slide number
  double integrated = 0.0;  // LUFS; -infinity for a slide that is silent (or empty)
  double truePeak = 0.0;    // dBTP; -infinity when every sample is 0
};

// The slides listed (slide numbers), in the order given; the progress display is advanced
// slide by slide. Throws when the meter cannot be set up.
std::vector<SlideLoudness> MeasureSlideLoudness(FileMemoClass& document,
                                                const std::vector<int32_t>& slides);

// 1..SlideCount.
std::vector<int32_t> AllSlides();

// Slide n's stretch of the document: Start to the next slide's Start - 1.
int32_t SlideFirstPosition(int32_t slide);
int32_t SlideLastPosition(int32_t slide, int32_t documentLength);

}  // namespace quorvane
