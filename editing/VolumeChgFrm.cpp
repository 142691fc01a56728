#include "editing/VolumeChgFrm.h"

#include "core/Numbers.h"
#include "core/Settings.h"

namespace quorvane {

void VolumeChgFrm::UpdateForm() {
  OkClicked = false;
  int32_t value = RoundHalfEven(LeadingNumber(SettingGet("", "ChangeVol", "150")));
  if (value < 0 || value > 200) value = 150;
  VolSlider_Change(value);
}

void VolumeChgFrm::VolSlider_Change(int32_t value) {
  VolSlider = value;
  if (value == 100) {
    DispVolLbl1 = "100%";
    DispVolLbl2 = "(No change to the volume)";
  } else if (value == 0) {
    DispVolLbl1 = "0%";
    DispVolLbl2 = "(Make it to silence)";
  } else if (value < 100) {
    DispVolLbl1 = DecimalText(value) + "%";
    DispVolLbl2 = "(Decrease volume by " + DecimalText(100 - value) + "%)";
  } else {
    DispVolLbl1 = DecimalText(value) + "%";
    DispVolLbl2 = "(Increase volume by " + DecimalText(value - 100) + "%)";
  }
}

void VolumeChgFrm::OkBtn_Click() {
  OkClicked = true;
  SettingPut("", "ChangeVol", DecimalText(VolSlider));
}

}  // namespace quorvane
