#include "platform/CompressedWavDecoder.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <system_error>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/error.h>
#include <libavutil/log.h>
#include <libavutil/samplefmt.h>
#include <libswresample/swresample.h>
}

#include "platform/PcmWavFileWriter.h"
#include "platform/ProfileFile.h"
#include "platform/RuntimeError.h"
#include "platform/SampleConversion.h"
#include "platform/WavChunkScan.h"
#include "platform/WriteBehind.h"

namespace quorvane {

namespace {

// The big-endian PCM codec of a little-endian one; none for any other.
AVCodecID BigEndianPcm(AVCodecID codec) {
  switch (codec) {
    case AV_CODEC_ID_PCM_S16LE:
      return AV_CODEC_ID_PCM_S16BE;
    case AV_CODEC_ID_PCM_S24LE:
      return AV_CODEC_ID_PCM_S24BE;
    case AV_CODEC_ID_PCM_S32LE:
      return AV_CODEC_ID_PCM_S32BE;
    case AV_CODEC_ID_PCM_F32LE:
      return AV_CODEC_ID_PCM_F32BE;
    case AV_CODEC_ID_PCM_F64LE:
      return AV_CODEC_ID_PCM_F64BE;
    default:
      return AV_CODEC_ID_NONE;
  }
}

constexpr size_t kDefaultWindowBytes = 196500;
constexpr size_t kSmallestWindowBytes = 4096;
constexpr size_t kLargestWindowBytes = 64 * 1024 * 1024;

size_t WindowBytesFromSettings(const std::string& settingsFile) {
  const std::string text = GetProfileString(settingsFile, "Misc", "WindowSize", "", 100).value;
  const long long value = std::strtoll(text.c_str(), nullptr, 10);
  if (value <= 0) return kDefaultWindowBytes;
  const size_t bytes =
      std::clamp(static_cast<size_t>(value), kSmallestWindowBytes, kLargestWindowBytes);
  return bytes / 4 * 4;  // whole stereo frames
}

std::string AvErrorText(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return text;
}

std::string HexTag(uint16_t tag) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text = "0x";
  for (int shift = 12; shift >= 0; shift -= 4) text += kDigits[(tag >> shift) & 0xF];
  return text;
}

struct FormatCloser {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct CodecFreer {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct PacketFreer {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct FrameFreer {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct ResamplerFreer {
  void operator()(SwrContext* context) const { swr_free(&context); }
};

SampleEncoding EncodingOf(AVSampleFormat format) {
  switch (av_get_packed_sample_fmt(format)) {
    case AV_SAMPLE_FMT_U8:
      return SampleEncoding::UnsignedByte;
    case AV_SAMPLE_FMT_S16:
      return SampleEncoding::Int16;
    case AV_SAMPLE_FMT_S32:
      return SampleEncoding::Int32;
    case AV_SAMPLE_FMT_S64:
      return SampleEncoding::Int64;
    case AV_SAMPLE_FMT_FLT:
      return SampleEncoding::Float;
    case AV_SAMPLE_FMT_DBL:
      return SampleEncoding::Double;
    default:
      throw RuntimeError(kErrorDeviceIo,
                         "The decoder delivers samples in a form that cannot be converted.");
  }
}

// One decoding from start to end: the source's chunks, FFmpeg's demuxer and decoder, the
// conversion to 16-bit samples and the destination file. Runs on the worker thread.
class DecodeRun {
 public:
  DecodeRun(std::stop_token stop, std::atomic<int32_t>& percent, size_t windowBytes)
      : stop_(std::move(stop)),
        percent_(percent),
        packet_(av_packet_alloc()),
        frame_(av_frame_alloc()),
        buffers_{std::vector<int16_t>(windowBytes / sizeof(int16_t)),
                 std::vector<int16_t>(windowBytes / sizeof(int16_t))} {
    if (!packet_ || !frame_) throw std::bad_alloc();
  }

