// Audio on the desktop clipboard as other programs take and give it: a copied stretch as a
// WAV file's bytes beside the editor's own clip, and WAV audio another program copied
// pasted as an insert.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

class FileMemoClass;

// Longer stretches go on the clipboard as the editor's own clip alone.
inline constexpr int32_t kLongestClipboardWavSeconds = 600;

// Samples first..last of the chosen channels (0 both, 1 left, 2 right) as the bytes of a
// PCM WAV file; empty when the stretch is longer than ten minutes.
std::string StretchAsWav(FileMemoClass& document, int32_t first, int32_t last, int32_t channels);

// Inserts the WAV audio on the clipboard before `position` as the undo item "Paste",
// brought to the document's format as an inserted file is. False when the clipboard holds
// none or it could not be read (after the reader's message).
bool PasteClipboardWav(FileMemoClass& document, int32_t position);

}  // namespace quorvane
