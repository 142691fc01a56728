// The Clean Up Voice dialog: the high-pass filter's cut-off and the strength of the noise
// reduction.
#pragma once

#include "editing/CleanUpVoice.h"
#include "ui/TwoValueDialog.h"

namespace quorvane {

class CleanUpVoiceDialog : public TwoValueDialog {
 public:
  explicit CleanUpVoiceDialog(QWidget* parent);
  VoiceCleanUp Values() const;
};

}  // namespace quorvane
