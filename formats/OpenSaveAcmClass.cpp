#include "formats/OpenSaveAcmClass.h"

#include <algorithm>
#include <exception>
#include <thread>

#include "core/Environment.h"
#include "core/ErrorReport.h"
#include "core/Interaction.h"
#include "core/Settings.h"

namespace quorvane {

namespace {

constexpr const char* kCreateFailed = "Failed to create decoding object.";
constexpr int32_t kErrorBufferSize = 256;

AcmPollTiming g_programTiming;

}  // namespace

AcmPollTiming ProgramAcmPollTiming() { return g_programTiming; }

void SetProgramAcmPollTiming(AcmPollTiming timing) { g_programTiming = timing; }

OpenSaveAcmClass::OpenSaveAcmClass()
    : OpenSaveAcmClass(SystemDecodingLibrary(), ProgramAcmPollTiming()) {}

OpenSaveAcmClass::OpenSaveAcmClass(DecodingLibrary& library, AcmPollTiming timing)
    : library_(library), timing_(timing) {
  try {
    SettingPut("Misc", "WindowSize", "196500");
    handle_ = library_.xAcm_CreateObject(Env().SettingsFile);
    HandleReady = handle_ != 0;
    if (!HandleReady) UserInterface().Message(kCreateFailed);
  } catch (const std::exception& error) {
    HandleReady = false;
    UserInterface().Message(ActionErrorText(kCreateFailed, ErrorDescription(error)));
  }
}

OpenSaveAcmClass::~OpenSaveAcmClass() { library_.xAcm_DestroyObject(handle_); }

bool OpenSaveAcmClass::AcmDecodeFile(const std::string& CompWavFileNm,
                                     const std::string& DestWavFileNm, float PrgShr) {
  ProgressDisplay& progress = UserInterface().Progress();
  bool showedProgress = false;
  try {
    if (handle_ == 0) return false;
    if (library_.xAcm_DecodeFile(handle_, CompWavFileNm, DestWavFileNm) == 0) return false;

    const float base = progress.CurrentProgress();
    if (!progress.IsVisible()) {
      progress.SetIsVisible(true);
      showedProgress = true;
    }
    // The interaction interface offers no event pass of its own: the progress display
    // repaints itself whenever its value changes.
    std::this_thread::sleep_for(timing_.firstWait);

    bool decoded = false;
    for (;;) {
      int32_t percent = library_.xAcm_GetDecodingPercent(handle_);
      if (percent < 0) break;
      percent = std::min(percent, 100);
      progress.SetCurrentProgress(static_cast<float>(base + percent / 100.0 * PrgShr));
      std::this_thread::sleep_for(timing_.pollInterval);
      if (percent == 100) {
        decoded = true;
        break;
      }
    }
    if (showedProgress) progress.SetIsVisible(false);
    return decoded;
  } catch (const std::exception& error) {
    if (showedProgress) progress.SetIsVisible(false);
    UserInterface().Message(ErrorDescription(error));
    return false;
  }
}

std::string OpenSaveAcmClass::GetLastError() {
  std::string buffer(kErrorBufferSize, ' ');
  const int32_t written = library_.xAcm_GetErrorString(handle_, buffer.data(), kErrorBufferSize);
  if (written <= 1) return "";
  return buffer.substr(0, static_cast<size_t>(std::min(written, kErrorBufferSize) - 1));
}

}  // namespace quorvane
