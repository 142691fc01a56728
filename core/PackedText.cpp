#include "core/PackedText.h"

#include "core/Numbers.h"

namespace quorvane {

void PackText(const std::string& text, std::vector<int32_t>& out) {
  if (text.empty()) {
    out.push_back(1);
    out.push_back(0);
    return;
  }
  const int32_t last = RoundHalfEven(static_cast<double>(text.size()) / 4.0 + 2.0);
  const size_t first = out.size();
  out.resize(first + static_cast<size_t>(last) + 1, 0);
  out[first] = last;
  out[first + 1] = static_cast<int32_t>(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    auto& element = out[first + 2 + i / 4];
    const uint32_t byte = static_cast<unsigned char>(text[i]);
    element = static_cast<int32_t>(static_cast<uint32_t>(element) | (byte << (8 * (i % 4))));
  }
}

bool UnpackText(const std::vector<int32_t>& in, size_t& at, std::string& text) {
  if (at + 1 >= in.size()) return false;
  const int32_t last = in[at];
  const int32_t length = in[at + 1];
  if (last < 1 || length < 0 || at + static_cast<size_t>(last) >= in.size() ||
      static_cast<size_t>(length) > 4 * static_cast<size_t>(last - 1)) {
    return false;
  }
  text.resize(static_cast<size_t>(length));
  for (size_t i = 0; i < text.size(); ++i) {
    const auto element = static_cast<uint32_t>(in[at + 2 + i / 4]);
    text[i] = static_cast<char>((element >> (8 * (i % 4))) & 0xFF);
  }
  at += static_cast<size_t>(last) + 1;
  return true;
}

}  // namespace quorvane
