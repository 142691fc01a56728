// Sample-by-sample changes that depend on nothing but the sample's value (a gain, a change
// of bits per sample), applied to a whole carrier block by block through a table of all
// 65,536 results: each value is computed once, exactly as the single-sample formula gives
// it, and the sample loop is one table read.
#pragma once

#include <array>
#include <cstdint>

#include "editing/EffectProgress.h"

namespace quorvane {

class BlockCarrBuffClass;

using SampleTable = std::array<int16_t, 65536>;  // entry s + 32768 is the result for s

// Full scale and the lower clipping limit of a document's samples: 127 / -128 for 8 bits,
// 32767 / -32768 for 16.
int32_t FullScale(int32_t bits);
int32_t LowerLimit(int32_t bits);

// gain x s rounded half to even, clipped to the limits of `bits`.
SampleTable GainTable(double gain, int32_t bits);

// Every sample of the carrier replaced by its entry in the table, into fresh blocks (the
// block list keeps them under its budget); silence blocks stay silence when the table maps
// 0 to 0. The progress is written every 100,000 samples.
void MapCarrierSamples(BlockCarrBuffClass& carrier, const SampleTable& table,
                       const EffectProgress& progress);

// The largest absolute sample value of the carrier (0 for silence), read where the samples
// lie; the progress is written every 100,000 samples.
int32_t CarrierPeak(const BlockCarrBuffClass& carrier, const EffectProgress& progress);

}  // namespace quorvane
