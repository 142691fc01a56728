#include "app/Session.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

#include "app/AudioFileName.h"
#include "app/CuePoints.h"
#include "app/SampleConversions.h"
#include "app/SlideStretch.h"
#include "app/StagedFiles.h"
#include "core/Environment.h"
#include "core/ErrorReport.h"
#include "core/FileHelpers.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "core/ProjectTables.h"
#include "formats/OpenSaveClass.h"
#include "storage/BlockCarrBuffClass.h"
#include "storage/BlockList.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

namespace {

constexpr uint32_t kConvertingBarColor = Rgb(0, 128, 128);
constexpr int32_t kFallbackRate = 44100;

// A carrier seen as a channel for the sample conversions.
struct CarrierChannel {
  BlockCarrBuffClass& carrier;
  int32_t Length() const { return carrier.WaveINos; }
  int16_t At(int32_t position) const { return carrier.WaveLR(position); }
  void Resize(int32_t length) { carrier.ReDimSize(length); }
  void Set(int32_t position, int16_t value) { carrier.WaveLR(position, value); }
};

std::unique_ptr<FileMemoClass> NewScratchDocument() {
  auto document = std::make_unique<FileMemoClass>();
  document->IsTempObject = true;
  return document;
}

int32_t ChannelChoice(const FileMemoClass& document) { return document.WavFmtChannel == 2 ? 0 : 1; }

// Brings every channel of the track to `bits`, one channel at a time.
void ConvertTrackBits(FileMemoClass& track, int32_t bits) {
  const int32_t channels = track.WavFmtChannel;
  const float share = channels == 2 ? 0.5F : 1.0F;
  for (int32_t channel = 1; channel <= channels; ++channel) {
    BlockCarrBuffClass left;
    BlockCarrBuffClass right;
    track.WaveCollectData(1, track.WavWaveINos, channel, left, right);
    BlockCarrBuffClass& collected = channel == 1 ? left : right;
    CarrierChannel view{collected};
    ConvertSampleBits(view, track.WavFmtBits, bits, share);
    track.WaveDataReplace(1, channel, &left, &right, "", true);
  }
  track.WaveDataChangeFmt(0, bits, 0, "");
}

// Brings every channel of the track to `freq`, the second channel first.
void ResampleTrack(FileMemoClass& track, int32_t freq, int32_t growStep) {
  const double percent = static_cast<double>(freq) * 100.0 / track.WavFmtFreq;
  for (int32_t channel = track.WavFmtChannel; channel >= 1; --channel) {
    UserInterface().Progress().SetCurrentProgress(0.0F);
    const int32_t length =
        channel == 1 ? track.LeftChannel().Length() : track.RightChannel().Length();
    BlockCarrBuffClass left;
    BlockCarrBuffClass right;
    track.WaveCollectData(1, length, channel, left, right);
    track.WaveDataDelete(1, channel, length, "", true);
    BlockCarrBuffClass& source = channel == 1 ? left : right;
    BlockCarrBuffClass converted;
    CarrierChannel from{source};
    CarrierChannel to{converted};
    if (percent < 100.0) {
      ResampleNearest(from, percent, to, 1.0F);
    } else {
      ResampleCurve(from, track.WavFmtBits, percent, percent, to, 1.0F, growStep);
    }
    if (channel == 1) {
      track.WaveDataInsert(1, 1, &converted, &right, "", true);
    } else {
      track.WaveDataInsert(1, 2, &left, &converted, "", true);
    }
  }
  track.WavFmtFreq = freq;
}

}  // namespace

