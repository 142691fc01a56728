#include "editing/ClipboardAudio.h"

#include <fstream>
#include <memory>
#include <vector>

#include "app/Session.h"
#include "core/EditJournal.h"
#include "core/FileHelpers.h"
#include "core/ProjectTables.h"
#include "editing/TextClipboard.h"
#include "platform/CanonicalWaveHeader.h"
#include "platform/WaveSamples.h"
#include "storage/BlockCarrBuffClass.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

std::string CarriersAsWav(const BlockCarrBuffClass& left, const BlockCarrBuffClass* right,
                          int32_t bits, int32_t rate) {
  const int32_t frames = left.WaveINos;
  const int32_t channels = right != nullptr ? 2 : 1;
  const int32_t sampleBytes = bits / 8;
  const auto header = CanonicalWaveHeader(channels, rate, bits, frames);
  std::string wav(header.begin(), header.end());
  wav.reserve(wav.size() + static_cast<size_t>(frames) * channels * sampleBytes);
  constexpr int32_t kPiece = 65536;
  std::vector<int16_t> first;
  std::vector<int16_t> second;
  uint8_t bytes[4];
  for (int32_t from = 1; from <= frames; from += kPiece) {
    const int32_t count = std::min(kPiece, frames - from + 1);
    first.assign(static_cast<size_t>(count) + 1, 0);
    left.QuickBuffGet(from, first);
    if (right != nullptr) {
      second.assign(static_cast<size_t>(count) + 1, 0);
      right->QuickBuffGet(from, second);
    }
    for (int32_t k = 1; k <= count; ++k) {
      uint8_t* end = EncodeWaveSample(first[static_cast<size_t>(k)], sampleBytes, bytes);
      if (right != nullptr)
        end = EncodeWaveSample(second[static_cast<size_t>(k)], sampleBytes, end);
      wav.append(reinterpret_cast<const char*>(bytes), static_cast<size_t>(end - bytes));
    }
  }
  return wav;
}

bool PasteClipboardWav(FileMemoClass& document, int32_t position, std::string* keptAs) {
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
  if (inserted && keptAs != nullptr) *keptAs = Journal().Keep(file);
  return inserted;
}

}  // namespace quorvane
