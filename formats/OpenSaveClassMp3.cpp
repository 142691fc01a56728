// MP3 files through the encoder program: decoded to and encoded from intermediate WAV files.
#include <chrono>
#include <thread>

#include "core/ErrorReport.h"
#include "core/FileHelpers.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "core/ProjectTables.h"
#include "formats/OpenSaveClass.h"
#include "platform/ProcessRunner.h"

namespace quorvane {

namespace {

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

void Warn(const std::string& text) { UserInterface().Message(text, MessageIcon::Exclamation); }

// The intermediate file has to exist before the encoder runs; a moment lets the file
// system settle after the writer closed it.
constexpr std::chrono::milliseconds kSettleAfterWrite{500};

}  // namespace

bool OpenSaveClass::CheckEncoder() {
  const std::string& encoder = Project().LamePath;
  if (encoder.empty()) {
    Warn("Mp3 encoder Exe file not found");
    return false;
  }
  if (!FileExists(encoder)) {
    Warn(std::string("Mp3 encoder Exe file not found") + kCrLf + encoder);
    return false;
  }
  return true;
}

void OpenSaveClass::RunAndWait(const std::string& CommandLine) { RunAndWaitProcess(CommandLine); }

bool OpenSaveClass::FileLoadMp3(FileMemoClass& FilMemOb, const std::string& FileName1) {
  try {
    if (!CheckEncoder()) return false;
    const std::string temporary = NewTempFileName("wav");
    RunAndWait(Quoted(Project().LamePath) + " --decode " + Quoted(FileName1) + " " +
               Quoted(temporary));
    if (FileExists(temporary)) return FileLoadWave(FilMemOb, temporary);
    Warn("Failed in decoding to intermediate wave file");
    return false;
  } catch (const std::exception& error) {
    Warn(ErrorDescription(error));
    return false;
  }
}

void OpenSaveClass::FileWriteMp3(FileMemoClass& FilMemOb, const std::string& FileName1,
                                 bool /*blnUsePrevPrm*/) {
  EncodeMp3(FileName1, [&](const std::string& wave) { FileWriteWave(FilMemOb, wave); });
}

void OpenSaveClass::FileWriteMp3Part(FileMemoClass& FilMemOb, int32_t SavFromPos, int32_t SavToPos,
                                     int32_t WorkChn, const std::string& FileName1) {
  EncodeMp3(FileName1, [&](const std::string& wave) {
    FileWriteWavePart(FilMemOb, SavFromPos, SavToPos, WorkChn, wave);
  });
}

void OpenSaveClass::EncodeMp3(const std::string& mp3File,
                              const std::function<void(const std::string&)>& writeWave) {
  try {
    if (!CheckEncoder()) return;
    const std::string temporary = NewTempFileName("wav");
    writeWave(temporary);
    std::this_thread::sleep_for(kSettleAfterWrite);
    if (!FileExists(temporary)) {
      Warn("Error writing intermediate wave file");
      return;
    }
    RunAndWait(Quoted(Project().LamePath) + " " + Trim(Project().LameSettings) + " " +
               Quoted(temporary) + " " + Quoted(mp3File));
    DeleteFileIfExists(temporary);
  } catch (const std::exception& error) {
    Warn(ErrorDescription(error));
  }
}

}  // namespace quorvane
