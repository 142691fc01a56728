// Audio on the clipboard: a text of seven fields that describes the copied audio, and one
// description file per channel ("InfoLeft.dat", "InfoRight.dat") in the settings folder
// that lists the clip's blocks. The blocks stay in this editor's temporary files, held by
// the clip buffers; another running editor takes them over from the description files.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

class BlockCarrBuffClass;
class FileMemoClass;

inline constexpr const char* kClipTag = "TarnuvoWaveEditorClip";

// The identifier of this editor's clip on the clipboard; 0 when it has none.
int32_t ClipPointer();

// The folder of the description files: the settings file's folder, named by field 6.
std::string ClipboardFolder();

// Channels 0 copies both buffers, 1 the left, 2 the right. A clip of up to ten minutes is
// also offered to other programs as WAV audio, made from the clip when one asks. False
// (after a message captioned "Error Copying") when the copy failed.
bool ClipboardCopy(int32_t Channels, int32_t BitsPerSample, int32_t SampleRate,
                   const BlockCarrBuffClass& LeftBuffer, const BlockCarrBuffClass& RightBuffer);

// Whether the clipboard's text is an editor's clip.
bool ClipboardHoldsClip();

// Fills the buffers the document needs for Channels (0 both, 1 left, 2 right) with the
// clip, converted to the document's bits per sample. False, after its message, when the
// clipboard holds no clip or the person declines a clip of another sample rate.
bool ClipboardPaste(const FileMemoClass& document, BlockCarrBuffClass& LeftBuffer,
                    BlockCarrBuffClass& RightBuffer, int32_t Channels);

// At the end of a session: clears the clipboard when it still holds this editor's clip,
// and drops the clip buffers.
void ClipboardRelease();

}  // namespace quorvane
