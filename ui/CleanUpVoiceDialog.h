// The Clean Up Voice dialog: the high-pass filter's cut-off and the strength of the noise
// reduction. The last values used come back the next time.
#pragma once

#include <QDialog>

#include "editing/CleanUpVoice.h"

class QLineEdit;

namespace quorvane {

class CleanUpVoiceDialog : public QDialog {
 public:
  explicit CleanUpVoiceDialog(QWidget* parent);
  // The values entered, read with the leading-number conversion.
  VoiceCleanUp Values() const;
  // Keeps the values for the next time.
  void KeepValues() const;

  QLineEdit* HighPassTxt = nullptr;
  QLineEdit* StrengthTxt = nullptr;
};

}  // namespace quorvane
