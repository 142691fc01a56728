#include "editing/ReplaceAudio.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

#include "app/Session.h"
#include "core/ErrorReport.h"
#include "core/FileHelpers.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "core/Settings.h"
#include "storage/BlockCarrBuffClass.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "storage/JournalOperation.h"

namespace quorvane {

namespace {

constexpr double kMostCrossfadeMs = 1000;
// Samples a stereo take is mixed down in, for a mono document.
constexpr int32_t kMixdownChunk = 65536;

// The take's channels as the document has them: a mono take is heard on both sides of a
// stereo document (the one carrier serves both), a stereo take is mixed down for a mono one.
void TakeCarriers(FileMemoClass& take, int32_t documentChannels, BlockCarrBuffClass& left,
                  BlockCarrBuffClass& right) {
  const int32_t length = take.WavWaveINos;
  if (take.WavFmtChannel == 2 && documentChannels == 1) {
    left.ReDimSize(length);
    std::vector<int16_t> l;
    std::vector<int16_t> r;
    for (int32_t from = 1; from <= length; from += kMixdownChunk) {
      const int32_t to = std::min(length, from + kMixdownChunk - 1);
      take.WaveCollectBuff(from, to, 0, l, r);
      for (int32_t i = 0; i <= to - from; ++i) {
        const auto at = static_cast<size_t>(i);
        left.WaveLR(from + i, static_cast<int16_t>((l[at] + r[at]) / 2));
      }
    }
    return;
  }
  take.WaveCollectData(1, length, take.WavFmtChannel == 2 ? 0 : 1, left, right);
}

// Blends `count` samples of the take from `takeFirst` on with the document's from
// `documentFirst` on: the take's share rises from 0 to 1 when `fadeIn`, falls otherwise.
// Raised-cosine shares always add up to one, so audio that goes on alike across the join
// keeps its level.
void Crossfade(FileMemoClass& document, int32_t documentFirst, BlockCarrBuffClass& carrier,
               int32_t takeFirst, int32_t count, int32_t channel, bool fadeIn) {
  std::vector<int16_t> left;
  std::vector<int16_t> right;
  document.WaveCollectBuff(documentFirst, documentFirst + count - 1, channel, left, right);
  const std::vector<int16_t>& replaced = channel == 2 ? right : left;
  for (int32_t i = 0; i < count; ++i) {
    const double rising =
        0.5 - 0.5 * std::cos(std::numbers::pi * (static_cast<double>(i) + 0.5) / count);
    const double share = fadeIn ? rising : 1.0 - rising;
    const int32_t position = takeFirst + i;
    const double mixed =
        share * carrier.WaveLR(position) + (1.0 - share) * replaced[static_cast<size_t>(i)];
    carrier.WaveLR(position, static_cast<int16_t>(RoundHalfEven(mixed)));
  }
}

}  // namespace

double PunchCrossfadeMs() {
  const double ms = LeadingNumber(SettingGet("", "PunchCrossfadeMs", "10"));
  return std::clamp(ms, 0.0, kMostCrossfadeMs);
}

bool ReplaceWithFile(FileMemoClass& document, int32_t from, int32_t to, const std::string& path,
                     double crossfadeMs, const std::string& undoName) {
  const BusyPointer busy;
  JournalOperation operation("replace-file");
  KeptFile kept(operation.Recorded() ? path : "");
  try {
    if (from < 1 || to < from || to > document.WavWaveINos) return false;
    if (!FileExists(path)) {
      UserInterface().Message(std::string("File not found") + kCrLf + path);
      return false;
    }
    std::unique_ptr<FileMemoClass> take;
    LoadTrackFile(kept.PathOr(path), take, document.WavFmtFreq, document.WavFmtBits);
    if (!take || take->WavWaveINos == 0) return false;
    BlockCarrBuffClass left;
    BlockCarrBuffClass right;
    TakeCarriers(*take, document.WavFmtChannel, left, right);
    const bool sharedSides = document.WavFmtChannel == 2 && right.WaveINos == 0;
    const int32_t length = left.WaveINos;
    const int32_t replaced = to - from + 1;
    const int32_t fade = std::min(
        {RoundHalfEven(crossfadeMs * document.WavFmtFreq / 1000.0), length / 2, replaced / 2});
    if (fade > 0) {
      // A mono take on both sides of a stereo document gets a right carrier of its own, so
      // that each side blends with its own audio.
      BlockCarrBuffClass unused;
      if (sharedSides) take->WaveCollectData(1, length, 1, right, unused);
      for (int32_t channel = 1; channel <= document.WavFmtChannel; ++channel) {
        BlockCarrBuffClass& carrier = channel == 1 ? left : right;
        Crossfade(document, from, carrier, 1, fade, channel, true);
        Crossfade(document, to - fade + 1, carrier, length - fade + 1, fade, channel, false);
      }
    }
    const BlockCarrBuffClass& rightSide = right.WaveINos == 0 ? left : right;
    document.WaveDataReplaceRange(from, replaced, &left, &rightSide, undoName, true);
    Editor().SelStart = from;
    Editor().SelEnd = from + length - 1;
    operation.Done({std::to_string(from), std::to_string(to), kept.Take(),
                    JournalNumber(crossfadeMs), undoName});
    return true;
  } catch (const std::exception& error) {
    UserInterface().Message(ErrorDescription(error), MessageIcon::None, "File Insert Error");
    return false;
  }
}

}  // namespace quorvane
