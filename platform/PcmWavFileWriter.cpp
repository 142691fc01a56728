#include "platform/PcmWavFileWriter.h"

#include <array>
#include <bit>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "platform/CanonicalWaveHeader.h"
#include "platform/RuntimeError.h"

namespace quorvane {

static_assert(std::endian::native == std::endian::little,
              "samples are written to the file in memory order");

namespace {

// The largest data size whose RIFF size (data + 36) still fits the header's 32 bits.
constexpr uint64_t kMaxDataBytes = 0xFFFFFFFFULL - 36;

}  // namespace

PcmWavFileWriter::PcmWavFileWriter(const std::string& path)
    : path_(path), file_(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)) {
  if (!file_.IsOpen()) {
    throw RuntimeError(kErrorDeviceIo, std::string("The decoded file cannot be created (") +
                                           std::strerror(errno) + "): " + path);
  }
}

void PcmWavFileWriter::WriteAll(const void* bytes, size_t size, uint64_t offset) {
  const auto* next = static_cast<const uint8_t*>(bytes);
  while (size > 0) {
    const ssize_t written = ::pwrite(file_.Descriptor(), next, size, static_cast<off_t>(offset));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      throw RuntimeError(kErrorDeviceIo,
                         std::string("Writing the decoded file failed (") +
                             (written < 0 ? std::strerror(errno) : "nothing was written") +
                             "): " + path_);
    }
    next += written;
    size -= static_cast<size_t>(written);
    offset += static_cast<uint64_t>(written);
  }
}

void PcmWavFileWriter::Append(const int16_t* samples, size_t count) {
  const uint64_t bytes = static_cast<uint64_t>(count) * sizeof(int16_t);
  if (dataBytes_ + bytes > kMaxDataBytes) {
    throw RuntimeError(kErrorDeviceIo,
                       "The decoded audio is too long for a WAV file (more than 4 GB).");
  }
  WriteAll(samples, static_cast<size_t>(bytes), kCanonicalHeaderBytes + dataBytes_);
  dataBytes_ += bytes;
}

void PcmWavFileWriter::Finish(int channels, uint32_t sampleRate) {
  const auto header =
      CanonicalWaveHeader(channels, static_cast<int32_t>(sampleRate), 16,
                          channels > 0 ? static_cast<int64_t>(dataBytes_ / (2 * channels)) : 0);
  WriteAll(header.data(), header.size(), 0);
  if (!file_.Close()) {
    throw RuntimeError(kErrorDeviceIo, std::string("Writing the decoded file failed (") +
                                           std::strerror(errno) + "): " + path_);
  }
}

}  // namespace quorvane