  // True when the destination is complete, false when the decoding was stopped.
  // `created` tells whether the destination file was made (or emptied) by this run.
  bool Run(const std::string& source, const std::string& destination, bool& created) {
    layout_ = ScanWavChunks(source);
    if (layout_.factFrames && *layout_.factFrames > 0) frameLimit_ = *layout_.factFrames;
    OpenInput(source);
    OpenDecoder();

    std::error_code ignored;
    if (std::filesystem::equivalent(source, destination, ignored)) {
      throw RuntimeError(kErrorDeviceIo,
                         "The decoded file would replace the compressed file: " + destination);
    }
    writer_.emplace(destination);
    created = true;
    writeBehind_.emplace(*writer_);

    while (framesWritten_ < frameLimit_) {
      if (stop_.stop_requested()) return false;
      const int read = av_read_frame(format_.get(), packet_.get());
      if (read == AVERROR_EOF) break;
      // A damaged tail after good audio ends the audio; damage before any audio is fatal.
      if (read == AVERROR_INVALIDDATA && framesWritten_ > 0) break;
      if (read < 0) {
        throw RuntimeError(kErrorDeviceIo, "Reading the compressed file failed (" +
                                               AvErrorText(read) + "): " + source);
      }
      if (packet_->stream_index == streamIndex_) Feed(packet_.get());
      av_packet_unref(packet_.get());
      ReportProgress();
    }
    if (stop_.stop_requested()) return false;
    if (framesWritten_ < frameLimit_) Feed(nullptr);  // the decoder's last frames
    FlushBuffer();
    writeBehind_->Wait();

    if (!outputReady_) {
      if (decodeErrors_ > 0) {
        throw RuntimeError(kErrorDeviceIo, "The audio data could not be decoded (" +
                                               AvErrorText(lastError_) + "): " + source);
      }
      outputChannels_ = std::clamp(decoder_->ch_layout.nb_channels, 1, 2);
      sampleRate_ = static_cast<uint32_t>(std::max(decoder_->sample_rate, 0));
    }
    writer_->Finish(outputChannels_, sampleRate_);
    return true;
  }

 private:
  void OpenInput(const std::string& source) {
    AVFormatContext* context = nullptr;
    const int opened =
        avformat_open_input(&context, source.c_str(), av_find_input_format("wav"), nullptr);
    if (opened < 0) {
      throw RuntimeError(kErrorDeviceIo,
                         "The WAV file cannot be read (" + AvErrorText(opened) + "): " + source);
    }
    format_.reset(context);
    const int found = av_find_best_stream(context, AVMEDIA_TYPE_AUDIO, -1, -1, &codec_, 0);
    if (found < 0 || !codec_) {
      throw RuntimeError(kErrorDeviceIo,
                         "No decoder is available for this audio format (format tag " +
                             std::to_string(layout_.codecTag) + ", " + HexTag(layout_.codecTag) +
                             "): " + source);
    }
    streamIndex_ = found;
    // FFmpeg's WAV reader takes the PCM of big-endian "RIFX" files for little-endian.
    AVCodecParameters* parameters = context->streams[found]->codecpar;
    const AVCodecID swapped =
        layout_.bigEndian ? BigEndianPcm(parameters->codec_id) : AV_CODEC_ID_NONE;
    if (swapped != AV_CODEC_ID_NONE) {
      parameters->codec_id = swapped;
      codec_ = avcodec_find_decoder(swapped);
      if (!codec_) throw RuntimeError(kErrorDeviceIo, "No decoder for big-endian PCM: " + source);
    }
  }

  void OpenDecoder() {
    decoder_.reset(avcodec_alloc_context3(codec_));
    if (!decoder_) throw std::bad_alloc();
    const AVStream* stream = format_->streams[streamIndex_];
    int result = avcodec_parameters_to_context(decoder_.get(), stream->codecpar);
    if (result >= 0) {
      decoder_->pkt_timebase = stream->time_base;
      result = avcodec_open2(decoder_.get(), codec_, nullptr);
    }
    if (result < 0) {
      throw RuntimeError(kErrorDeviceIo, std::string("The decoder for ") + codec_->long_name +
                                             " could not be started (" + AvErrorText(result) +
                                             ").");
    }
  }

