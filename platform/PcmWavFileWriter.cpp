#include "platform/PcmWavFileWriter.h"

#include <array>
#include <bit>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "platform/DecodeFailure.h"

namespace quorvane {

static_assert(std::endian::native == std::endian::little,
              "samples are written to the file in memory order");

namespace {

// The largest data size whose RIFF size (data + 36) still fits the header's 32 bits.
constexpr uint64_t kMaxDataBytes = 0xFFFFFFFFULL - 36;

void PutLe16(uint8_t* at, uint32_t value) {
  at[0] = static_cast<uint8_t>(value);
  at[1] = static_cast<uint8_t>(value >> 8);
}

void PutLe32(uint8_t* at, uint32_t value) {
  PutLe16(at, value & 0xFFFF);
  PutLe16(at + 2, value >> 16);
}

}  // namespace

PcmWavFileWriter::PcmWavFileWriter(const std::string& path)
    : path_(path), file_(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)) {
  if (!file_.IsOpen()) {
    throw DecodeFailure(std::string("The decoded file cannot be created (") + std::strerror(errno) +
                        "): " + path);
  }
}

void PcmWavFileWriter::WriteAll(const void* bytes, size_t size, uint64_t offset) {
  const auto* next = static_cast<const uint8_t*>(bytes);
  while (size > 0) {
    const ssize_t written = ::pwrite(file_.Descriptor(), next, size, static_cast<off_t>(offset));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      throw DecodeFailure(std::string("Writing the decoded file failed (") +
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
    throw DecodeFailure("The decoded audio is too long for a WAV file (more than 4 GB).");
  }
  WriteAll(samples, static_cast<size_t>(bytes), kCanonicalWavHeaderSize + dataBytes_);
  dataBytes_ += bytes;
}

void PcmWavFileWriter::Finish(int channels, uint32_t sampleRate) {
  const auto channelCount = static_cast<uint32_t>(channels);
  const uint32_t blockAlign = channelCount * 2;
  const auto dataSize = static_cast<uint32_t>(dataBytes_);
  std::array<uint8_t, kCanonicalWavHeaderSize> header{};
  std::memcpy(header.data(), "RIFF", 4);
  PutLe32(header.data() + 4, dataSize + 36);
  std::memcpy(header.data() + 8, "WAVEfmt ", 8);
  PutLe32(header.data() + 16, 16);
  PutLe16(header.data() + 20, 1);  // PCM
  PutLe16(header.data() + 22, channelCount);
  PutLe32(header.data() + 24, sampleRate);
  PutLe32(header.data() + 28, sampleRate * blockAlign);
  PutLe16(header.data() + 32, blockAlign);
  PutLe16(header.data() + 34, 16);
  std::memcpy(header.data() + 36, "data", 4);
  PutLe32(header.data() + 40, dataSize);
  WriteAll(header.data(), header.size(), 0);
  if (!file_.Close()) {
    throw DecodeFailure(std::string("Writing the decoded file failed (") + std::strerror(errno) +
                        "): " + path_);
  }
}

}  // namespace quorvane
