// Why a decoding could not be finished, in plain words for the person at the machine.
// Raised inside the decoder and turned into its error string at the worker's boundary.
#pragma once

#include <stdexcept>
#include <string>

namespace quorvane {

class DecodeFailure : public std::runtime_error {
 public:
  explicit DecodeFailure(const std::string& text) : std::runtime_error(text) {}
};

}  // namespace quorvane
