// What the Change Volume dialog decides, without the dialog: the slider's value from the
// "ChangeVol" setting, the two labels that describe it, and the value stored on Ok.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

struct VolumeChgFrm {
  int32_t VolSlider = 150;  // percent, 0 to 200
  std::string DispVolLbl1 = "150%";
  std::string DispVolLbl2 = "(Increase by 100%)";
  bool OkClicked = false;

  // Reads "ChangeVol" (150 when missing, below 0 or above 200) into the slider.
  void UpdateForm();
  // The slider moved to `value`: the labels follow it.
  void VolSlider_Change(int32_t value);
  // Stores the slider's value under "ChangeVol".
  void OkBtn_Click();
  void CancelBtn_Click() {}
};

}  // namespace quorvane