void LoadTrackFile(const std::string& path, std::unique_ptr<FileMemoClass>& track, int32_t freq,
                   int32_t bits) {
  const BusyPointer busy;
  try {
    track = NewScratchDocument();
    OpenSaveClass files;
    const std::string ending = LowerEnding(path, 3);
    bool loaded = false;
    if (ending == "wav") loaded = files.FileLoadWave(*track, path);
    if (ending == "mp3") loaded = files.FileLoadMp3(*track, path);
    if (!loaded) {
      track = NewScratchDocument();
      track->WavFmtBits = bits == 0 ? 16 : bits;
      track->WavFmtFreq = freq == 0 ? kFallbackRate : freq;
      track->WavFmtChannel = 1;
      track->StorageReset();
      return;
    }
    ProgressDisplay& progress = UserInterface().Progress();
    if (bits != 0 && bits != track->WavFmtBits) {
      progress.SetBarColor1(kConvertingBarColor);
      progress.SetCurrentProgress(0.0F);
      progress.SetIsVisible(true);
      ConvertTrackBits(*track, bits);
      progress.SetIsVisible(false);
    }
    if (freq != 0 && freq != track->WavFmtFreq) {
      progress.SetBarColor1(kConvertingBarColor);
      progress.SetIsVisible(true);
      ResampleTrack(*track, freq, files.FileBlockLen);
      progress.SetIsVisible(false);
    }
  } catch (const std::exception& error) {
    UserInterface().Progress().SetIsVisible(false);
    UserInterface().Message(ErrorDescription(error), MessageIcon::None, "Open Wave Error");
  }
}

void PadTrackToDuration(FileMemoClass& track, float seconds) {
  const int32_t wanted = RoundHalfEven(static_cast<double>(seconds) * track.WavFmtFreq);
  const int32_t length = track.WavWaveINos;
  if (wanted > length) {
    BlockCarrBuffClass left;
    BlockCarrBuffClass right;
    left.ReDimSize(wanted - length);
    if (track.WavFmtChannel == 2) right.ReDimSize(wanted - length);
    track.WaveDataInsert(length + 1, ChannelChoice(track), &left, &right, "", true);
  } else if (wanted < length) {
    track.WaveDataDelete(wanted + 1, ChannelChoice(track), length - wanted, "", true);
  }
}

int32_t AppendTrack(FileMemoClass& document, FileMemoClass& track, int32_t position,
                    const std::string& undoName, bool endsOperation) {
  const BusyPointer busy;
  try {
    if (track.WavWaveINos == 0) return 0;
    if (position < 1) position = 1;
    if (position >= document.WavWaveINos) position = document.WavWaveINos + 1;
    BlockCarrBuffClass left;
    BlockCarrBuffClass right;
    track.WaveCollectData(1, track.WavWaveINos, ChannelChoice(track), left, right);
    if (document.WavWaveINos == 0) {
      document.StorageReset();
      document.WavFmtFreq = track.WavFmtFreq;
      document.WavFmtBits = track.WavFmtBits;
      document.WavFmtChannel = track.WavFmtChannel;
      document.WaveDataInsert(1, ChannelChoice(document), &left, &right, undoName, endsOperation);
      return 1;
    }
    if (document.WavFmtChannel == track.WavFmtChannel) {
      document.WaveDataInsert(position, ChannelChoice(document), &left, &right, undoName,
                              endsOperation);
    } else if (document.WavFmtChannel == 1) {
      // A stereo track turns the document stereo, its mono audio heard on both sides; the
      // three steps are one operation, undone together.
      BlockCarrBuffClass mono;
      BlockCarrBuffClass unused;
      document.WaveCollectData(1, document.WavWaveINos, 1, mono, unused);
      document.WaveDataChangeFmt(2, 0, 0, undoName, false);
      document.WaveDataInsert(1, 2, &unused, &mono, undoName, false);
      document.WaveDataInsert(position, 0, &left, &right, undoName, endsOperation);
    } else {
      document.WaveDataInsert(position, 0, &left, &left, undoName, endsOperation);
    }
    return position;
  } catch (const std::exception& error) {
    UserInterface().Message(ErrorDescription(error), MessageIcon::None, "File Insert Error");
    return 0;
  }
}