  // Gives the decoder one packet (nullptr: the end of the input) and takes every frame
  // it has ready. A packet the decoder refuses is skipped, so a truncated last block
  // costs only that block.
  void Feed(const AVPacket* packet) {
    const int sent = avcodec_send_packet(decoder_.get(), packet);
    if (sent == AVERROR_INVALIDDATA) {
      NoteDecodeError(sent);
    } else if (sent < 0 && sent != AVERROR_EOF) {
      throw RuntimeError(kErrorDeviceIo, "The decoder stopped (" + AvErrorText(sent) + ").");
    }
    while (framesWritten_ < frameLimit_) {
      const int received = avcodec_receive_frame(decoder_.get(), frame_.get());
      if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) return;
      if (received == AVERROR_INVALIDDATA) {
        NoteDecodeError(received);
        return;
      }
      if (received < 0)
        throw RuntimeError(kErrorDeviceIo, "The decoder stopped (" + AvErrorText(received) + ").");
      Accept(frame_.get());
      av_frame_unref(frame_.get());
    }
  }

  void NoteDecodeError(int code) {
    ++decodeErrors_;
    lastError_ = code;
  }

  void PrepareOutput(const AVFrame* frame) {
    inputChannels_ = frame->ch_layout.nb_channels;
    inputFormat_ = frame->format;
    if (inputChannels_ < 1 || frame->sample_rate <= 0) {
      throw RuntimeError(kErrorDeviceIo,
                         "The decoder delivers audio without channels or sample rate.");
    }
    sampleRate_ = static_cast<uint32_t>(frame->sample_rate);
    outputChannels_ = std::min(inputChannels_, 2);
    const auto format = static_cast<AVSampleFormat>(frame->format);
    if (inputChannels_ > 2) {
      // More than two channels: FFmpeg's resampler mixes them down by their speaker
      // positions; a file that names none gets the usual layout for its channel count.
      AVChannelLayout input{};
      if (frame->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
        av_channel_layout_default(&input, inputChannels_);
      } else {
        av_channel_layout_copy(&input, &frame->ch_layout);
      }
      AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
      SwrContext* context = nullptr;
      int result = swr_alloc_set_opts2(&context, &stereo, AV_SAMPLE_FMT_S16, frame->sample_rate,
                                       &input, format, frame->sample_rate, 0, nullptr);
      av_channel_layout_uninit(&input);
      resampler_.reset(context);
      if (result >= 0) result = swr_init(context);
      if (result < 0) {
        throw RuntimeError(kErrorDeviceIo, "The channels cannot be mixed down to stereo (" +
                                               AvErrorText(result) + ").");
      }
    } else {
      source_.encoding = EncodingOf(format);
      source_.planar = av_sample_fmt_is_planar(format) != 0;
      source_.channels = inputChannels_;
    }
    outputReady_ = true;
  }

  void Accept(const AVFrame* frame) {
    if (!outputReady_) {
      PrepareOutput(frame);
    } else if (frame->ch_layout.nb_channels != inputChannels_ || frame->format != inputFormat_ ||
               frame->sample_rate != static_cast<int>(sampleRate_)) {
      throw RuntimeError(kErrorDeviceIo,
                         "The audio changes its channels or sample rate within the file.");
    }
    size_t frames = std::min<uint64_t>(static_cast<uint64_t>(std::max(frame->nb_samples, 0)),
                                       frameLimit_ - framesWritten_);
    if (frames == 0) return;
    const size_t samples = frames * static_cast<size_t>(outputChannels_);
    if (used_ + samples > buffers_[current_].size()) {
      FlushBuffer();
      if (samples > buffers_[current_].size()) buffers_[current_].resize(samples);
    }
    int16_t* out = buffers_[current_].data() + used_;
    if (resampler_) {
      auto* outPlanes = reinterpret_cast<uint8_t*>(out);
      const int converted =
          swr_convert(resampler_.get(), &outPlanes, static_cast<int>(frames),
                      const_cast<const uint8_t**>(frame->extended_data), static_cast<int>(frames));
      if (converted < 0) {
        throw RuntimeError(kErrorDeviceIo, "The channels cannot be mixed down to stereo (" +
                                               AvErrorText(converted) + ").");
      }
      frames = static_cast<size_t>(converted);
    } else {
      source_.planes = frame->extended_data;
      ConvertToInt16(source_, 0, frames, out);
    }
    used_ += frames * static_cast<size_t>(outputChannels_);
    framesWritten_ += frames;
  }

  // Hands the filled window to the writing thread and goes on in the other one.
  void FlushBuffer() {
    if (used_ == 0) return;
    writeBehind_->Write(buffers_[current_].data(), used_);
    current_ ^= 1;
    used_ = 0;
  }

