// Decoding of compressed WAV files into PCM WAV files for the WAV reader, through the
// decoding library, with the decoding's progress shown on the progress display.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "formats/DecodingLibrary.h"

namespace quorvane {

// How AcmDecodeFile paces itself: a first wait after the decoding has started, then one
// wait after every look at the percentage. The defaults are the program's.
struct AcmPollTiming {
  std::chrono::milliseconds firstWait{100};
  std::chrono::milliseconds pollInterval{250};
};

// The timing of objects made by the first constructor below. The program never changes it;
// the fuzzing harness, which decodes thousands of small files a minute, shortens it.
AcmPollTiming ProgramAcmPollTiming();
void SetProgramAcmPollTiming(AcmPollTiming timing);

class OpenSaveAcmClass {
 public:
  // Writes "WindowSize" = "196500" in section "Misc" of the settings file and creates the
  // decoding object of our decoder, telling the user when that fails. Paced by
  // ProgramAcmPollTiming().
  OpenSaveAcmClass();
  explicit OpenSaveAcmClass(DecodingLibrary& library, AcmPollTiming timing = {});
  ~OpenSaveAcmClass();
  OpenSaveAcmClass(const OpenSaveAcmClass&) = delete;
  OpenSaveAcmClass& operator=(const OpenSaveAcmClass&) = delete;

  // True when the decoding object was created.
  bool HandleReady = false;

  // Decodes the compressed file into a PCM WAV file of the given name and waits for it,
  // filling the share `PrgShr` of the progress display. True when the file is complete.
  bool AcmDecodeFile(const std::string& CompWavFileNm, const std::string& DestWavFileNm,
                     float PrgShr);

  // The library's text for its last error, or "".
  std::string GetLastError();

  // Has no effect.
  void GetCodecInfo() {}

  const AcmPollTiming& Timing() const { return timing_; }

 private:
  DecodingLibrary& library_;
  AcmPollTiming timing_;
  int32_t handle_ = 0;
};

}  // namespace quorvane
