// The registered WAVE format tags, one line per tag after the line "[Codec]":
// "Tag" + signed decimal tag + "=" + four hexadecimal digits + "|" + name + "|" + company
// + "|" + description. Compiled into the program from formats/wave-format-tags.txt.
#pragma once

#include <string_view>

namespace quorvane {

// The table's text exactly as in the file (lines end in LF).
std::string_view WaveFormatTagsText();

}  // namespace quorvane
