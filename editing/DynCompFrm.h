// What the Dynamic Compress/Expand dialog decides, without the dialog: its three boxes
// filled from the "DynamicCE" setting, the checks of the values with their messages, and
// the setting stored when the dialog closes with OK.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quorvane {

struct DynamicParameters {
  float SampDur = 0.3F;     // D, seconds
  int32_t TargetVol = 100;  // T, percent
  int32_t CutOffVol = 3;    // C, percent
};

struct DynCompFrm {
  std::string SampDurTxt;
  std::string TargetVolTxt;
  std::string CutOffVolTxt;
  bool OkClicked = false;

  // Fills the boxes from "DynamicCE" (default "0.3,100,3"), each value out of its range
  // replaced by the box's own fallback.
  void Form_Load();
  // Stores the three boxes' texts under "DynamicCE" when the dialog closed with OK.
  void Form_Unload() const;
  // The values of the boxes, or the message of the first that is refused.
  std::optional<std::string> CheckValues(DynamicParameters& values) const;
};

// The float as its shortest decimal text: 0.3F gives "0.3", 20 gives "20".
std::string SingleText(float value);

}  // namespace quorvane
