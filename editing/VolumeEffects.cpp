#include "editing/VolumeEffects.h"

#include <algorithm>

#include "core/ErrorReport.h"
#include "core/Interaction.h"
#include "editing/EditRange.h"
#include "editing/SampleMapping.h"
#include "storage/BlockCarrBuffClass.h"
#include "storage/BlockWriteBehind.h"
#include "storage/FileMemoClass.h"
#include "storage/JournalOperation.h"

namespace quorvane {

namespace {

// Runs `process` on the carrier of each channel of the edit range in turn (left first),
// with the progress share that channel's passes take, then puts the range back as one
// undo item. False when there is no range. Throws what the processing throws.
template <typename Process>
bool ProcessEachChannel(FileMemoClass& document, const char* name, int32_t passes,
                        Process process) {
  int32_t first = 0;
  int32_t last = 0;
  int32_t channels = 0;
  if (!GetEditRange(document, first, last, channels, kWantRange, name)) return false;
  BlockCarrBuffClass left;
  BlockCarrBuffClass right;
  document.WaveCollectData(first, last, channels, left, right);
  const BusyPointer busy;
  const BlockWriteBehind writingBehind;
  const ShownProgress shown(kEffectBarColor);
  const float share = (channels == 0 ? 0.5F : 1.0F) / static_cast<float>(passes);
  float base = 0.0F;
  for (BlockCarrBuffClass* carrier : {&left, &right}) {
    if (carrier == &left ? channels == 2 : channels == 1) continue;
    process(*carrier, base, share);
    base += share * static_cast<float>(passes);
    UserInterface().Progress().SetCurrentProgress(base);
  }
  document.WaveDataReplace(first, channels, &left, &right, name, true);
  return true;
}

}  // namespace

bool ChangeVolume(FileMemoClass& document, int32_t Percent) {
  JournalOperation operation("volume");
  try {
    const SampleTable table = GainTable(Percent / 100.0, document.WavFmtBits);
    const bool changed = ProcessEachChannel(
        document, "Change Volume", 1, [&](BlockCarrBuffClass& carrier, float base, float share) {
          MapCarrierSamples(carrier, table, EffectProgress(base, share, carrier.WaveINos));
        });
    if (changed) operation.Done({std::to_string(Percent)});
    return changed;
  } catch (const std::exception& error) {
    UserInterface().Message(ErrorDescription(error), MessageIcon::Exclamation);
    return false;
  }
}

bool Maximize(FileMemoClass& document) {
  JournalOperation operation("maximize");
  try {
    const double fullScale = FullScale(document.WavFmtBits);
    const bool changed = ProcessEachChannel(
        document, "Maximize", 2, [&](BlockCarrBuffClass& carrier, float base, float share) {
          const int32_t peak =
              std::max(CarrierPeak(carrier, EffectProgress(base, share, carrier.WaveINos)), 1);
          const double gain = 1.0 / (peak / fullScale);
          MapCarrierSamples(carrier, GainTable(gain, document.WavFmtBits),
                            EffectProgress(base + share, share, carrier.WaveINos));
        });
    if (changed) operation.Done();
    return changed;
  } catch (const std::exception& error) {
    UserInterface().Message(
        "Error# " + std::to_string(ErrorNumber(error)) + ErrorDescription(error),
        MessageIcon::Exclamation);
    return false;
  }
}

}  // namespace quorvane
