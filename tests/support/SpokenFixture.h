// Narration as it is recorded at home, made with nothing downloaded: espeak-ng sentences
// 2 s apart, mixed with pink noise and a 50 Hz hum each 20 dB below the speech. The tests
// and the benchmarks of the voice clean-up measure on it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace quorvane::testing {

struct SpokenFixture {
  std::vector<int16_t> clean;
  std::vector<int16_t> noisy;
  std::vector<std::pair<size_t, size_t>> speech;  // [first, end) of each sentence
  // The pauses between the sentences, without 100 ms at either edge.
  std::vector<std::pair<size_t, size_t>> Pauses(int32_t rate) const;
};

// Mono at `rate`, made with espeak-ng and sox in `folder`; empty when either fails.
SpokenFixture MakeSpokenFixture(const std::string& folder, int32_t rate);

// The RMS in dBFS over the stretches [first, end).
double StretchesDb(const std::vector<int16_t>& samples,
                   const std::vector<std::pair<size_t, size_t>>& stretches);

}  // namespace quorvane::testing
