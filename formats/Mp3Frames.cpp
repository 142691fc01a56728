#include "formats/Mp3Frames.h"

#include <array>
#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

namespace quorvane {

namespace {

struct FrameHeader {
  int64_t length = 0;    // bytes, header included
  int32_t sideInfo = 0;  // bytes of Layer III side information after the header
};

// Kilobits per second by version (0: MPEG-1, 1: MPEG-2 and 2.5), layer (0: I, 1: II,
// 2: III) and index; 0 is the free format, which has no length of its own.
constexpr int32_t kBitrates[2][3][15] = {
    {{0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
     {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
     {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320}},
    {{0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
     {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
     {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160}}};
constexpr int32_t kRates[3] = {44100, 48000, 32000};

// The frame whose header starts at `at`; false when these bytes are no frame header.
bool ParseHeader(const uint8_t* at, FrameHeader& header) {
  if (at[0] != 0xFF || (at[1] & 0xE0) != 0xE0) return false;
  const int version = (at[1] >> 3) & 3;  // 0: 2.5, 2: 2, 3: 1
  const int layerBits = (at[1] >> 1) & 3;
  const int bitrateIndex = at[2] >> 4;
  const int rateIndex = (at[2] >> 2) & 3;
  if (version == 1 || layerBits == 0 || bitrateIndex == 0 || bitrateIndex == 15 || rateIndex == 3) {
    return false;
  }
  const int layer = 3 - layerBits;  // 0: I, 1: II, 2: III
  const bool mpeg1 = version == 3;
  const int64_t bitrate = kBitrates[mpeg1 ? 0 : 1][layer][bitrateIndex] * 1000;
  const int64_t rate = kRates[rateIndex] / (mpeg1 ? 1 : version == 2 ? 2 : 4);
  const int padding = (at[2] >> 1) & 1;
  if (layer == 0) {
    header.length = (12 * bitrate / rate + padding) * 4;
  } else {
    const int64_t perFrame = layer == 2 && !mpeg1 ? 72 : 144;
    header.length = perFrame * bitrate / rate + padding;
  }
  const bool mono = (at[3] >> 6) == 3;
  header.sideInfo = layer != 2 ? 0 : mpeg1 ? (mono ? 17 : 32) : (mono ? 9 : 17);
  return header.length > 4;
}

uint32_t BigEndian32(const uint8_t* at) {
  return (uint32_t{at[0]} << 24) | (uint32_t{at[1]} << 16) | (uint32_t{at[2]} << 8) | at[3];
}

// Where an ID3v2 tag at the start ends (0 without one).
size_t AfterId3v2(const std::vector<uint8_t>& bytes) {
  if (bytes.size() < 10 || std::memcmp(bytes.data(), "ID3", 3) != 0) return 0;
  const size_t size =
      (size_t{bytes[6]} << 21) | (size_t{bytes[7]} << 14) | (size_t{bytes[8]} << 7) | bytes[9];
  const bool footer = (bytes[5] & 0x10) != 0;
  return 10 + size + (footer ? 10 : 0);
}

// Tags that may follow the last frame.
bool TrailingTag(const std::vector<uint8_t>& bytes, size_t at) {
  const auto starts = [&](const char* tag) {
    const size_t length = std::strlen(tag);
    return at + length <= bytes.size() && std::memcmp(bytes.data() + at, tag, length) == 0;
  };
  return starts("TAG") || starts("APETAGEX") || starts("LYRICSBEGIN") || starts("ID3");
}

}  // namespace

Mp3FrameWalk WalkMp3Frames(const std::string& path) {
  Mp3FrameWalk walk;
  std::ifstream in(path, std::ios::binary);
  if (!in) return walk;
  const std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                                   std::istreambuf_iterator<char>());
  size_t at = AfterId3v2(bytes);
  bool first = true;
  while (at + 4 <= bytes.size()) {
    FrameHeader header;
    if (!ParseHeader(bytes.data() + at, header)) {
      if (TrailingTag(bytes, at)) break;
      ++at;  // junk between frames: look for the next header, as decoders do
      continue;
    }
    if (at + static_cast<size_t>(header.length) > bytes.size()) {
      // A frame cut off near the end, unless these bytes only looked like a header.
      walk.lastFrameCut = walk.frames > 0 || !first;
      break;
    }
    if (first) {
      const size_t tag = at + 4 + static_cast<size_t>(header.sideInfo);
      if (tag + 12 <= bytes.size() && (std::memcmp(bytes.data() + tag, "Xing", 4) == 0 ||
                                       std::memcmp(bytes.data() + tag, "Info", 4) == 0)) {
        if ((BigEndian32(bytes.data() + tag + 4) & 1) != 0) {
          walk.declaredFrames = BigEndian32(bytes.data() + tag + 8);
        }
        first = false;
        at += static_cast<size_t>(header.length);
        continue;
      }
    }
    first = false;
    ++walk.frames;
    at += static_cast<size_t>(header.length);
  }
  // The first bytes of a frame header, and nothing after them.
  if (at < bytes.size() && at + 4 > bytes.size() && bytes[at] == 0xFF && walk.frames > 0) {
    walk.lastFrameCut = true;
  }
  walk.readable = walk.frames > 0;
  return walk;
}

}  // namespace quorvane
