#include "formats/CodecLstFrm.h"

#include <string_view>
#include <vector>

#include "formats/WaveFormatTags.h"

namespace quorvane {

namespace {

std::vector<std::string_view> Split(std::string_view text, std::string_view separator) {
  std::vector<std::string_view> parts;
  size_t start = 0;
  for (size_t found; (found = text.find(separator, start)) != std::string_view::npos;
       start = found + separator.size()) {
    parts.push_back(text.substr(start, found - start));
  }
  parts.push_back(text.substr(start));
  return parts;
}

}  // namespace

CodecLstFrm::CodecLstFrm() {
  // The text box holds CR LF lines whatever line ends the file in the tree has.
  std::string_view table = WaveFormatTagsText();
  while (!table.empty() && (table.back() == '\n' || table.back() == '\r')) table.remove_suffix(1);
  for (std::string_view line : Split(table, "\n")) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (!CodecTxt.empty()) CodecTxt += "\r\n";
    CodecTxt += line;
  }
}

void CodecLstFrm::GetCodedInfo(int16_t FormatTagNo, std::string& FormatTagTx4,
                               std::string& FormatTagTxLong, std::string& CompanyName,
                               std::string& CodecDesc) const {
  const std::string key = "Tag" + std::to_string(FormatTagNo);
  std::vector<std::string_view> fields;
  for (const std::string_view line : Split(CodecTxt, "\r\n")) {
    // A line without "=" is all key and has no fields.
    const size_t equals = line.find('=');
    if (line.substr(0, equals) != key) continue;
    if (equals != std::string_view::npos) fields = Split(line.substr(equals + 1), "|");
    break;
  }
  auto field = [&fields](size_t index, const char* replacement) {
    return index < fields.size() && !fields[index].empty() ? std::string(fields[index])
                                                           : std::string(replacement);
  };
  FormatTagTx4 = field(0, "????");
  FormatTagTxLong = field(1, "Unknown");
  CompanyName = field(2, "Unknown");
  CodecDesc = field(3, "Unknown");
}

}  // namespace quorvane
