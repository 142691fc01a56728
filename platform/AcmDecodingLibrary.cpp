#include "platform/AcmDecodingLibrary.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/CompressedWavDecoder.h"

namespace quorvane {

namespace {

// The objects handed out so far. Callers hold a shared reference while they use one, so
// destroying an object (which waits for its worker) never happens under the table's lock.
class DecoderTable {
 public:
  int32_t Add(std::shared_ptr<CompressedWavDecoder> decoder) {
    std::lock_guard lock(mutex_);
    do {
      next_ = next_ == INT32_MAX ? 1 : next_ + 1;
    } while (decoders_.contains(next_));
    decoders_.emplace(next_, std::move(decoder));
    return next_;
  }

  std::shared_ptr<CompressedWavDecoder> Find(int32_t handle) {
    std::lock_guard lock(mutex_);
    const auto found = decoders_.find(handle);
    return found == decoders_.end() ? nullptr : found->second;
  }

  std::shared_ptr<CompressedWavDecoder> Remove(int32_t handle) {
    std::lock_guard lock(mutex_);
    const auto found = decoders_.find(handle);
    if (found == decoders_.end()) return nullptr;
    auto decoder = std::move(found->second);
    decoders_.erase(found);
    return decoder;
  }

 private:
  std::mutex mutex_;
  std::map<int32_t, std::shared_ptr<CompressedWavDecoder>> decoders_;
  int32_t next_ = 0;
};

DecoderTable& Decoders() {
  static DecoderTable table;
  return table;
}

}  // namespace

int32_t xAcm_CreateObject(const char* settingsFileName) {
  try {
    return Decoders().Add(
        std::make_shared<CompressedWavDecoder>(settingsFileName ? settingsFileName : ""));
  } catch (const std::exception&) {
    return 0;
  }
}

void xAcm_DestroyObject(int32_t handle) {
  // The last reference goes here, outside the table's lock: the worker is stopped and
  // joined before this returns.
  Decoders().Remove(handle).reset();
}

int32_t xAcm_DecodeFile(int32_t handle, const char* compressedFileName,
                        const char* destinationFileName) {
  const auto decoder = Decoders().Find(handle);
  if (!decoder || !compressedFileName || !destinationFileName) return 0;
  try {
    return decoder->DecodeFile(compressedFileName, destinationFileName) ? 1 : 0;
  } catch (const std::exception&) {
    return 0;
  }
}

int32_t xAcm_GetDecodingPercent(int32_t handle) {
  const auto decoder = Decoders().Find(handle);
  return decoder ? decoder->DecodingPercent() : kDecodingFailed;
}

int32_t xAcm_GetErrorString(int32_t handle, char* buffer, int32_t bufferSize) {
  if (!buffer || bufferSize < 1) return 0;
  const auto decoder = Decoders().Find(handle);
  std::string text;
  try {
    text = decoder ? decoder->ErrorString() : std::string("The decoding object does not exist.");
  } catch (const std::exception&) {
    text.clear();
  }
  size_t length = std::min(text.size(), static_cast<size_t>(bufferSize) - 1);
  // Never cut a UTF-8 character in two.
  if (length < text.size()) {
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) --length;
  }
  std::memcpy(buffer, text.data(), length);
  buffer[length] = '\0';
  return static_cast<int32_t>(length + 1);
}

}  // namespace quorvane
