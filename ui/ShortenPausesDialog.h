// The Shorten Pauses dialog: the longest pause to keep and the level below which audio
// counts as a pause. The last values used come back the next time.
#pragma once

#include <QDialog>

#include "editing/ShortenPauses.h"

class QLineEdit;

namespace quorvane {

class ShortenPausesDialog : public QDialog {
 public:
  explicit ShortenPausesDialog(QWidget* parent);
  // The values entered, read with the leading-number conversion.
  PauseShortening Values() const;
  // Keeps the values for the next time.
  void KeepValues() const;

  QLineEdit* LongestTxt = nullptr;
  QLineEdit* QuietTxt = nullptr;
};

}  // namespace quorvane
