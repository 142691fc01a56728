#include "editing/VolumeEffects.h"

#include "core/ErrorReport.h"
#include "core/Interaction.h"
#include "editing/EditRange.h"
#include "editing/SampleMapping.h"
#include "storage/BlockCarrBuffClass.h"
#include "storage/BlockWriteBehind.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

namespace {

bool ProcessesLeft(int32_t channels) { return channels == 0 || channels == 1; }
bool ProcessesRight(int32_t channels) { return channels == 0 || channels == 2; }

}  // namespace

bool ChangeVolume(FileMemoClass& document, int32_t Percent) {
  int32_t first = 0;
  int32_t last = 0;
  int32_t channels = 0;
  if (!GetEditRange(document, first, last, channels, kWantRange, "Change Volume")) return false;
  try {
    BlockCarrBuffClass left;
    BlockCarrBuffClass right;
    document.WaveCollectData(first, last, channels, left, right);
    const BusyPointer busy;
    const BlockWriteBehind writingBehind;
    const ShownProgress shown(kEffectBarColor);
    const SampleTable table = GainTable(Percent / 100.0, document.WavFmtBits);
    const float share = channels == 0 ? 0.5F : 1.0F;
    float base = 0.0F;
    for (BlockCarrBuffClass* carrier : {&left, &right}) {
      if (carrier == &left ? !ProcessesLeft(channels) : !ProcessesRight(channels)) continue;
      MapCarrierSamples(*carrier, table, EffectProgress(base, share, carrier->WaveINos));
      base += share;
      UserInterface().Progress().SetCurrentProgress(base);
    }
    document.WaveDataReplace(first, channels, &left, &right, "Change Volume", true);
    return true;
  } catch (const std::exception& error) {
    UserInterface().Message(ErrorDescription(error), MessageIcon::Exclamation);
    return false;
  }
}

bool Maximize(FileMemoClass& document) {
  int32_t first = 0;
  int32_t last = 0;
  int32_t channels = 0;
  if (!GetEditRange(document, first, last, channels, kWantRange, "Maximize")) return false;
  try {
    BlockCarrBuffClass left;
    BlockCarrBuffClass right;
    document.WaveCollectData(first, last, channels, left, right);
    const BusyPointer busy;
    const BlockWriteBehind writingBehind;
    const ShownProgress shown(kEffectBarColor);
    const float share = channels == 0 ? 0.25F : 0.5F;
    const double fullScale = FullScale(document.WavFmtBits);
    float base = 0.0F;
    for (BlockCarrBuffClass* carrier : {&left, &right}) {
      if (carrier == &left ? !ProcessesLeft(channels) : !ProcessesRight(channels)) continue;
      int32_t peak = CarrierPeak(*carrier, EffectProgress(base, share, carrier->WaveINos));
      base += share;
      if (peak == 0) peak = 1;
      const double gain = 1.0 / (peak / fullScale);
      MapCarrierSamples(*carrier, GainTable(gain, document.WavFmtBits),
                        EffectProgress(base, share, carrier->WaveINos));
      base += share;
      UserInterface().Progress().SetCurrentProgress(base);
    }
    document.WaveDataReplace(first, channels, &left, &right, "Maximize", true);
    return true;
  } catch (const std::exception& error) {
    UserInterface().Message(
        "Error# " + std::to_string(ErrorNumber(error)) + ErrorDescription(error),
        MessageIcon::Exclamation);
    return false;
  }
}

}  // namespace quorvane
