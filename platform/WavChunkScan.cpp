#include "platform/WavChunkScan.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/FileHandle.h"
#include "platform/RiffChunkWalk.h"
#include "platform/RiffIds.h"
#include "platform/RuntimeError.h"

namespace quorvane {

namespace {

// 16 and 32-bit fields in the file's byte order.
struct Fields {
  bool big = false;
  uint16_t U16(const uint8_t* bytes) const {
    return big ? static_cast<uint16_t>(bytes[1] | (static_cast<unsigned>(bytes[0]) << 8))
               : static_cast<uint16_t>(bytes[0] | (static_cast<unsigned>(bytes[1]) << 8));
  }
  uint32_t U32(const uint8_t* bytes) const {
    return big ? (static_cast<uint32_t>(U16(bytes)) << 16) | U16(bytes + 2)
               : static_cast<uint32_t>(U16(bytes)) | (static_cast<uint32_t>(U16(bytes + 2)) << 16);
  }
};

// Reads up to `size` bytes at `offset`; the number read (short only at the end of the file).
size_t ReadAt(int fd, void* buffer, size_t size, uint64_t offset) {
  size_t done = 0;
  while (done < size) {
    const ssize_t got = ::pread(fd, static_cast<uint8_t*>(buffer) + done, size - done,
                                static_cast<off_t>(offset + done));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0)
      throw RuntimeError(kErrorDeviceIo, std::string("Reading the compressed file failed (") +
                                             std::strerror(errno) + ").");
    if (got == 0) break;
    done += static_cast<size_t>(got);
  }
  return done;
}

}  // namespace

WavChunkLayout ScanWavChunks(const std::string& path) {
  FileHandle file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.IsOpen()) {
    throw RuntimeError(kErrorDeviceIo, std::string("The compressed file cannot be opened (") +
                                           std::strerror(errno) + "): " + path);
  }
  struct stat status {};
  if (::fstat(file.Descriptor(), &status) != 0 || !S_ISREG(status.st_mode)) {
    throw RuntimeError(kErrorDeviceIo, "The compressed file is not a regular file: " + path);
  }

  WavChunkLayout layout;
  layout.fileSize = static_cast<uint64_t>(status.st_size);
  const std::string notWav = "The file is not a WAV file: " + path;
  std::array<uint8_t, 12> head{};
  if (ReadAt(file.Descriptor(), head.data(), head.size(), 0) < head.size())
    throw RuntimeError(kErrorDeviceIo, notWav);
  // "RF64" files state their large sizes in a chunk of their own; where a size field says
  // nothing, the data runs to the end of the file, as below. "RIFX" files are big-endian.
  const bool little =
      std::memcmp(head.data(), kRiffId, 4) == 0 || std::memcmp(head.data(), kRf64Id, 4) == 0;
  const Fields fields{std::memcmp(head.data(), kRifxId, 4) == 0};
  if ((!little && !fields.big) || std::memcmp(head.data() + 8, kWaveId, 4) != 0) {
    throw RuntimeError(kErrorDeviceIo, notWav);
  }
  layout.bigEndian = fields.big;

  bool haveFormat = false;
  bool haveData = false;
  const int fd = file.Descriptor();
  WalkRiffChunks(
      [fd](int64_t offset, void* buffer, size_t count) {
        return ReadAt(fd, buffer, count, static_cast<uint64_t>(offset));
      },
      12, static_cast<int64_t>(layout.fileSize) + 1, RiffChunkStep::UnsignedPadded,
      [&](const RiffChunkHeader& chunk) {
        const uint32_t size = chunk.Size;
        const auto body = static_cast<uint64_t>(chunk.DataOffset());
        const auto is = [&chunk](const char* id) {
          return std::memcmp(chunk.Id.data(), id, 4) == 0;
        };
        if (is(kFormatId) && !haveFormat && size >= 16) {
          std::array<uint8_t, 40> format{};
          const size_t got = ReadAt(fd, format.data(), std::min<size_t>(size, 40), body);
          if (got < 16) return false;
          haveFormat = true;
          layout.formatTag = fields.U16(format.data());
          layout.codecTag = layout.formatTag;
          layout.channels = fields.U16(format.data() + 2);
          layout.sampleRate = fields.U32(format.data() + 4);
          // The extensible form names the real format in the first two bytes of its GUID.
          if (layout.formatTag == kWaveFormatExtensible && got >= 26) {
            layout.codecTag = fields.U16(format.data() + 24);
          }
        } else if (is("fact") && !layout.factFrames && size >= 4) {
          std::array<uint8_t, 4> count{};
          if (ReadAt(fd, count.data(), count.size(), body) == count.size()) {
            layout.factFrames = fields.U32(count.data());
          }
        } else if (is(kDataId) && !haveData) {
          haveData = true;
          layout.dataOffset = std::min(body, layout.fileSize);
          const uint64_t present = layout.fileSize - layout.dataOffset;
          // A recorder that never finished its file leaves 0 or a size beyond the end: the
          // data then runs to the end of the file, and no chunk can follow it.
          if (size == 0 || size > present) {
            layout.dataSize = present;
            return false;
          }
          layout.dataSize = size;
        }
        return true;
      },
      fields.big ? RiffByteOrder::Big : RiffByteOrder::Little);

  if (!haveFormat)
    throw RuntimeError(kErrorDeviceIo, "The WAV file has no usable format chunk: " + path);
  if (!haveData) throw RuntimeError(kErrorDeviceIo, "The WAV file has no data chunk: " + path);
  return layout;
}

}  // namespace quorvane
