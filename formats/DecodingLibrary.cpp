#include "formats/DecodingLibrary.h"

#include "platform/AcmDecodingLibrary.h"

namespace quorvane {

namespace {

class FfmpegDecodingLibrary : public DecodingLibrary {
 public:
  int32_t xAcm_CreateObject(const std::string& settingsFileName) override {
    return quorvane::xAcm_CreateObject(settingsFileName.c_str());
  }
  void xAcm_DestroyObject(int32_t handle) override { quorvane::xAcm_DestroyObject(handle); }
  int32_t xAcm_DecodeFile(int32_t handle, const std::string& compressedFileName,
                          const std::string& destinationFileName) override {
    return quorvane::xAcm_DecodeFile(handle, compressedFileName.c_str(),
                                     destinationFileName.c_str());
  }
  int32_t xAcm_GetDecodingPercent(int32_t handle) override {
    return quorvane::xAcm_GetDecodingPercent(handle);
  }
  int32_t xAcm_GetErrorString(int32_t handle, char* buffer, int32_t bufferSize) override {
    return quorvane::xAcm_GetErrorString(handle, buffer, bufferSize);
  }
};

}  // namespace

DecodingLibrary& SystemDecodingLibrary() {
  static FfmpegDecodingLibrary library;
  return library;
}

}  // namespace quorvane
