#include "editing/ClipboardAudio.h"

#include <fstream>
#include <memory>
#include <vector>

#include "app/Session.h"
#include "core/FileHelpers.h"
#include "core/ProjectTables.h"
#include "editing/TextClipboard.h"
#include "platform/CanonicalWaveHeader.h"
#include "platform/WaveSamples.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

std::string StretchAsWav(FileMemoClass& document, int32_t first, int32_t last, int32_t channels) {
  const int32_t frames = last - first + 1;
  if (frames < 1 || frames > kLongestClipboardWavSeconds * document.WavFmtFreq) return "";
  const bool both = channels == 0 && document.WavFmtChannel == 2;
  const int32_t written = both ? 2 : 1;
  const int32_t collect = both ? 0 : (channels == 2 ? 2 : 1);
  const int32_t sampleBytes = document.WavFmtBits / 8;
  const auto header =
      CanonicalWaveHeader(written, document.WavFmtFreq, document.WavFmtBits, frames);
  std::string wav(header.begin(), header.end());
  wav.reserve(wav.size() + static_cast<size_t>(frames) * written * sampleBytes);
  constexpr int32_t kPiece = 65536;
  std::vector<int16_t> left;
  std::vector<int16_t> right;
  uint8_t bytes[4];
  for (int32_t from = first; from <= last; from += kPiece) {
    const int32_t count = std::min(kPiece, last - from + 1);
    document.QuickBuffGet(from, count, collect, left, right);
    const std::vector<int16_t>& only = collect == 2 ? right : left;
    for (int32_t k = 1; k <= count; ++k) {
      uint8_t* end = EncodeWaveSample(only[static_cast<size_t>(k)], sampleBytes, bytes);
      if (both) end = EncodeWaveSample(right[static_cast<size_t>(k)], sampleBytes, end);
      wav.append(reinterpret_cast<const char*>(bytes), static_cast<size_t>(end - bytes));
    }
  }
  return wav;
}

bool PasteClipboardWav(FileMemoClass& document, int32_t position) {
  const std::string wav = SystemClipboard().Audio();
  if (wav.empty()) return false;
  // Read as an inserted file is: from a file of its own in the session folder, which the
  // block list removes once no block uses it.
  const std::string file = NewTempFileName("wav");
  std::ofstream(file, std::ios::binary | std::ios::trunc)
      .write(wav.data(), static_cast<std::streamsize>(wav.size()));
  std::unique_ptr<FileMemoClass> track;
  LoadTrackFile(file, track, Project().BaseFrequency, Project().BaseBits);
  const bool inserted =
      track && track->WavWaveINos > 0 && AppendTrack(document, *track, position, "Paste") > 0;
  track.reset();
  if (!inserted) DeleteFileIfExists(file);
  return inserted;
}

}  // namespace quorvane
