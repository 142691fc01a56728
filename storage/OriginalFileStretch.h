// Whether a stretch of the document still reads, untouched, from one original file: a save
// can leave such a file alone instead of writing the same samples into it again.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

class FileMemoClass;

// A digest of where the samples of [first, last] lie, when every block of the stretch in
// every channel reads from the original file `fileName` in the document's own channel
// count, sample size and rate, the first block beginning at `first` and the last ending at
// `last`; 0 otherwise. Equal digests mean the same bytes of the same file in the same
// order.
uint64_t OriginalFileLayout(const FileMemoClass& document, int32_t first, int32_t last,
                            const std::string& fileName);

// The original file the left (or only) channel's sample at `position` is read from; empty
// when that sample lies in memory, a temporary file or nowhere.
std::string OriginalFileAt(const FileMemoClass& document, int32_t position);

}  // namespace quorvane
