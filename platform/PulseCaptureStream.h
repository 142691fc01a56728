// A record stream from one capture source of the sound server, in the sample format the
// caller asks for (the server converts whatever the source delivers). The audio arrives in
// pieces of about 20 ms on the connection's own thread, in order; the stream's position
// counts its bytes from the first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace quorvane {

class PulseCaptureStream {
 public:
  enum class OpenResult { Opened, NoServer, NoSource, Failed };
  // Runs on the connection's thread with each piece of audio; holes the server leaves in
  // the stream come as silence, so that positions stay true.
  using Receiver = std::function<void(const uint8_t* data, size_t bytes)>;

  PulseCaptureStream();
  ~PulseCaptureStream();
  PulseCaptureStream(const PulseCaptureStream&) = delete;
  PulseCaptureStream& operator=(const PulseCaptureStream&) = delete;

  // Opens and starts the stream on `source` (empty: the server's default); 8-bit samples
  // are unsigned, 16-bit ones signed little-endian, channels interleaved.
  OpenResult Open(const std::string& source, int32_t channels, int32_t rate, int32_t bits,
                  Receiver receiver);
  // After it returns, the receiver is not called again.
  void Close();
  bool IsOpen() const { return state_ != nullptr; }

  // The stream position, in bytes, of the sound the source takes in at this moment: the
  // bytes that have arrived, those on their way and those the source still holds, less what
  // a monitor has taken from its output ahead of the output playing it. Asks the server;
  // -1 when it does not answer. Not to be called on the connection's thread.
  int64_t CapturePosition();
  // Whether the server has ended the stream or gone away.
  bool Lost() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quorvane
