#include "ui/ShortenPausesDialog.h"

namespace quorvane {

ShortenPausesDialog::ShortenPausesDialog(QWidget* parent)
    : TwoValueDialog(parent, "Shorten Pauses", "ShortenPauses",
                     {{{"LongestTxt", "Longest &pause (seconds):", "0.1 to 10.0", "0.8"},
                       {"QuietTxt", "&Quieter than (dBFS):", "-90 to -10", "-45"}}},
                     "Every stretch quieter than this level and longer than the longest pause is "
                     "shortened to it; its middle goes, so the words around it stay whole. "
                     "Markers and slide boundaries move with the audio.") {}

PauseShortening ShortenPausesDialog::Values() const {
  const auto [longest, quiet] = Numbers();
  return {longest, quiet};
}

}  // namespace quorvane
