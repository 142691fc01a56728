#include "platform/PulseCaptureStream.h"

#include <atomic>
#include <vector>

#include "platform/PulseConnection.h"

namespace quorvane {

namespace {

// The pieces the server hands over: small enough for level meters that follow the voice
// and for a short wait for the last sound at the end of a take.
constexpr pa_usec_t kFragment = 20 * PA_USEC_PER_MSEC;

}  // namespace

struct PulseCaptureStream::State {
  PulseConnection connection;
  pa_stream* stream = nullptr;
  pa_sample_spec spec{};
  Receiver receiver;
  std::vector<uint8_t> silence;
  std::atomic<bool> lost{false};

  static void Read(pa_stream* stream, size_t, void* state) {
    auto* self = static_cast<State*>(state);
    for (;;) {
      const void* data = nullptr;
      size_t bytes = 0;
      if (pa_stream_peek(stream, &data, &bytes) < 0 || bytes == 0) return;
      if (data == nullptr) {
        self->silence.assign(bytes, self->spec.format == PA_SAMPLE_U8 ? 0x80 : 0);
        data = self->silence.data();
      }
      self->receiver(static_cast<const uint8_t*>(data), bytes);
      pa_stream_drop(stream);
    }
  }

  static void StateChanged(pa_stream* stream, void* state) {
    auto* self = static_cast<State*>(state);
    if (!PA_STREAM_IS_GOOD(pa_stream_get_state(stream))) self->lost = true;
    pa_threaded_mainloop_signal(self->connection.Loop(), 0);
  }

  // With the loop locked.
  void Disconnect() {
    if (stream == nullptr) return;
    pa_stream_set_read_callback(stream, nullptr, nullptr);
    pa_stream_set_state_callback(stream, nullptr, nullptr);
    pa_stream_disconnect(stream);
    pa_stream_unref(stream);
    stream = nullptr;
  }
};

PulseCaptureStream::PulseCaptureStream() = default;

PulseCaptureStream::~PulseCaptureStream() { Close(); }

PulseCaptureStream::OpenResult PulseCaptureStream::Open(const std::string& source, int32_t channels,
                                                        int32_t rate, int32_t bits,
                                                        Receiver receiver) {
  Close();
  auto state = std::make_unique<State>();
  if (!state->connection.Connected()) return OpenResult::NoServer;
  state->spec.format = bits == 8 ? PA_SAMPLE_U8 : PA_SAMPLE_S16LE;
  state->spec.rate = static_cast<uint32_t>(rate);
  state->spec.channels = static_cast<uint8_t>(channels);
  if (!pa_sample_spec_valid(&state->spec)) return OpenResult::Failed;
  state->receiver = std::move(receiver);
  OpenResult result = OpenResult::Failed;
  {
    PulseLock lock(state->connection);
    State& opened = *state;
    opened.stream = pa_stream_new(opened.connection.Context(), "Recording", &opened.spec, nullptr);
    if (opened.stream == nullptr) return OpenResult::Failed;
    pa_stream_set_state_callback(opened.stream, &State::StateChanged, &opened);
    pa_stream_set_read_callback(opened.stream, &State::Read, &opened);
    pa_buffer_attr attributes;
    attributes.maxlength = static_cast<uint32_t>(-1);
    attributes.tlength = static_cast<uint32_t>(-1);
    attributes.prebuf = static_cast<uint32_t>(-1);
    attributes.minreq = static_cast<uint32_t>(-1);
    attributes.fragsize = static_cast<uint32_t>(pa_usec_to_bytes(kFragment, &opened.spec));
    // ADJUST_LATENCY makes the source itself deliver in pieces of that size, so that no
    // sound waits in it longer than a piece.
    if (pa_stream_connect_record(opened.stream, source.empty() ? nullptr : source.c_str(),
                                 &attributes, PA_STREAM_ADJUST_LATENCY) == 0) {
      pa_stream_state_t streamState = pa_stream_get_state(opened.stream);
      while (streamState == PA_STREAM_CREATING || streamState == PA_STREAM_UNCONNECTED) {
        pa_threaded_mainloop_wait(opened.connection.Loop());
        streamState = pa_stream_get_state(opened.stream);
      }
      if (streamState == PA_STREAM_READY) result = OpenResult::Opened;
    }
    if (result != OpenResult::Opened) {
      if (pa_context_errno(opened.connection.Context()) == PA_ERR_NOENTITY) {
        result = OpenResult::NoSource;
      }
      opened.Disconnect();
    }
  }
  if (result == OpenResult::Opened) state_ = std::move(state);
  return result;
}

void PulseCaptureStream::Close() {
  if (state_ == nullptr) return;
  {
    PulseLock lock(state_->connection);
    state_->Disconnect();
  }
  state_.reset();
}

int64_t PulseCaptureStream::CapturePosition() {
  if (state_ == nullptr || state_->lost) return -1;
  PulseLock lock(state_->connection);
  pa_stream* stream = state_->stream;
  if (!state_->connection.Finish(pa_stream_update_timing_info(stream, nullptr, nullptr))) {
    return -1;
  }
  const pa_timing_info* timing = pa_stream_get_timing_info(stream);
  pa_usec_t time = 0;
  if (timing == nullptr || pa_stream_get_time(stream, &time) < 0) return -1;
  // The time is that of the moment the server answered; the source has gone on since.
  time += pa_timeval_age(&timing->timestamp);
  return static_cast<int64_t>(pa_usec_to_bytes(time, &state_->spec));
}

bool PulseCaptureStream::Lost() const { return state_ == nullptr || state_->lost; }

}  // namespace quorvane
