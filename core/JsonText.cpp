#include "core/JsonText.h"

#include <cstdio>

namespace quorvane {

namespace {

// Length of the valid UTF-8 sequence starting at `i`, or 0 when it is not valid.
size_t Utf8SequenceLength(std::string_view text, size_t i) {
  const auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
  const unsigned char lead = byte(i);
  size_t length = 0;
  uint32_t minimum = 0;
  uint32_t code = 0;
  if (lead < 0x80) return 1;
  if ((lead & 0xE0) == 0xC0)
    length = 2, minimum = 0x80, code = lead & 0x1F;
  else if ((lead & 0xF0) == 0xE0)
    length = 3, minimum = 0x800, code = lead & 0x0F;
  else if ((lead & 0xF8) == 0xF0)
    length = 4, minimum = 0x10000, code = lead & 0x07;
  else
    return 0;
  if (i + length > text.size()) return 0;
  for (size_t k = 1; k < length; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80) return 0;
    code = (code << 6) | (byte(i + k) & 0x3F);
  }
  if (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return 0;
  return length;
}

}  // namespace

std::string JsonString(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 2);
  out += '"';
  for (size_t i = 0; i < text.size();) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    switch (c) {
      case '"':
        out += "\\\"";
        ++i;
        continue;
      case '\\':
        out += "\\\\";
        ++i;
        continue;
      case '\n':
        out += "\\n";
        ++i;
        continue;
      case '\r':
        out += "\\r";
        ++i;
        continue;
      case '\t':
        out += "\\t";
        ++i;
        continue;
      default:
        break;
    }
    if (c < 0x20) {
      char buffer[8];
      std::snprintf(buffer, sizeof buffer, "\\u%04x", c);
      out += buffer;
      ++i;
      continue;
    }
    const size_t length = Utf8SequenceLength(text, i);
    if (length == 0) {
      out += "\xEF\xBF\xBD";
      ++i;
    } else {
      out.append(text.substr(i, length));
      i += length;
    }
  }
  out += '"';
  return out;
}

}  // namespace quorvane
