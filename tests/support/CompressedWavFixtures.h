// Compressed WAV fixtures for the decoder's tests: a known 16-bit signal is written as a
// PCM WAV and encoded by the ffmpeg command line into the format under test. Also the
// WAV chunk reading and the signal measures the tests compare with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorvane::testing {

// Interleaved 16-bit frames; channel c holds two sines of its own, at 310 + 170c and
// 1250 + 330c Hz, about half of full scale in all. The frequencies are whole numbers, so
// over whole seconds the channels are orthogonal.
std::vector<int16_t> TestSignal(int channels, int sampleRate, size_t frames);

// A canonical 16-bit PCM WAV file.
void WritePcm16Wav(const std::string& path, const std::vector<int16_t>& samples, int channels,
                   int sampleRate);

// ffmpeg -i source [options...] -c:a codec destination, run without a shell; throws when
// it fails.
void EncodeWithFfmpeg(const std::string& source, const std::string& destination,
                      const std::string& codec, const std::vector<std::string>& options = {});

struct WavFile {
  uint16_t formatTag = 0;
  uint16_t channels = 0;
  uint16_t blockAlign = 0;
  uint64_t dataOffset = 0;
  std::string data;  // the bytes of the data chunk
  std::optional<uint32_t> factFrames;

  // The data as 16-bit samples.
  std::vector<int16_t> Samples() const;
  size_t Frames() const { return channels ? data.size() / (2U * channels) : 0; }
};

// Reads the `fmt `, `fact` and `data` chunks; nothing when the file is no RIFF WAVE.
std::optional<WavFile> ReadWavFile(const std::string& path);

// The samples of a file that must be a canonical 16-bit PCM WAV of these channels and rate
// (the 44-byte header, sizes that match the file); a failure names the file.
std::vector<int16_t> CanonicalPcm16Samples(const std::string& path, int channels, int sampleRate);

// Rewrites the frame count of the file's `fact` chunk, as an encoder that counts exactly
// would have written it; without a count the chunk is renamed "JUNK", so the file has
// none. Throws when the file has no `fact` chunk.
void PatchFactChunk(const std::string& path, std::optional<uint32_t> frames);

// One channel of interleaved samples.
std::vector<int16_t> Channel(const std::vector<int16_t>& interleaved, int channels, int channel);

// 10 × log10(signal power / error power) of test[i + lag] against reference[i], over the
// values both have.
double SignalToNoiseDb(const std::vector<int16_t>& reference, const std::vector<int16_t>& test,
                       size_t lag = 0);

}  // namespace quorvane::testing
