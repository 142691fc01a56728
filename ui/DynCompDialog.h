// The Dynamic Compress/Expand dialog on screen: the three boxes with their ranges and
// explanations; DynCompFrm fills and stores them.
#pragma once

#include <QDialog>

#include "editing/DynCompFrm.h"

class QLineEdit;

namespace quorvane {

class DynCompDialog : public QDialog {
 public:
  DynCompDialog(QWidget* parent, DynCompFrm& form);
  QLineEdit* Box(int index) const { return boxes_[static_cast<size_t>(index)]; }
  void OkBtn_Click();
  void CancelBtn_Click();

 private:
  DynCompFrm& form_;
  std::array<QLineEdit*, 3> boxes_{};
};

}  // namespace quorvane
