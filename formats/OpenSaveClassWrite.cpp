// Writing a document, or a stretch of it, as a PCM WAV file, one run at a time.
#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

#include "core/ErrorReport.h"
#include "core/FileHelpers.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "core/Trace.h"
#include "formats/BinaryFile.h"
#include "formats/OpenSaveClass.h"
#include "platform/CanonicalWaveHeader.h"
#include "platform/WaveSamples.h"
#include "storage/BlockList.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

namespace {

constexpr uint32_t kWritingBarColor = 255;  // red

// One run of samples in the file's format: 16-bit as held, 8-bit as value + 128, stereo
// interleaved left then right. `right` is null for a one-channel file.
void EncodeRun(const int16_t* left, const int16_t* right, size_t frames, int32_t bits,
               std::vector<unsigned char>& out) {
  const size_t channels = right ? 2 : 1;
  out.resize(frames * channels * static_cast<size_t>(bits / 8));
  unsigned char* at = out.data();
  if (bits == 16 && std::endian::native == std::endian::little) {
    // Samples are held as the file holds them: copied, interleaved where there are two.
    if (!right) {
      std::memcpy(at, left, 2 * frames);
      return;
    }
    for (size_t i = 0; i < frames; ++i, at += 4) {
      std::memcpy(at, left + i, 2);
      std::memcpy(at + 2, right + i, 2);
    }
    return;
  }
  const auto put = [&at, bits](int16_t value) {
    if (bits == 8 && (value < -128 || value > 127)) ThrowError(6, "Overflow");
    at = EncodeWaveSample(value, bits / 8, at);
  };
  for (size_t i = 0; i < frames; ++i) {
    put(left[i]);
    if (right) put(right[i]);
  }
}

}  // namespace

void OpenSaveClass::WriteWaveRuns(FileMemoClass& document, const std::string& fileName,
                                  int32_t fromPos, int32_t frames, int32_t collectChannel,
                                  int32_t channelsWritten,
                                  const std::vector<unsigned char>& trailingChunks) {
  const int32_t bits = document.WavFmtBits;
  const int32_t frameBytes = bits / 8 * channelsWritten;
  // The name was freed just before: a file or link that appeared there since is not ours to
  // write into.
  BinaryFile file(fileName, BinaryFile::Mode::CreateNew);
  const auto header = CanonicalWaveHeader(channelsWritten, document.WavFmtFreq, bits, frames,
                                          static_cast<uint32_t>(trailingChunks.size()));
  file.WriteAt(0, header.data(), header.size());

  // The progress moves once per run; each run is read and written in pieces small enough
  // to stay in the processor's cache, since a run may hold minutes of audio and buffers of
  // that size cost more in page faults than the write itself.
  const int32_t run = FileBlockLen * 2 / frameBytes;
  constexpr int32_t kLongestPiece = 65536;
  std::vector<int16_t> left;
  std::vector<int16_t> right;
  std::vector<unsigned char> bytes;
  for (int32_t i = 0; i < frames;) {
    if (i % run == 0) {
      UserInterface().Progress().SetCurrentProgress(static_cast<float>(i) /
                                                    static_cast<float>(frames));
    }
    const int32_t length = std::min({kLongestPiece, run - i % run, frames - i});
    // Samples are read where they lie: a save neither loads the document's blocks nor
    // pushes the ones being edited out of memory.
    document.QuickBuffGet(fromPos + i, length, collectChannel, left, right);
    const std::vector<int16_t>& chosen = collectChannel == 2 ? right : left;
    EncodeRun(chosen.data() + 1, channelsWritten == 2 ? right.data() + 1 : nullptr,
              static_cast<size_t>(length), bits, bytes);
    file.WriteAt(kCanonicalHeaderBytes + static_cast<int64_t>(i) * frameBytes, bytes.data(),
                 bytes.size());
    i += length;
  }
  if (!trailingChunks.empty()) {
    const auto dataBytes = static_cast<uint32_t>(frames) * static_cast<uint32_t>(frameBytes);
    std::vector<unsigned char> tail(DataPadBytes(dataBytes), 0);
    tail.insert(tail.end(), trailingChunks.begin(), trailingChunks.end());
    file.WriteAt(kCanonicalHeaderBytes + int64_t{dataBytes}, tail.data(), tail.size());
  }
  file.CloseWritten();
}

