// Audio on the desktop clipboard as other programs take and give it: a copied clip as a
// WAV file's bytes beside the editor's own clip text, and WAV audio another program copied
// pasted as an insert.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

class FileMemoClass;

// Longer stretches go on the clipboard as the editor's own clip alone.
inline constexpr int32_t kLongestClipboardWavSeconds = 600;

class BlockCarrBuffClass;

// The samples of one carrier, or of two as the left and right channel, as the bytes of a
// PCM WAV file.
std::string CarriersAsWav(const BlockCarrBuffClass& left, const BlockCarrBuffClass* right,
                          int32_t bits, int32_t rate);

// Inserts the WAV audio on the clipboard before `position` as the undo item "Paste",
// brought to the document's format as an inserted file is. False when the clipboard holds
// none or it could not be read (after the reader's message). With `keptAs`, the journal
// keeps the audio and the kept file's name goes there.
bool PasteClipboardWav(FileMemoClass& document, int32_t position, std::string* keptAs = nullptr);

}  // namespace quorvane
