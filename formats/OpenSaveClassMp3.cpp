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
#include "formats/Mp3Frames.h"
#include "formats/OpenSaveClass.h"
#include "platform/ProcessRunner.h"

namespace quorvane {

namespace {

void Warn(const std::string& text) { UserInterface().Message(text, MessageIcon::Exclamation); }

// The project file names the encoder, so it could name any program (a shell, with a script
// in the settings). Only an executable file called "lame" is run.
bool IsEncoderProgram(const std::string& path) {
  namespace fs = std::filesystem;
  std::error_code error;
  // A link called "lame" to another program runs that program.
  const fs::path program = fs::canonical(path, error);
  if (error || fs::path(path).filename() != "lame" || program.filename() != "lame") return false;
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
    // A decoder plays a file cut short without a word; loading it would later save the cut
    // track over the whole one.
    const Mp3FrameWalk walk = WalkMp3Frames(FileName1);
    if (walk.CutShort()) {
      Warn((walk.lastFrameCut
                ? std::string("The MP3 file ends in the middle of a frame")
                : "The MP3 file holds " + DecimalText(walk.frames) + " of the " +
                      DecimalText(walk.declaredFrames) + " frames its header counts") +
           ": it is cut short, and is left as it is" + kCrLf + FileName1);
      return false;
    }
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
    // Only the settings are split into arguments; the file names go as they are. Settings
    // that send the encoder's output to other files are refused: it would write outside the
    // target folder and leave the track empty.
    std::vector<std::string> arguments{Project().LamePath};
    for (std::string& setting : SplitCommandLine(Trim(Project().LameSettings))) {
      if (setting.rfind("--nogap", 0) == 0 || setting == "--out-dir") {
        Warn("The MP3 encoder settings (LameSettings) may not send its output elsewhere: " +
             setting + kCrLf + mp3File);
        DeleteFileIfExists(temporary);
        return false;
      }
      arguments.push_back(std::move(setting));
    }
    arguments.push_back(temporary);
    arguments.push_back(mp3File);
    const bool encoded = written && RunAndWait(arguments, mp3File, mp3File);
    DeleteFileIfExists(temporary);
    if (!encoded || !FileExists(mp3File)) return false;
    // Whatever the settings made the encoder do, what it wrote must be whole MP3 audio
    // before it may take the track's place.
    const Mp3FrameWalk walk = WalkMp3Frames(mp3File);
    if (!walk.readable || walk.CutShort()) {
      Warn("The MP3 encoder wrote no complete MP3 audio" + std::string(kCrLf) + mp3File);
      return false;
    }
    return true;
  } catch (const std::exception& error) {
    Warn(ErrorDescription(error));
    return false;
  }
}

}  // namespace quorvane
