// The five operations of the decoding library as the program calls them: objects are
// reached through 32-bit handles (0 = none), names are 8-bit text, and decoding runs on
// by itself once started. Behind them stands our FFmpeg decoder, CompressedWavDecoder.
#pragma once

#include <cstdint>

namespace quorvane {

// A new decoding object; 0 when it could not be made.
int32_t xAcm_CreateObject(const char* settingsFileName);

// Stops a decoding the object is running and frees the object. Unknown handles are ignored.
void xAcm_DestroyObject(int32_t handle);

// Nonzero when decoding has started; it then runs on by itself.
int32_t xAcm_DecodeFile(int32_t handle, const char* compressedFileName,
                        const char* destinationFileName);

// 0 to 100 while decoding, exactly 100 when done, negative on failure (and for an
// unknown handle).
int32_t xAcm_GetDecodingPercent(int32_t handle);

// Copies the text of the last error (at most bufferSize - 1 bytes, then a zero) and
// returns the number of bytes written including the zero; 0 when nothing could be written.
int32_t xAcm_GetErrorString(int32_t handle, char* buffer, int32_t bufferSize);

}  // namespace quorvane
