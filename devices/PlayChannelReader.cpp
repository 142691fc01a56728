#include "devices/PlayChannelReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "platform/WaveSamples.h"

namespace quorvane {

PlayChannelReader::PlayChannelReader(std::vector<PlaySegment> segments)
    : segments_(std::move(segments)) {
  for (const PlaySegment& segment : segments_) length_ += segment.Length;
}

void PlayChannelReader::Rewind() {
  segment_ = 0;
  offset_ = 0;
}

bool PlayChannelReader::Read(int16_t* out, int32_t count, int32_t stride, std::string& failure) {
  bool whole = true;
  while (count > 0) {
    if (segment_ >= segments_.size()) {
      for (int32_t i = 0; i < count; ++i) out[static_cast<std::ptrdiff_t>(i) * stride] = 0;
      return whole;
    }
    const PlaySegment& segment = segments_[segment_];
    const int32_t take = std::min(count, segment.Length - offset_);
    whole = ReadSegment(segment, offset_, out, take, stride, failure) && whole;
    out += static_cast<std::ptrdiff_t>(take) * stride;
    count -= take;
    offset_ += take;
    if (offset_ >= segment.Length) {
      ++segment_;
      offset_ = 0;
    }
  }
  return whole;
}

bool PlayChannelReader::ReadSegment(const PlaySegment& segment, int32_t offset, int16_t* out,
                                    int32_t count, int32_t stride, std::string& failure) {
  const auto silence = [&] {
    for (int32_t i = 0; i < count; ++i) out[static_cast<std::ptrdiff_t>(i) * stride] = 0;
  };
  if (segment.Kind != 3 && segment.Kind != 4) {
    silence();
    return true;
  }
  // Temporary files hold the document's 16-bit values one after another; a source file
  // interleaves its channels, so a channel's samples lie a frame apart.
  const int32_t sampleBytes = segment.Kind == 4 && segment.Bits == 8 ? 1 : 2;
  const int32_t frameBytes = segment.Kind == 4 ? sampleBytes * std::max(segment.Channels, 1) : 2;
  const size_t wanted = static_cast<size_t>(count - 1) * frameBytes + sampleBytes;
  bytes_.resize(std::max(bytes_.size(), wanted));
  const int descriptor = OpenFile(segment.FileName, failure);
  ssize_t got = 0;
  if (descriptor >= 0) {
    const off_t at =
        static_cast<off_t>(segment.FilePosition) - 1 + static_cast<off_t>(offset) * frameBytes;
    got = ::pread(descriptor, bytes_.data(), wanted, at);
    if (got < 0) {
      failure = segment.FileName + ": " + std::strerror(errno);
      got = 0;
    }
  }
  silence();
  const size_t available = static_cast<size_t>(got);
  for (int32_t i = 0; i < count; ++i) {
    const size_t at = static_cast<size_t>(i) * frameBytes;
    if (at + sampleBytes > available) break;
    int16_t& sample = out[static_cast<std::ptrdiff_t>(i) * stride];
    sample = DecodeWaveSample(bytes_.data() + at, sampleBytes);
  }
  if (descriptor >= 0 && available < wanted && failure.empty()) {
    failure = segment.FileName + ": the file ends before the audio it should hold";
  }
  return descriptor >= 0 && available >= wanted;
}

int PlayChannelReader::OpenFile(const std::string& name, std::string& failure) {
  auto found = files_.find(name);
  if (found == files_.end()) {
    FileHandle file(::open(name.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.IsOpen()) {
      failure = name + ": " + std::strerror(errno);
      return -1;
    }
    found = files_.emplace(name, std::move(file)).first;
  }
  return found->second.Descriptor();
}

}  // namespace quorvane
