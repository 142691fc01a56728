// Reading and writing the audio files of the timeline: PCM WAV read in place (described as
// blocks of the source file, no sample copied), compressed WAV decoded first, WAV written
// in runs, MP3 through the external encoder program.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace quorvane {

class FileMemoClass;

class OpenSaveClass {
 public:
  OpenSaveClass();

  // Makes the file the whole content of the document; false (after a message) on failure.
  bool FileLoadWave(FileMemoClass& FilMemOb, const std::string& FileName1);

  // Writes the whole document, or frames SavFromPos..SavToPos of the chosen channels;
  // false (after a message) when the file was not written whole.
  bool FileWriteWave(FileMemoClass& FilMemOb, const std::string& FileName1);
  // `trailingChunks` (whole chunks, such as cue points) go after the data.
  bool FileWriteWavePart(FileMemoClass& FilMemOb, int32_t SavFromPos, int32_t SavToPos,
                         int32_t WorkChn, const std::string& FileName1,
                         const std::vector<unsigned char>& trailingChunks = {});

  // MP3 through the encoder program named by the project's "LamePath".
  bool FileLoadMp3(FileMemoClass& FilMemOb, const std::string& FileName1);
  // False when the file was not written whole (the encoder failed or never ran).
  bool FileWriteMp3(FileMemoClass& FilMemOb, const std::string& FileName1, bool blnUsePrevPrm);
  bool FileWriteMp3Part(FileMemoClass& FilMemOb, int32_t SavFromPos, int32_t SavToPos,
                        int32_t WorkChn, const std::string& FileName1);

  // How long the encoder may go without adding to its output file before it is stopped
  // and the load or save fails; 60 seconds unless changed.
  static void SetEncoderStallLimit(std::chrono::seconds limit);

  // Frames per run into which files are cut when read and written.
  int32_t FileBlockLen = 0;

 private:
  bool LoadWaveFile(FileMemoClass& document, const std::string& fileName);
  void WriteWaveRuns(FileMemoClass& document, const std::string& fileName, int32_t fromPos,
                     int32_t frames, int32_t collectChannel, int32_t channelsWritten,
                     const std::vector<unsigned char>& trailingChunks = {});
  bool CheckEncoder();
  bool EncodeMp3(const std::string& mp3File,
                 const std::function<bool(const std::string&)>& writeWave);
  // Runs the encoder; true when it ended with status 0. An encoder whose `outputFile` stood
  // still too long is stopped with a message that names `mp3File`.
  bool RunAndWait(const std::vector<std::string>& arguments, const std::string& outputFile,
                  const std::string& mp3File);
};

}  // namespace quorvane
