#include "platform/WaveCuePoints.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>

#include "platform/RiffChunkWalk.h"
#include "platform/RiffIds.h"

namespace quorvane {

namespace {

constexpr size_t kCueRecordBytes = 24;

void Put32(std::vector<unsigned char>& out, uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8)
    out.push_back(static_cast<unsigned char>(value >> shift));
}

void PutId(std::vector<unsigned char>& out, const char* id) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<unsigned char>(id[i]));
}

uint32_t Get32(const unsigned char* at) {
  return static_cast<uint32_t>(at[0]) | (static_cast<uint32_t>(at[1]) << 8) |
         (static_cast<uint32_t>(at[2]) << 16) | (static_cast<uint32_t>(at[3]) << 24);
}

bool IsId(const std::array<char, 4>& id, const char* wanted) {
  return std::memcmp(id.data(), wanted, 4) == 0;
}

}  // namespace

std::vector<unsigned char> CueChunkBytes(const std::vector<WaveCuePoint>& points) {
  std::vector<unsigned char> out;
  if (points.empty()) return out;
  PutId(out, kCueId);
  Put32(out, static_cast<uint32_t>(4 + kCueRecordBytes * points.size()));
  Put32(out, static_cast<uint32_t>(points.size()));
  for (size_t i = 0; i < points.size(); ++i) {
    Put32(out, static_cast<uint32_t>(i + 1));  // the point's id, which its label names
    Put32(out, points[i].Frame);               // its place in play order
    PutId(out, kDataId);
    Put32(out, 0);  // chunk start and block start: the data chunk is not compressed
    Put32(out, 0);
    Put32(out, points[i].Frame);
  }
  std::vector<unsigned char> labels;
  PutId(labels, kAdtlId);
  for (size_t i = 0; i < points.size(); ++i) {
    const std::string& text = points[i].Label;
    PutId(labels, kLablId);
    Put32(labels, static_cast<uint32_t>(4 + text.size() + 1));
    Put32(labels, static_cast<uint32_t>(i + 1));
    for (const char c : text) labels.push_back(static_cast<unsigned char>(c));
    labels.push_back(0);
    if (labels.size() % 2 != 0) labels.push_back(0);
  }
  PutId(out, kListId);
  Put32(out, static_cast<uint32_t>(labels.size()));
  for (const unsigned char byte : labels) out.push_back(byte);
  return out;
}

WaveCueList ReadWaveCuePoints(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::error_code error;
  const auto size = static_cast<int64_t>(std::filesystem::file_size(path, error));
  if (!file || error) return {};
  const RiffRead read = [&file](int64_t offset, void* buffer, size_t count) -> size_t {
    file.clear();
    file.seekg(offset);
    file.read(static_cast<char*>(buffer), static_cast<std::streamsize>(count));
    return static_cast<size_t>(std::max<std::streamsize>(file.gcount(), 0));
  };
  unsigned char head[12] = {};
  if (read(0, head, 12) != 12 || std::memcmp(head, kRiffId, 4) != 0 ||
      std::memcmp(head + 8, kWaveId, 4) != 0) {
    return {};
  }
  // A chunk's bytes, as far as the file holds them and at most `limit`.
  const auto bytesOf = [&](const RiffChunkHeader& chunk, uint32_t limit) {
    const int64_t wanted = std::min<int64_t>({chunk.Size, limit, size - chunk.DataOffset()});
    std::vector<unsigned char> bytes(static_cast<size_t>(std::max<int64_t>(wanted, 0)));
    bytes.resize(read(chunk.DataOffset(), bytes.data(), bytes.size()));
    return bytes;
  };
  WaveCueList list;
  std::map<uint32_t, uint32_t> frames;  // id to frame
  std::map<uint32_t, std::string> labels;
  constexpr uint32_t kLargestChunkRead = 1U << 24;
  WalkRiffChunks(read, 12, size, RiffChunkStep::UnsignedPadded, [&](const RiffChunkHeader& chunk) {
    if (IsId(chunk.Id, kFormatId)) {
      const std::vector<unsigned char> bytes = bytesOf(chunk, 16);
      if (bytes.size() >= 8) list.Rate = Get32(bytes.data() + 4);
    } else if (IsId(chunk.Id, kCueId)) {
      const std::vector<unsigned char> bytes = bytesOf(chunk, kLargestChunkRead);
      const size_t count = bytes.size() >= 4 ? Get32(bytes.data()) : 0;
      for (size_t i = 0; i < count && 4 + (i + 1) * kCueRecordBytes <= bytes.size(); ++i) {
        const unsigned char* record = bytes.data() + 4 + i * kCueRecordBytes;
        frames[Get32(record)] = Get32(record + 20);
      }
    } else if (IsId(chunk.Id, kListId)) {
      const std::vector<unsigned char> bytes = bytesOf(chunk, kLargestChunkRead);
      if (bytes.size() < 4 || std::memcmp(bytes.data(), kAdtlId, 4) != 0) return true;
      size_t at = 4;
      while (at + 12 <= bytes.size()) {
        const uint32_t length = Get32(bytes.data() + at + 4);
        if (std::memcmp(bytes.data() + at, kLablId, 4) == 0 && length >= 4) {
          const size_t end = std::min<size_t>(bytes.size(), at + 8 + length);
          const char* text = reinterpret_cast<const char*>(bytes.data() + at + 12);
          labels[Get32(bytes.data() + at + 8)] = std::string(text, strnlen(text, end - (at + 12)));
        }
        at += 8 + static_cast<size_t>(length) + (length & 1U);
      }
    }
    return true;
  });
  for (const auto& [id, frame] : frames) list.Points.push_back({frame, labels[id]});
  std::stable_sort(list.Points.begin(), list.Points.end(),
                   [](const WaveCuePoint& a, const WaveCuePoint& b) { return a.Frame < b.Frame; });
  return list;
}

}  // namespace quorvane
