// The Shorten Pauses dialog: the longest pause to keep and the level below which audio
// counts as a pause.
#pragma once

#include "editing/ShortenPauses.h"
#include "ui/TwoValueDialog.h"

namespace quorvane {

class ShortenPausesDialog : public TwoValueDialog {
 public:
  explicit ShortenPausesDialog(QWidget* parent);
  PauseShortening Values() const;
};

}  // namespace quorvane