bool OpenSaveClass::FileWriteWave(FileMemoClass& FilMemOb, const std::string& FileName1) {
  const ShownProgress progress(kWritingBarColor);
  try {
    const int32_t frames = FilMemOb.WavWaveINos;
    if (FileName1.empty()) {
      UserInterface().Message("No file name given to write");
      return false;
    }
    if (frames == 0) {
      UserInterface().Message("Zero size wave found", MessageIcon::None, "Writing wave error");
      return false;
    }
    const int32_t channels = FilMemOb.WavFmtChannel;
    const int32_t bits = FilMemOb.WavFmtBits;
    if ((channels != 1 && channels != 2) || (bits != 8 && bits != 16)) {
      UserInterface().Message("Format not Known to write wave file");
      return false;
    }
    SetOriginalFileAside(FileName1);
    if (!DeleteFileIfExists(FileName1)) {
      UserInterface().Message("This file " + FileName1 + " is locked," + kCrLf +
                                  "may be used by another program." + kCrLf +
                                  "Release that file and try again",
                              MessageIcon::None, "Failed to write wave file");
      return false;
    }
    WriteWaveRuns(FilMemOb, FileName1, 1, frames, channels == 1 ? 1 : 0, channels);
    return true;
  } catch (const std::exception& error) {
    UserInterface().Message(ErrorDescription(error), MessageIcon::None, "Wave file write error");
    return false;
  }
}

bool OpenSaveClass::FileWriteWavePart(FileMemoClass& FilMemOb, int32_t SavFromPos, int32_t SavToPos,
                                      int32_t WorkChn, const std::string& FileName1,
                                      const std::vector<unsigned char>& trailingChunks) {
  Trace("FileWriteWavePart: Enter");
  const ShownProgress progress(kWritingBarColor);
  try {
    const int32_t total = FilMemOb.WavWaveINos;
    if (total == 0) {
      UserInterface().Message("Zero size wave found", MessageIcon::None, "Writing wave error");
      return false;
    }
    if (SavFromPos < 1 || SavToPos > total || SavFromPos > SavToPos) {
      UserInterface().Message("Invalid selection to save selected");
      return false;
    }
    if (FileName1.empty()) {
      UserInterface().Message("No file name given to write");
      return false;
    }
    const bool stereo = FilMemOb.WavFmtChannel == 2;
    const int32_t collect = WorkChn == 0 ? (stereo ? 0 : 1) : (WorkChn == 2 && stereo ? 2 : 1);
    const int32_t channelsWritten = collect == 0 ? 2 : 1;
    const int32_t bits = FilMemOb.WavFmtBits;
    if (bits != 8 && bits != 16) {
      UserInterface().Message("Format not Known to write wave file");
      return false;
    }
    SetOriginalFileAside(FileName1);
    if (FileExists(FileName1)) {
      Trace("FileWriteWavePart: attempting to delete " + FileName1);
      if (!DeleteFileIfExists(FileName1)) {
        ThrowError(kErrorPermissionDenied, "Permission denied: " + FileName1);
      }
    }
    WriteWaveRuns(FilMemOb, FileName1, SavFromPos, SavToPos - SavFromPos + 1, collect,
                  channelsWritten, trailingChunks);
    return true;
  } catch (const std::exception& error) {
    const int32_t number = ErrorNumber(error);
    Trace("FileWriteWavePart Error - " + ErrorDescription(error) + " " + DecimalText(number));
    const uint32_t line = ErrorLine(error);
    UserInterface().Message(
        NumberedErrorText(number, line ? std::optional<uint32_t>(line) : std::nullopt,
                          "OpenSaveClass", ErrorDescription(error)),
        MessageIcon::Critical);
    return false;
  }
}

}  // namespace quorvane
