// Writes a 16-bit PCM WAV file with the canonical 44-byte header while the samples are
// still arriving: the header's place is reserved first and filled in by Finish, when the
// sizes are known. Only what Append is given passes through; nothing is kept in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/FileHandle.h"

namespace quorvane {

class PcmWavFileWriter {
 public:
  // Creates (readable by the user alone: decoded audio is temporary) or empties the file.
  // Throws RuntimeError when it cannot be created.
  explicit PcmWavFileWriter(const std::string& path);

  // Writes interleaved samples after those written before. Throws RuntimeError when the
  // disk refuses them or the data would outgrow what a WAV header can state.
  void Append(const int16_t* samples, size_t count);

  // Writes the header and closes the file; throws RuntimeError when that fails.
  void Finish(int channels, uint32_t sampleRate);

  uint64_t DataBytes() const { return dataBytes_; }

 private:
  void WriteAll(const void* bytes, size_t size, uint64_t offset);

  std::string path_;
  FileHandle file_;
  uint64_t dataBytes_ = 0;
};

}  // namespace quorvane
