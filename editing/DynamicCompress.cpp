#include "editing/DynamicCompress.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "core/ErrorReport.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "editing/CarrierStreams.h"
#include "editing/EditRange.h"
#include "editing/EffectProgress.h"
#include "editing/SampleMapping.h"
#include "editing/VolumeEffects.h"
#include "storage/BlockCarrBuffClass.h"
#include "storage/BlockWriteBehind.h"
#include "storage/FileMemoClass.h"
#include "storage/JournalOperation.h"

namespace quorvane {

namespace {

// The window's average and the gain it gives, both kept from one sample to the next: the
// average changes little, so the division of the gain is mostly skipped.
constexpr float kRoundingShift = 12582912.0F;

class WindowScaling {
 public:
  WindowScaling(int32_t width, int32_t target, int32_t cutOff, int32_t bits)
      : width_(width),
        inverseWidth_(1.0 / width),
        target_(target),
        cutOff_(cutOff),
        upper_(static_cast<float>(FullScale(bits))),
        lower_(static_cast<float>(LowerLimit(bits))) {}

  // sum / width rounded half to even.
  void SetAverage(int64_t sum) {
    int64_t quotient = static_cast<int64_t>(static_cast<double>(sum) * inverseWidth_);
    int64_t remainder = sum - quotient * width_;
    if (remainder < 0) {
      --quotient;
      remainder += width_;
    } else if (remainder >= width_) {
      ++quotient;
      remainder -= width_;
    }
    if (2 * remainder > width_ || (2 * remainder == width_ && (quotient & 1) != 0)) ++quotient;
    if (quotient == average_) return;
    average_ = quotient;
    scales_ = average_ >= cutOff_;
    if (!scales_) return;
    if (average_ == 0) ThrowError(11, "Division by zero");
    gain_ = static_cast<float>(static_cast<double>(target_) / static_cast<double>(average_));
  }

  // gain x s in single precision, clipped, then rounded half to even. Clipping first
  // changes nothing, the limits being whole numbers; below 2^22, adding and taking away
  // 1.5 x 2^23 leaves the float rounded half to even (the default rounding mode).
  int16_t Scale(int16_t sample) const {
    if (!scales_) return sample;
    const float clipped = std::clamp(gain_ * static_cast<float>(sample), lower_, upper_);
    return static_cast<int16_t>((clipped + kRoundingShift) - kRoundingShift);
  }

 private:
  int64_t width_;
  double inverseWidth_;
  int32_t target_;
  int32_t cutOff_;
  float upper_;
  float lower_;
  int64_t average_ = -1;
  bool scales_ = false;
  float gain_ = 0.0F;
};

}  // namespace

void DynamicProcessChannel(const BlockCarrBuffClass& Source, int32_t SampleRate, int32_t Bits,
                           float D, int32_t T, int32_t C, BlockCarrBuffClass& Result,
                           float ProgressShare) {
  ProgressDisplay& display = UserInterface().Progress();
  const float base = display.CurrentProgress();
  display.SetIsVisible(true);
  const int32_t n = Source.WaveINos;
  const double halfScale = FullScale(Bits) / 2.0;
  const int32_t target = RoundHalfEven(T / 100.0 * halfScale * 0.75);
  const int32_t cutOff = RoundHalfEven(C / 100.0 * halfScale * 0.75);
  const int32_t w = std::min(RoundHalfEven(static_cast<double>(D) * SampleRate), n);
  const int32_t h = RoundHalfEven(w / 2.0);
  const int32_t a = w - h;
  if (w < 1) ThrowError(11, "Division by zero");

  CarrierReader source(Source);
  CarrierWriter result(n, Result.BlockSize());
  std::vector<int16_t> ring(static_cast<size_t>(w));
  int64_t sum = 0;
  for (int16_t& slot : ring) {
    slot = source.Next();
    sum += std::abs(int32_t{slot});
  }
  WindowScaling scaling(w, target, cutOff, Bits);
  scaling.SetAverage(sum);
  for (int32_t k = 0; k < h; ++k) result.Put(scaling.Scale(ring[static_cast<size_t>(k)]));
  const EffectProgress progress(base, ProgressShare, n);
  progress.Set(h);

  int16_t* const ringStart = ring.data();
  int16_t* const ringEnd = ringStart + w;
  int16_t* centre = ringStart + h;
  int16_t* incoming = ringStart;
  for (int32_t first = h + 1; first <= n - a;) {
    const int32_t last = EffectProgress::RunEnd(first, n - a);
    for (int32_t i = first; i <= last; ++i) {
      const int16_t sample = source.Next();
      sum += std::abs(int32_t{sample}) - std::abs(int32_t{*incoming});
      scaling.SetAverage(sum);
      result.Put(scaling.Scale(*centre));
      *incoming = sample;
      if (++centre == ringEnd) centre = ringStart;
      if (++incoming == ringEnd) incoming = ringStart;
    }
    progress.Reached(last);
    first = last + 1;
  }
  for (int32_t i = std::max(n - a + 1, h + 1); i <= n; ++i) {
    result.Put(scaling.Scale(*centre));
    if (++centre == ringEnd) centre = ringStart;
  }
  result.HandTo(Result);
  display.SetCurrentProgress(base + ProgressShare);
  display.SetIsVisible(false);
}

bool DynamicCompressExpand(FileMemoClass& document, const DynamicParameters& values) {
  JournalOperation operation("dynamic");
  int32_t first = 0;
  int32_t last = 0;
  int32_t channels = 0;
  if (!GetEditRange(document, first, last, channels, kWantRange, "Dynamic Compress/Expand")) {
    return false;
  }
  ProgressDisplay& display = UserInterface().Progress();
  try {
    const BusyPointer busy;
    const BlockWriteBehind writingBehind;
    BlockCarrBuffClass left;
    BlockCarrBuffClass right;
    document.WaveCollectData(first, last, channels, left, right);
    const float share = channels == 0 ? 0.5F : 1.0F;
    display.SetBarColor1(kEffectBarColor);
    display.SetCurrentProgress(0.0F);
    BlockCarrBuffClass leftResult;
    BlockCarrBuffClass rightResult;
    if (channels == 0 || channels == 1) {
      DynamicProcessChannel(left, document.WavFmtFreq, document.WavFmtBits, values.SampDur,
                            values.TargetVol, values.CutOffVol, leftResult, share);
    }
    if (channels == 0 || channels == 2) {
      DynamicProcessChannel(right, document.WavFmtFreq, document.WavFmtBits, values.SampDur,
                            values.TargetVol, values.CutOffVol, rightResult, share);
    }
    document.WaveDataReplace(first, channels, &leftResult, &rightResult, "Dynamic Compress/Expand",
                             true);
    display.SetIsVisible(false);
    operation.Done({JournalNumber(values.SampDur), std::to_string(values.TargetVol),
                    std::to_string(values.CutOffVol)});
    return true;
  } catch (const std::exception& error) {
    display.SetIsVisible(false);
    UserInterface().Message(ErrorDescription(error), MessageIcon::Exclamation);
    return false;
  }
}

}  // namespace quorvane
