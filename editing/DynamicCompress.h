// Dynamic Compress/Expand: every sample of the selected range scaled so that the average
// loudness of the window around it moves to a target level, except where that average is
// below a cut-off, so that near-silent passages are not turned into noise.
#pragma once

#include <cstdint>

#include "editing/DynCompFrm.h"

namespace quorvane {

class BlockCarrBuffClass;
class FileMemoClass;

// One channel: Result is made here, as long as Source. D in seconds, T and C in percent.
// A window whose rounded average is 0 with a cut-off of 0 is the run-time error
// "Division by zero".
void DynamicProcessChannel(const BlockCarrBuffClass& Source, int32_t SampleRate, int32_t Bits,
                           float D, int32_t T, int32_t C, BlockCarrBuffClass& Result,
                           float ProgressShare);

// The command with checked values: replaces the range as "Dynamic Compress/Expand". False
// when nothing changed (no range, or a run-time error after its message).
bool DynamicCompressExpand(FileMemoClass& document, const DynamicParameters& values);

}  // namespace quorvane
