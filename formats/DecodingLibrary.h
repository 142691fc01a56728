// The decoding library as OpenSaveAcmClass sees it: the five operations of the library,
// reached through an interface so that the polling can be tried against a library that
// reports whatever a test needs.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

class DecodingLibrary {
 public:
  virtual ~DecodingLibrary() = default;
  // A handle, 0 on failure.
  virtual int32_t xAcm_CreateObject(const std::string& settingsFileName) = 0;
  virtual void xAcm_DestroyObject(int32_t handle) = 0;
  // Nonzero when decoding has started; it then runs on by itself.
  virtual int32_t xAcm_DecodeFile(int32_t handle, const std::string& compressedFileName,
                                  const std::string& destinationFileName) = 0;
  // 0 to 100 while decoding, 100 when done, negative on failure.
  virtual int32_t xAcm_GetDecodingPercent(int32_t handle) = 0;
  // Characters written into the buffer, including the terminating zero.
  virtual int32_t xAcm_GetErrorString(int32_t handle, char* buffer, int32_t bufferSize) = 0;
};

// The library the program decodes with: our FFmpeg decoder.
DecodingLibrary& SystemDecodingLibrary();

}  // namespace quorvane
