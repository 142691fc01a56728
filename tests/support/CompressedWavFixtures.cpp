#include "tests/support/CompressedWavFixtures.h"

#include "tests/support/WaveBuilder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <numbers>
#include <stdexcept>

#include "tests/support/ChildProcess.h"
#include "tests/support/TempFolder.h"

namespace quorvane::testing {

namespace {

uint32_t GetLe(const std::string& bytes, size_t at, int width) {
  uint32_t value = 0;
  for (int i = width - 1; i >= 0; --i) {
    value = (value << 8) | static_cast<unsigned char>(bytes[at + static_cast<size_t>(i)]);
  }
  return value;
}

// Where the id of the first chunk `id` of a RIFF file lies, or the size.
size_t ChunkAt(const std::string& bytes, const std::string& id) {
  for (size_t at = 12; at + 8 <= bytes.size();) {
    if (bytes.compare(at, 4, id) == 0) return at;
    const uint32_t size = GetLe(bytes, at + 4, 4);
    at += 8 + size + (size & 1U);
  }
  return bytes.size();
}

void WriteBytes(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  if (!(out << bytes).flush()) throw std::runtime_error("cannot write " + path);
}

}  // namespace

std::vector<int16_t> TestSignal(int channels, int sampleRate, size_t frames) {
  std::vector<int16_t> samples(frames * static_cast<size_t>(channels));
  for (size_t i = 0; i < frames; ++i) {
    const double t = static_cast<double>(i) / sampleRate;
    for (int c = 0; c < channels; ++c) {
      const double low = 0.35 * std::sin(2 * std::numbers::pi * (310.0 + 170.0 * c) * t);
      const double high = 0.15 * std::sin(2 * std::numbers::pi * (1250.0 + 330.0 * c) * t + c);
      samples[i * static_cast<size_t>(channels) + static_cast<size_t>(c)] =
          static_cast<int16_t>(std::lrint((low + high) * 32767));
    }
  }
  return samples;
}

void WritePcm16Wav(const std::string& path, const std::vector<int16_t>& samples, int channels,
                   int sampleRate) {
  WriteBytes(path, PcmWave(channels, sampleRate, 16, samples));
}

void EncodeWithFfmpeg(const std::string& source, const std::string& destination,
                      const std::string& codec, const std::vector<std::string>& options) {
  std::vector<std::string> arguments = {"-hide_banner", "-loglevel", "error", "-nostdin",
                                        "-y",           "-i",        source};
  arguments.insert(arguments.end(), options.begin(), options.end());
  arguments.insert(arguments.end(), {"-c:a", codec, destination});
  const ProgramRun run = RunProgram("ffmpeg", arguments);
  if (run.exitStatus != 0) throw std::runtime_error("ffmpeg failed on " + source + ": " + run.err);
}

std::vector<int16_t> WavFile::Samples() const {
  std::vector<int16_t> samples(data.size() / 2);
  std::memcpy(samples.data(), data.data(), samples.size() * 2);
  return samples;
}

std::optional<WavFile> ReadWavFile(const std::string& path) {
  const std::string bytes = ReadFileBytes(path);
  if (bytes.size() < 12 || bytes.compare(0, 4, "RIFF") != 0 || bytes.compare(8, 4, "WAVE") != 0) {
    return std::nullopt;
  }
  WavFile wav;
  if (const size_t at = ChunkAt(bytes, "fmt "); at + 24 <= bytes.size()) {
    wav.formatTag = static_cast<uint16_t>(GetLe(bytes, at + 8, 2));
    wav.channels = static_cast<uint16_t>(GetLe(bytes, at + 10, 2));
    wav.blockAlign = static_cast<uint16_t>(GetLe(bytes, at + 20, 2));
  }
  if (const size_t at = ChunkAt(bytes, "fact"); at + 12 <= bytes.size()) {
    wav.factFrames = GetLe(bytes, at + 8, 4);
  }
  if (const size_t at = ChunkAt(bytes, "data"); at + 8 <= bytes.size()) {
    wav.dataOffset = at + 8;
    wav.data = bytes.substr(at + 8, GetLe(bytes, at + 4, 4));
  }
  return wav;
}

std::vector<int16_t> CanonicalPcm16Samples(const std::string& path, int channels, int sampleRate) {
  const std::vector<int16_t> samples = ReadWavFile(path).value_or(WavFile{}).Samples();
  EXPECT_TRUE(ReadFileBytes(path) == PcmWave(channels, sampleRate, 16, samples)) << path;
  return samples;
}

void PatchFactChunk(const std::string& path, std::optional<uint32_t> frames) {
  std::string bytes = ReadFileBytes(path);
  const size_t at = ChunkAt(bytes, "fact");
  if (!ReadWavFile(path) || at + 12 > bytes.size())
    throw std::runtime_error("no fact chunk in " + path);
  bytes.replace(frames ? at + 8 : at, 4, frames ? Le32(*frames) : "JUNK");
  WriteBytes(path, bytes);
}

std::vector<int16_t> Channel(const std::vector<int16_t>& interleaved, int channels, int channel) {
  std::vector<int16_t> one;
  for (size_t i = static_cast<size_t>(channel); i < interleaved.size();
       i += static_cast<size_t>(channels)) {
    one.push_back(interleaved[i]);
  }
  return one;
}

double SignalToNoiseDb(const std::vector<int16_t>& reference, const std::vector<int16_t>& test,
                       size_t lag) {
  if (test.size() <= lag) return -INFINITY;
  const size_t count = std::min(reference.size(), test.size() - lag);
  double signal = 0;
  double noise = 0;
  for (size_t i = 0; i < count; ++i) {
    const double difference = static_cast<double>(test[i + lag]) - reference[i];
    signal += static_cast<double>(reference[i]) * reference[i];
    noise += difference * difference;
  }
  if (noise == 0) return INFINITY;
  return 10 * std::log10(signal / noise);
}

}  // namespace quorvane::testing