void LoadSlideAudio(FileMemoClass& document, int32_t n, float duration, int64_t& runningTotal) {
  ProjectData& project = Project();
  SlideInfo& slide = project.Slides[static_cast<size_t>(n)];
  std::unique_ptr<FileMemoClass> track;
  bool loaded = false;
  // A file that is there but cannot be read, in whole or in part, is the user's audio all
  // the same: the slide keeps it untouched (an empty or partial document stands in).
  const std::string& path = slide.TrackPath;
  std::error_code error;
  slide.TrackUnreadable = false;
  // An empty file holds nothing to lose: it counts as missing (a host may make one for a
  // slide still to be recorded).
  const bool empty = FileExists(path) && std::filesystem::file_size(path, error) == 0 && !error;
  if (!empty && std::filesystem::exists(std::filesystem::symlink_status(path, error))) {
    if (!FileExists(path)) {
      UserInterface().Message("The track of slide " + DecimalText(n) +
                                  " is not a file that can be read:" + kCrLf + path,
                              MessageIcon::Exclamation);
      slide.TrackUnreadable = true;
    } else {
      const CountedMessages messages;
      // Without a base rate or size the first track's hold for the whole document: a track
      // of another rate joined as it is would play too fast or too slow, and be saved so.
      const bool joined = document.WavWaveINos > 0;
      LoadTrackFile(path, track,
                    project.BaseFrequency != 0 ? project.BaseFrequency
                    : joined                   ? document.WavFmtFreq
                                               : 0,
                    project.BaseBits != 0 ? project.BaseBits
                    : joined              ? document.WavFmtBits
                                          : 0);
      slide.TrackUnreadable = messages.Count() > 0;
      loaded = track && track->WavWaveINos > 0;
    }
  }
  float seconds = duration > 0.0F ? duration : 0.0F;
  slide.Start = static_cast<int32_t>(runningTotal + 1);
  if (!loaded) {
    track = NewScratchDocument();
    track->WavFmtChannel = 1;
    track->WavFmtBits = project.BaseBits == 0 ? 16 : project.BaseBits;
    track->WavFmtFreq = project.BaseFrequency;
  }
  if (track->WavFmtFreq == 0) {
    ThrowError(11,
               "Division by zero: the project gives no \"BaseFrequency\" for the missing "
               "track of slide " +
                   DecimalText(n));
  }
  const float actual =
      static_cast<float>(track->WavWaveINos) / static_cast<float>(track->WavFmtFreq);
  if (seconds == 0.0F) seconds = actual;
  // Audio that would take the presentation past the most samples a document holds ends the
  // start-up like any run-time error, rather than wrapping round to positions that mean
  // nothing.
  const int64_t samples =
      std::max(RoundHalfEven64(static_cast<double>(seconds) * track->WavFmtFreq),
               int64_t{track->WavWaveINos});
  if (samples > kMostSamples - runningTotal) {
    ThrowError(6, "Overflow: the audio of slide " + DecimalText(n) +
                      " makes the presentation longer than the editor can hold");
  }
  if (seconds > actual) PadTrackToDuration(*track, seconds);
  AppendTrack(document, *track, slide.Start);
  runningTotal += track->WavWaveINos;
}

bool SaveSlideAudio(FileMemoClass& document, int32_t n, StagedFiles& staged) {
  const ProjectData& project = Project();
  const SlideInfo& slide = project.Slides[static_cast<size_t>(n)];
  const std::string& file = slide.TrackPath;
  const int32_t first = slide.Start;
  const int32_t last = SlideEndPosition(n, document.WavWaveINos) - 1;
  if (last - first + 1 < 3 || StretchIsSilent(document, first, last)) {
    staged.StageDeletion(file);
    return true;
  }
  const std::string ending = LowerEnding(slide.Track, 4);
  // A WAV track carries the slide's markers as cue points.
  const bool cues = ending == ".wav" && CuePointsWanted();
  const std::vector<WaveCuePoint> points = cues ? SlideCuePoints(n) : std::vector<WaveCuePoint>{};
  // Writing the same samples again would only cost time and wear: a save after an edit of
  // one slide of many writes that one. A track whose slide has the markers it was loaded
  // with keeps whatever cue points it carries.
  if (SlideTrackUpToDate(document, n) && (!cues || !SlideMarkersEdited(n))) return true;
  OpenSaveClass files;
  if (ending == ".mp3") return files.FileWriteMp3Part(document, first, last, 0, staged.Stage(file));
  if (ending == ".wav") {
    return files.FileWriteWavePart(document, first, last, 0, staged.Stage(file),
                                   CueChunkBytes(points));
  }
  return true;
}

}  // namespace quorvane
