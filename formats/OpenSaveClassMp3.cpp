// MP3 files through the encoder program: decoded to and encoded from intermediate WAV files.
#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "core/ErrorReport.h"
#include "core/FileHelpers.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "core/ProjectTables.h"
#include "formats/BinaryFile.h"
#include "formats/OpenSaveClass.h"
#include "platform/ProcessRunner.h"

namespace quorvane {

namespace {

void Warn(const std::string& text) { UserInterface().Message(text, MessageIcon::Exclamation); }

// The project file names the encoder, so it could name any program (a shell, with a script
// in the settings). Only an executable file called "lame" is run.
bool IsEncoderProgram(const std::string& path) {
  namespace fs = std::filesystem;
  if (fs::path(path).filename() != "lame") return false;
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  constexpr fs::perms anyExecute =
      fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec;
  return !error && fs::is_regular_file(status) &&
         (status.permissions() & anyExecute) != fs::perms::none;
}

// The intermediate file has to exist before the encoder runs; a moment lets the file
// system settle after the writer closed it.
constexpr std::chrono::milliseconds kSettleAfterWrite{500};

// How long the encoder's output may stand still before the encoder counts as hung.
std::chrono::seconds g_encoderStallLimit{60};

std::string SecondsText(std::chrono::seconds limit) {
  return limit.count() == 1 ? "1 second" : DecimalText(limit.count()) + " seconds";
}

}  // namespace

void OpenSaveClass::SetEncoderStallLimit(std::chrono::seconds limit) {
  g_encoderStallLimit = limit;
}

bool OpenSaveClass::CheckEncoder() {
  const std::string& encoder = Project().LamePath;
  if (encoder.empty()) {
    Warn("Mp3 encoder Exe file not found");
    return false;
  }
  if (!IsEncoderProgram(encoder)) {
    Warn(std::string("Mp3 encoder Exe file not found") + kCrLf + encoder);
    return false;
  }
  return true;
}

bool OpenSaveClass::RunAndWait(const std::vector<std::string>& arguments,
                               const std::string& outputFile, const std::string& mp3File) {
  RunOptions options;
  options.progressFile = outputFile;
  options.stallLimit = g_encoderStallLimit;
  const ProgramOutcome outcome = RunAndWaitProcess(arguments, options);
  if (outcome.end == ProgramEnd::Stalled) {
    Warn("The MP3 encoder made no progress for " + SecondsText(g_encoderStallLimit) +
         " and was stopped" + kCrLf + mp3File);
  }
  return outcome.Succeeded();
}

bool OpenSaveClass::FileLoadMp3(FileMemoClass& FilMemOb, const std::string& FileName1) {
  try {
    if (!CheckEncoder()) return false;
    const std::string temporary = NewTempFileName("wav");
    // Made here, for the user alone, before lame writes the decoded audio into it.
    BinaryFile(temporary, BinaryFile::Mode::CreateNew).Close();
    const bool decoded =
        RunAndWait({Project().LamePath, "--decode", FileName1, temporary}, temporary, FileName1);
    // A decoder that failed, was killed or hung may have left part of the audio: loading
    // that would later save the cut track over the whole one.
    std::error_code error;
    const auto size = std::filesystem::file_size(temporary, error);
    if (decoded && !error && size > 0) return FileLoadWave(FilMemOb, temporary);
    DeleteFileIfExists(temporary);
    Warn("Failed in decoding to intermediate wave file");
    return false;
  } catch (const std::exception& error) {
    Warn(ErrorDescription(error));
    return false;
  }
}

bool OpenSaveClass::FileWriteMp3(FileMemoClass& FilMemOb, const std::string& FileName1,
                                 bool /*blnUsePrevPrm*/) {
  return EncodeMp3(FileName1,
                   [&](const std::string& wave) { return FileWriteWave(FilMemOb, wave); });
}

bool OpenSaveClass::FileWriteMp3Part(FileMemoClass& FilMemOb, int32_t SavFromPos, int32_t SavToPos,
                                     int32_t WorkChn, const std::string& FileName1) {
  return EncodeMp3(FileName1, [&](const std::string& wave) {
    return FileWriteWavePart(FilMemOb, SavFromPos, SavToPos, WorkChn, wave);
  });
}

bool OpenSaveClass::EncodeMp3(const std::string& mp3File,
                              const std::function<bool(const std::string&)>& writeWave) {
  try {
    if (!CheckEncoder()) return false;
    const std::string temporary = NewTempFileName("wav");
    const bool written = writeWave(temporary);
    std::this_thread::sleep_for(kSettleAfterWrite);
    if (!FileExists(temporary)) {
      Warn("Error writing intermediate wave file");
      return false;
    }
    // Only the settings are split into arguments; the file names go as they are.
    std::vector<std::string> arguments{Project().LamePath};
    for (std::string& setting : SplitCommandLine(Trim(Project().LameSettings))) {
      arguments.push_back(std::move(setting));
    }
    arguments.push_back(temporary);
    arguments.push_back(mp3File);
    const bool encoded = written && RunAndWait(arguments, mp3File, mp3File);
    DeleteFileIfExists(temporary);
    return encoded && FileExists(mp3File);
  } catch (const std::exception& error) {
    Warn(ErrorDescription(error));
    return false;
  }
}

}  // namespace quorvane
