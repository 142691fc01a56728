#include "app/SlideStretch.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <vector>

#include "app/AudioFileName.h"
#include "core/Digest.h"
#include "core/FileHelpers.h"
#include "core/ProjectTables.h"
#include "storage/FileMemoClass.h"
#include "storage/OriginalFileStretch.h"

namespace quorvane {

namespace {

// Calls `chunk(left, right, count)` for the stretch in pieces; elements 1..count hold the
// samples, `right` only for a stereo document. Stops when it returns false.
void ReadStretch(FileMemoClass& document, int32_t first, int32_t last,
                 const std::function<bool(const std::vector<int16_t>&, const std::vector<int16_t>&,
                                          int32_t)>& chunk) {
  constexpr int32_t kChunk = 65536;
  std::vector<int16_t> left;
  std::vector<int16_t> right;
  const int32_t channels = document.WavFmtChannel == 2 ? 0 : 1;
  for (int32_t from = first; from <= last; from += kChunk) {
    const int32_t count = std::min(kChunk, last - from + 1);
    document.QuickBuffGet(from, count, channels, left, right);
    if (channels == 1) right.assign(1, 0);
    if (!chunk(left, right, count)) return;
  }
}

int32_t SlideLast(const FileMemoClass& document, int32_t n) {
  return SlideEndPosition(n, document.WavWaveINos) - 1;
}

}  // namespace

bool StretchIsSilent(FileMemoClass& document, int32_t first, int32_t last) {
  bool silent = true;
  ReadStretch(document, first, last, [&](const auto& left, const auto& right, int32_t count) {
    const auto loud = [](int16_t sample) { return sample != 0; };
    silent =
        !std::any_of(left.begin() + 1, left.begin() + 1 + count, loud) &&
        (right.size() == 1 || !std::any_of(right.begin() + 1, right.begin() + 1 + count, loud));
    return silent;
  });
  return silent;
}

uint64_t StretchDigest(FileMemoClass& document, int32_t first, int32_t last) {
  Digest digest;
  digest.Mix(std::max(0, last - first + 1));
  digest.Mix(document.WavFmtChannel);
  ReadStretch(document, first, last, [&](const auto& left, const auto& right, int32_t count) {
    for (int32_t k = 1; k <= count; ++k) {
      const uint16_t r =
          right.size() > 1 ? static_cast<uint16_t>(right[static_cast<size_t>(k)]) : 0;
      digest.Mix(static_cast<uint16_t>(left[static_cast<size_t>(k)]) | (int64_t{r} << 16));
    }
    return true;
  });
  return digest.Value();
}

uint64_t SlideMarkersDigest(int32_t n) {
  const ProjectData& project = Project();
  const int32_t start = project.Slides[static_cast<size_t>(n)].Start;
  Digest digest;
  for (int32_t m = 1; m <= project.MarkerCount; ++m) {
    const MarkerInfo& marker = project.Markers[static_cast<size_t>(m)];
    if (marker.Slide != n) continue;
    digest.Mix(marker.Kind);
    digest.Mix(int64_t{marker.Position} - start);
  }
  return digest.Value();
}

bool SlideAudioEdited(FileMemoClass& document, int32_t n) {
  const SlideInfo& slide = Project().Slides[static_cast<size_t>(n)];
  return StretchDigest(document, slide.Start, SlideLast(document, n)) != slide.LoadedAudio;
}

bool SlideMarkersEdited(int32_t n) {
  return SlideMarkersDigest(n) != Project().Slides[static_cast<size_t>(n)].LoadedMarkers;
}

void NoteLoadedSlides(FileMemoClass& document) {
  ProjectData& project = Project();
  // Every slide's markers in one pass, as SlideMarkersDigest takes them one slide at a time.
  std::vector<Digest> markers(static_cast<size_t>(project.SlideCount) + 1);
  for (int32_t m = 1; m <= project.MarkerCount; ++m) {
    const MarkerInfo& marker = project.Markers[static_cast<size_t>(m)];
    if (marker.Slide < 1 || marker.Slide > project.SlideCount) continue;
    Digest& digest = markers[static_cast<size_t>(marker.Slide)];
    digest.Mix(marker.Kind);
    digest.Mix(int64_t{marker.Position} - project.Slides[static_cast<size_t>(marker.Slide)].Start);
  }
  for (int32_t n = 1; n <= project.SlideCount; ++n) {
    SlideInfo& slide = project.Slides[static_cast<size_t>(n)];
    const int32_t last = SlideLast(document, n);
    // An MP3 track, or a compressed WAV, is read from its decoding: while the slide's
    // samples still lie there, encoding them again would only lose quality (or write the
    // user's compressed file out as plain PCM).
    const std::string at = OriginalFileAt(document, slide.Start);
    slide.LoadedFrom =
        LowerEnding(slide.TrackPath, 4) == ".mp3" || !at.empty() ? at : slide.TrackPath;
    slide.LoadedLayout = OriginalFileLayout(document, slide.Start, last, slide.LoadedFrom);
    slide.LoadedMarkers = markers[static_cast<size_t>(n)].Value();
    // Where the project gives no rate, a track of another rate than the first was converted
    // when it was loaded, and lies in no file of its own: whether it still holds the slide's
    // audio is told by the samples themselves, so that an unedited save never writes it
    // again at a rate it did not have. (A project that gives a rate wants its tracks in it.)
    std::error_code error;
    slide.LoadedByDigest = project.BaseFrequency == 0 && !slide.TrackUnreadable &&
                           slide.LoadedLayout == 0 && FileExists(slide.TrackPath) &&
                           std::filesystem::file_size(slide.TrackPath, error) > 0 && !error;
    if (slide.TrackUnreadable || slide.LoadedByDigest) {
      slide.LoadedAudio = StretchDigest(document, slide.Start, last);
    }
  }
}

bool SlideTrackUpToDate(FileMemoClass& document, int32_t n) {
  const SlideInfo& slide = Project().Slides[static_cast<size_t>(n)];
  if (slide.LoadedByDigest) return !SlideAudioEdited(document, n);
  return slide.LoadedLayout != 0 &&
         OriginalFileLayout(document, slide.Start, SlideLast(document, n), slide.LoadedFrom) ==
             slide.LoadedLayout;
}

}  // namespace quorvane
