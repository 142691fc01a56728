#include "ui/CleanUpVoiceDialog.h"

namespace quorvane {

CleanUpVoiceDialog::CleanUpVoiceDialog(QWidget* parent)
    : TwoValueDialog(parent, "Clean Up Voice", "CleanUpVoice",
                     {{{"HighPassTxt", "&High-pass filter (Hz):", "0 for none, 20 to 300", "80"},
                       {"StrengthTxt", "&Noise reduction (dB):", "0 for none, up to 40", "12"}}},
                     "The filter takes out rumble and the hum of mains power below its "
                     "frequency; the noise reduction lowers hiss and room noise by this much, "
                     "leaving the voice as it is.") {}

VoiceCleanUp CleanUpVoiceDialog::Values() const {
  const auto [highPass, strength] = Numbers();
  return {highPass, strength};
}

}  // namespace quorvane
