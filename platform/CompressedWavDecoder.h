// Our decoder for compressed WAV files (ADPCM, GSM 6.10, mu-law, A-law, floating point,
// 24- and 32-bit PCM, MPEG audio, ...), built on FFmpeg. One object decodes one file at a
// time on a worker thread of its own into a 16-bit PCM WAV file with the canonical 44-byte
// header: the channels are kept (more than two are mixed down to two), so is the sample
// rate. The caller polls the percentage and, on failure, asks why.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>

namespace quorvane {

inline constexpr int32_t kDecodingFailed = -1;

class CompressedWavDecoder {
 public:
  // The settings file may hold "WindowSize" in section "Misc": the bytes of decoded audio
  // gathered before each write to the destination file.
  explicit CompressedWavDecoder(const std::string& settingsFile);
  CompressedWavDecoder(const CompressedWavDecoder&) = delete;
  CompressedWavDecoder& operator=(const CompressedWavDecoder&) = delete;
  // A decoding still running is stopped, and its unfinished destination removed.
  ~CompressedWavDecoder() = default;

  // Starts decoding `source` into `destination` and returns at once; a decoding still
  // running is stopped first. False only when the worker could not be started.
  bool DecodeFile(const std::string& source, const std::string& destination);

  // 0 to 99 while decoding, exactly 100 once the destination file is complete, negative
  // after a failure.
  int32_t DecodingPercent() const { return percent_.load(std::memory_order_acquire); }

  // Why the last decoding failed, in plain words; "" when it has not failed.
  std::string ErrorString() const;

  size_t WindowBytes() const { return windowBytes_; }

 private:
  void Decode(std::stop_token stop, const std::string& source, const std::string& destination);
  void Fail(const std::string& text);

  size_t windowBytes_;
  std::atomic<int32_t> percent_{0};
  mutable std::mutex errorMutex_;
  std::string error_;
  // Declared last so that it is stopped and joined before the members it uses go away.
  std::jthread worker_;
};

}  // namespace quorvane
