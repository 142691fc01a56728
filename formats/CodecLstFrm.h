// The codec list: the table of registered WAVE format tags, with which the WAV reader
// names the format of a file it could not decode.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

class CodecLstFrm {
 public:
  // Fills CodecTxt with the table compiled into the program.
  CodecLstFrm();

  // The table text, lines separated by CR LF; the first line is "[Codec]".
  std::string CodecTxt;

  // The four fields of the tag's line: hexadecimal text, name, company and description.
  // A field that is missing or empty gives "????" for the hexadecimal text and "Unknown"
  // for the others.
  void GetCodedInfo(int16_t FormatTagNo, std::string& FormatTagTx4, std::string& FormatTagTxLong,
                    std::string& CompanyName, std::string& CodecDesc) const;
};

}  // namespace quorvane
