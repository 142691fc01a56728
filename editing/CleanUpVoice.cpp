#include "editing/CleanUpVoice.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

#include "core/ErrorReport.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "editing/CarrierStreams.h"
#include "editing/EffectProgress.h"
#include "editing/HighPassFilter.h"
#include "editing/VolumeEffects.h"
#include "platform/SpeechDenoiser.h"
#include "storage/BlockCarrBuffClass.h"
#include "storage/BlockWriteBehind.h"
#include "storage/FileMemoClass.h"
#include "storage/JournalOperation.h"

namespace quorvane {

namespace {

constexpr const char* kUndoName = "Clean Up Voice";

struct Cancelled {};

std::string Number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

// One channel: the high-pass filter, then the denoiser frame by frame. The denoiser's
// output lags its input by a frame: the first frame out is dropped, and a frame of silence
// after the end brings out the last samples.
void CleanChannel(const BlockCarrBuffClass& source, const FileMemoClass& document,
                  const VoiceCleanUp& values, BlockCarrBuffClass& result, float base, float share) {
  const int32_t n = source.WaveINos;
  const int32_t rate = document.WavFmtFreq;
  // 8-bit samples are taken at 16-bit scale, where the denoiser's levels are meant.
  const int32_t scale = document.WavFmtBits == 8 ? 256 : 1;
  const int32_t lowest = document.WavFmtBits == 8 ? -128 : -32768;
  const int32_t highest = document.WavFmtBits == 8 ? 127 : 32767;
  std::unique_ptr<HighPassFilter> filter;
  if (values.highPassHz > 0) filter = std::make_unique<HighPassFilter>(values.highPassHz, rate);
  std::unique_ptr<SpeechDenoiser> denoiser;
  if (values.strengthDb > 0) {
    denoiser = std::make_unique<SpeechDenoiser>(rate, RoundHalfEven(values.strengthDb));
  }
  const int32_t frameLength = denoiser ? denoiser->FrameSamples() : 4096;
  const int32_t lag = denoiser ? frameLength : 0;
  CarrierReader reader(source);
  CarrierWriter writer(n, result.BlockSize());
  std::vector<int16_t> frame(static_cast<size_t>(frameLength));
  ProgressDisplay& progress = UserInterface().Progress();
  int32_t read = 0;
  int32_t written = 0;
  int32_t dropped = 0;
  int32_t sinceLook = 0;
  while (written < n) {
    for (int16_t& sample : frame) {
      double value = read < n ? static_cast<double>(reader.Next()) * scale : 0.0;
      if (read++ < n && filter) value = filter->Next(value);
      sample = static_cast<int16_t>(std::clamp(std::lround(value), -32768L, 32767L));
    }
    if (denoiser) denoiser->Process(frame.data());
    for (const int16_t sample : frame) {
      if (dropped < lag) {
        ++dropped;
      } else if (written < n) {
        writer.Put(static_cast<int16_t>(std::clamp(
            scale == 1 ? int32_t{sample} : RoundHalfEven(sample / 256.0), lowest, highest)));
        ++written;
      }
    }
    if ((sinceLook += frameLength) >= 65536) {
      sinceLook = 0;
      progress.SetCurrentProgress(base +
                                  share * static_cast<float>(written) / static_cast<float>(n));
      if (progress.CancelRequested()) throw Cancelled{};
    }
  }
  writer.HandTo(result);
}

}  // namespace

std::optional<std::string> RefuseCleanUpValues(const VoiceCleanUp& values) {
  if (!(values.highPassHz == 0 || (values.highPassHz >= 20 && values.highPassHz <= 300))) {
    return "Invalid high-pass filter" + std::string(kCrLf) + "Entered cut-off is " +
           Number(values.highPassHz) + " Hz" + kCrLf + "(0 for none, or 20 to 300 Hz is allowed)";
  }
  if (!(values.strengthDb >= 0 && values.strengthDb <= 40)) {
    return "Invalid noise reduction" + std::string(kCrLf) + "Entered strength is " +
           Number(values.strengthDb) + " dB" + kCrLf + "(0 for none, up to 40 dB is allowed)";
  }
  return std::nullopt;
}

bool CleanUpVoice(FileMemoClass& document, int32_t from, int32_t to, const VoiceCleanUp& values) {
  JournalOperation operation("cleanup");
  if (from < 1 || to > document.WavWaveINos || from > to || RefuseCleanUpValues(values)) {
    return false;
  }
  if (values.highPassHz == 0 && values.strengthDb == 0) return false;
  ProgressDisplay& progress = UserInterface().Progress();
  try {
    const BusyPointer busy;
    const BlockWriteBehind writingBehind;
    const int32_t channels = document.WavFmtChannel == 2 ? 0 : 1;
    BlockCarrBuffClass left;
    BlockCarrBuffClass right;
    document.WaveCollectData(from, to, channels, left, right);
    progress.SetBarColor1(kEffectBarColor);
    progress.SetCurrentProgress(0.0F);
    progress.SetIsVisible(true);
    const float share = channels == 0 ? 0.5F : 1.0F;
    BlockCarrBuffClass leftResult;
    BlockCarrBuffClass rightResult;
    CleanChannel(left, document, values, leftResult, 0.0F, share);
    if (channels == 0) CleanChannel(right, document, values, rightResult, share, share);
    document.WaveDataReplace(from, channels, &leftResult, &rightResult, kUndoName, true);
    progress.SetIsVisible(false);
    operation.Done({std::to_string(from), std::to_string(to), JournalNumber(values.highPassHz),
                    JournalNumber(values.strengthDb)});
    return true;
  } catch (const Cancelled&) {
    progress.SetIsVisible(false);
    return false;
  } catch (const std::exception& error) {
    progress.SetIsVisible(false);
    UserInterface().Message(ErrorDescription(error), MessageIcon::Exclamation);
    return false;
  }
}

}  // namespace quorvane
