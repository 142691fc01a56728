// The insert-position dialog on screen: where a file or recording goes, at the cursor or
// at the start or end of the current slide; InsertPosFrm keeps the choice.
#pragma once

#include <QDialog>
#include <array>

#include "editing/InsertPosFrm.h"

class QRadioButton;

namespace quorvane {

class InsertPosDialog : public QDialog {
 public:
  InsertPosDialog(QWidget* parent, InsertPosFrm& form);
  QRadioButton* Option(int index) const { return options_[static_cast<size_t>(index)]; }
  void OkBtn_Click();
  void CancelBtn_Click();

 private:
  InsertPosFrm& form_;
  std::array<QRadioButton*, 3> options_{};
};

}  // namespace quorvane
