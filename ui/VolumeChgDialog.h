// The Change Volume dialog on screen: a slider from 0 to 200 % with its scale marks and the
// two labels that say what the value does; the decisions are VolumeChgFrm's.
#pragma once

#include <QDialog>

#include "editing/VolumeChgFrm.h"

class QLabel;
class QSlider;

namespace quorvane {

class VolumeChgDialog : public QDialog {
 public:
  VolumeChgDialog(QWidget* parent, VolumeChgFrm& form);
  QSlider* VolSlider() const { return slider_; }
  void OkBtn_Click();
  void CancelBtn_Click();

 private:
  void ShowLabels();

  VolumeChgFrm& form_;
  QSlider* slider_ = nullptr;
  QLabel* dispVolLbl1_ = nullptr;
  QLabel* dispVolLbl2_ = nullptr;
};

}  // namespace quorvane