  void ReportProgress() {
    if (layout_.dataSize == 0) return;
    const int64_t position = avio_tell(format_->pb);
    const uint64_t consumed =
        position > static_cast<int64_t>(layout_.dataOffset)
            ? std::min<uint64_t>(static_cast<uint64_t>(position) - layout_.dataOffset,
                                 layout_.dataSize)
            : 0;
    // 100 belongs to the finished file alone.
    const auto percent =
        static_cast<int32_t>(std::min<uint64_t>(consumed * 100 / layout_.dataSize, 99));
    if (percent > percent_.load(std::memory_order_relaxed)) {
      percent_.store(percent, std::memory_order_release);
    }
  }

  std::stop_token stop_;
  std::atomic<int32_t>& percent_;
  WavChunkLayout layout_;
  uint64_t frameLimit_ = std::numeric_limits<uint64_t>::max();
  uint64_t framesWritten_ = 0;
  std::unique_ptr<AVFormatContext, FormatCloser> format_;
  const AVCodec* codec_ = nullptr;
  int streamIndex_ = -1;
  std::unique_ptr<AVCodecContext, CodecFreer> decoder_;
  int decodeErrors_ = 0;
  int lastError_ = 0;

  bool outputReady_ = false;
  int inputChannels_ = 0;
  int inputFormat_ = AV_SAMPLE_FMT_NONE;
  int outputChannels_ = 1;
  uint32_t sampleRate_ = 0;
  SampleSource source_;
  std::unique_ptr<SwrContext, ResamplerFreer> resampler_;

  std::unique_ptr<AVPacket, PacketFreer> packet_;
  std::unique_ptr<AVFrame, FrameFreer> frame_;
  std::optional<PcmWavFileWriter> writer_;
  // Two windows of decoded samples: one being filled, one being written.
  std::vector<int16_t> buffers_[2];
  int current_ = 0;
  size_t used_ = 0;
  // Declared after everything its thread touches, so it stops first.
  std::optional<WriteBehind> writeBehind_;
};

void QuietFfmpegLog() {
  // Failures reach the caller through the error string; FFmpeg's own chatter about
  // damaged blocks would only clutter standard error.
  static std::once_flag once;
  std::call_once(once, [] { av_log_set_level(AV_LOG_QUIET); });
}

}  // namespace

CompressedWavDecoder::CompressedWavDecoder(const std::string& settingsFile)
    : windowBytes_(WindowBytesFromSettings(settingsFile)) {
  QuietFfmpegLog();
}

bool CompressedWavDecoder::DecodeFile(const std::string& source, const std::string& destination) {
  if (worker_.joinable()) {
    worker_.request_stop();
    worker_.join();
  }
  {
    std::lock_guard lock(errorMutex_);
    error_.clear();
  }
  percent_.store(0, std::memory_order_release);
  try {
    worker_ = std::jthread([this, source, destination](std::stop_token stop) {
      Decode(std::move(stop), source, destination);
    });
  } catch (const std::system_error& error) {
    Fail(std::string("The decoding could not be started (") + error.what() + ").");
    return false;
  }
  return true;
}

std::string CompressedWavDecoder::ErrorString() const {
  std::lock_guard lock(errorMutex_);
  return error_;
}

void CompressedWavDecoder::Fail(const std::string& text) {
  {
    std::lock_guard lock(errorMutex_);
    error_ = text;
  }
  percent_.store(kDecodingFailed, std::memory_order_release);
}

void CompressedWavDecoder::Decode(std::stop_token stop, const std::string& source,
                                  const std::string& destination) {
  bool created = false;
  bool complete = false;
  try {
    DecodeRun run(std::move(stop), percent_, windowBytes_);
    complete = run.Run(source, destination, created);
  } catch (const RuntimeError& failure) {
    Fail(failure.what());
  } catch (const std::bad_alloc&) {
    Fail("There is not enough memory to decode the file.");
  } catch (const std::exception& error) {
    Fail(std::string("The decoding failed (") + error.what() + ").");
  }
  if (complete) {
    percent_.store(100, std::memory_order_release);
    return;
  }
  // A stopped or failed decoding leaves no half-written file behind. Only a plain file
  // goes: a destination such as a device stays where it is.
  std::error_code ignored;
  if (created &&
      std::filesystem::is_regular_file(std::filesystem::symlink_status(destination, ignored))) {
    std::filesystem::remove(destination, ignored);
  }
}

}  // namespace quorvane
