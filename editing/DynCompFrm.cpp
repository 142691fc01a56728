#include "editing/DynCompFrm.h"

#include <charconv>
#include <vector>

#include "core/Interaction.h"
#include "core/Numbers.h"
#include "core/Settings.h"

namespace quorvane {

std::string SingleText(float value) {
  char text[32];
  const auto result = std::to_chars(text, text + sizeof text, value);
  return std::string(text, result.ptr);
}

void DynCompFrm::Form_Load() {
  const std::string setting = SettingGet("Effects", "DynamicCE", "0.3,100,3");
  std::vector<std::string> fields;
  size_t at = 0;
  for (size_t comma; (comma = setting.find(',', at)) != std::string::npos; at = comma + 1) {
    fields.push_back(setting.substr(at, comma - at));
  }
  fields.push_back(setting.substr(at));
  fields.resize(3);
  const auto duration = static_cast<float>(LeadingNumber(fields[0]));
  SampDurTxt = duration < 0.1 || duration > 4.0 ? "0.3" : SingleText(duration);
  const int32_t target = RoundHalfEven(LeadingNumber(fields[1]));
  TargetVolTxt = target < 11 || target > 200 ? "30" : DecimalText(target);
  const int32_t cutOff = RoundHalfEven(LeadingNumber(fields[2]));
  CutOffVolTxt = cutOff < 0 || cutOff > 10 ? "3" : DecimalText(cutOff);
}

void DynCompFrm::Form_Unload() const {
  if (OkClicked) {
    SettingPut("Effects", "DynamicCE", SampDurTxt + "," + TargetVolTxt + "," + CutOffVolTxt);
  }
}

std::optional<std::string> DynCompFrm::CheckValues(DynamicParameters& values) const {
  const auto duration = static_cast<float>(LeadingNumber(SampDurTxt));
  if (!(duration >= 0.1 && duration <= 4.0)) {
    return std::string("Invalid sampling duration") + kCrLf + "Entered sampling duration is " +
           SingleText(duration) + kCrLf + "(0.1 to 10.0 is allowed)";
  }
  const int32_t target = RoundHalfEven(LeadingNumber(TargetVolTxt));
  if (target < 10 || target > 200) {
    return std::string("Invalid target volume") + kCrLf + "Entered target volume is " +
           DecimalText(target) + "%" + kCrLf + "(10 to 200 is allowed)";
  }
  const int32_t cutOff = RoundHalfEven(LeadingNumber(CutOffVolTxt));
  if (cutOff < 0 || cutOff > 10) {
    return std::string("Invalid cut off volume") + kCrLf + "Entered cut off volume is " +
           DecimalText(cutOff) + "%" + kCrLf + "(0 to 10 is allowed)";
  }
  values = DynamicParameters{duration, target, cutOff};
  return std::nullopt;
}

}  // namespace quorvane
