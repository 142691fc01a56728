// What the user is told about a WAV file the reader refuses or has doubts about: one table
// from each fault to its text, caption and icon.
#pragma once

#include <cstdint>
#include <string>

#include "core/Interaction.h"
#include "formats/WaveLayout.h"

namespace quorvane {

struct WaveMessage {
  std::string text;
  std::string caption;
  MessageIcon icon = MessageIcon::None;
};

// The message of a fault of `layout`, a file opened as `fileName` whose samples were to be
// read from `source` (the decoded file, or the file itself).
WaveMessage WaveFaultMessage(const WaveLayout& layout, const std::string& fileName,
                             const std::string& source);

// The notes a load goes on after: a RIFF size beyond the file, a file beyond what can be
// read, a data chunk longer than the file.
WaveMessage RiffBeyondFileMessage(const std::string& fileName);
WaveMessage TooLargeMessage();
WaveMessage DataBeyondFileMessage(const WaveLayout& layout);

}  // namespace quorvane
