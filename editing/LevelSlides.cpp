#include "editing/LevelSlides.h"

#include <cmath>
#include <list>

#include "core/ErrorReport.h"
#include "core/Interaction.h"
#include "editing/SampleMapping.h"
#include "editing/VolumeEffects.h"
#include "storage/BlockCarrBuffClass.h"
#include "storage/BlockWriteBehind.h"
#include "storage/FileMemoClass.h"
#include "storage/JournalOperation.h"

namespace quorvane {

namespace {

constexpr char kUndoName[] = "Level Slides";

// One slide's stretch with its gain applied, waiting to be put back.
struct LeveledStretch {
  int32_t first = 0;
  BlockCarrBuffClass left;
  BlockCarrBuffClass right;
};

}  // namespace

double DefaultLoudnessTarget(int32_t channels) {
  return channels == 2 ? kStereoLoudnessTarget : kMonoLoudnessTarget;
}

bool LevelGain(const SlideLoudness& before, double target, double& gain, bool& peakLimited) {
  gain = 0.0;
  peakLimited = false;
  if (!std::isfinite(before.integrated) || !std::isfinite(before.truePeak)) return false;
  gain = target - before.integrated;
  if (before.truePeak + gain > kTruePeakCeiling) {
    gain = kTruePeakCeiling - before.truePeak;
    peakLimited = true;
  }
  return true;
}

bool LevelSlides(FileMemoClass& document, const std::vector<int32_t>& slides, double target,
                 std::vector<SlideLevel>& levels) {
  JournalOperation operation("level");
  levels.clear();
  try {
    const BusyPointer busy;
    const BlockWriteBehind writingBehind;
    const ShownProgress shown(kEffectBarColor);
    for (const SlideLoudness& before : MeasureSlideLoudness(document, slides)) {
      SlideLevel& level = levels.emplace_back();
      level.before = before;
      level.after = before;
      level.changed = LevelGain(before, target, level.gain, level.peakLimited);
    }
    // Every stretch is scaled before the first one goes back, so that an error on the way
    // leaves the document and its undo history as they were.
    const int32_t channels = document.WavFmtChannel == 2 ? 0 : 1;
    std::list<LeveledStretch> stretches;
    for (const SlideLevel& level : levels) {
      if (!level.changed) continue;
      LeveledStretch& stretch = stretches.emplace_back();
      stretch.first = SlideFirstPosition(level.before.slide);
      const int32_t last = SlideLastPosition(level.before.slide, document.WavWaveINos);
      document.WaveCollectData(stretch.first, last, channels, stretch.left, stretch.right);
      const SampleTable table = GainTable(std::pow(10.0, level.gain / 20.0), document.WavFmtBits);
      const EffectProgress progress(0.0F, 1.0F, stretch.left.WaveINos);
      MapCarrierSamples(stretch.left, table, progress);
      if (channels == 0) MapCarrierSamples(stretch.right, table, progress);
    }
    if (stretches.empty()) return false;
    // One user operation: only the last replace closes it, so Undo takes back every slide.
    for (auto stretch = stretches.begin(); stretch != stretches.end(); ++stretch) {
      document.WaveDataReplace(stretch->first, channels, &stretch->left, &stretch->right, kUndoName,
                               std::next(stretch) == stretches.end());
    }
    const std::vector<SlideLoudness> after = MeasureSlideLoudness(document, slides);
    for (size_t k = 0; k < levels.size(); ++k) levels[k].after = after[k];
    JournalWords values{JournalNumber(target)};
    for (const int32_t slide : slides) values.push_back(std::to_string(slide));
    operation.Done(values);
    return true;
  } catch (const std::exception& error) {
    UserInterface().Message(ErrorDescription(error), MessageIcon::Exclamation);
    return false;
  }
}

}  // namespace quorvane
