#include "ui/PunchIn.h"

#include <algorithm>
#include <memory>

#include "app/Session.h"
#include "app/SessionLifetime.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "core/Settings.h"
#include "devices/PlayControl.h"
#include "editing/ReplaceAudio.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

namespace {

constexpr double kMostPreRollSeconds = 10;
// How often the take's buffers are written and the punch point looked for.
constexpr int kTickMs = 10;
// How long before the punch point the take is set to start: late enough that the two
// clocks cannot drift apart meanwhile, early enough that a late tick never misses it.
constexpr double kStartLeadSeconds = 0.3;

}  // namespace

double PunchIn::PreRollSeconds() {
  return std::clamp(LeadingNumber(SettingGet("", "PunchPreRoll", "2")), 0.0, kMostPreRollSeconds);
}

bool PunchIn::OutAtEnd() { return SettingGet("", "PunchOutAtEnd", "0") == "1"; }

PunchIn::PunchIn(FileMemoClass& document, const Plan& plan, std::function<void()> ended)
    : document_(document),
      plan_(plan),
      ended_(std::move(ended)),
      take_(document.WavFmtChannel, document.WavFmtFreq, document.WavFmtBits) {
  timer_.setInterval(kTickMs);
  connect(&timer_, &QTimer::timeout, this, [this] { Tick(); });
}

PunchIn::~PunchIn() {
  timer_.stop();
  if (started_) take_.Discard();
  take_.Close();
}

bool PunchIn::Begin() {
  // The pre-roll is heard first: the capture source opens while it plays.
  const int32_t playFrom = std::max(1, plan_.from - plan_.preRollFrames);
  const int32_t playTo = plan_.to > 0 ? plan_.to : plan_.from - 1;
  PassLoopToPlayer(false);
  if (playFrom < playTo) {
    SetPlayRange(playFrom, playTo);
    SetPlayDocument(&document_);
    PlayControl(11);
  }
  const int32_t opened = take_.Open(plan_.source, nullptr, false);
  if (opened != MMSYSERR_NOERROR) {
    PlayControl(2);
    PassLoopToPlayer(LoopOn());
    UserInterface().Message(RecordTake::OpenErrorText(opened) + kCrLf +
                            "(Open audio device for recording - failed)");
    return false;
  }
  running_ = true;
  timer_.start();
  Tick();
  return true;
}

void PunchIn::Tick() {
  if (!running_) return;
  if (!started_) {
    const bool playing = CurrentPlayState() == 1;
    const int32_t heard = PlayingFirst() + PlayedSamples();
    const double lead = kStartLeadSeconds * document_.WavFmtFreq;
    if (!playing || heard + lead >= plan_.from) StartTake();
    return;
  }
  take_.HandleReturnedBuffers();
  if (plan_.outAtEnd && plan_.to > 0 && take_.EndReached()) Finish();
}

void PunchIn::StartTake() {
  const bool playing = CurrentPlayState() == 1;
  const int64_t heard = playing ? PlayingFirst() + PlayedSamples() : plan_.from;
  const std::string failure = take_.Start(plan_.from - heard);
  started_ = true;
  if (!failure.empty()) {
    UserInterface().Message(failure + kCrLf + "(Prepare recording buffer - Failed)");
    Finish();
    return;
  }
  if (plan_.outAtEnd && plan_.to > 0) take_.StopAfter(plan_.to - plan_.from + 1);
}

void PunchIn::Stop() {
  if (running_) Finish();
}

void PunchIn::Finish() {
  timer_.stop();
  running_ = false;
  PlayControl(2);
  PassLoopToPlayer(LoopOn());
  std::string file;
  if (started_) {
    take_.Stop();
    file = take_.Finish();
  }
  take_.Close();
  if (!file.empty() && take_.FramesWritten() > 0) {
    if (plan_.to > 0) {
      ReplaceWithFile(document_, plan_.from, plan_.to, file, plan_.crossfadeMs, "Punch In");
    } else {
      std::unique_ptr<FileMemoClass> track;
      LoadTrackFile(file, track, document_.WavFmtFreq, document_.WavFmtBits);
      if (track && track->WavWaveINos > 0) {
        const int32_t at = AppendTrack(document_, *track, plan_.from, "Punch In");
        if (at > 0) {
          Editor().SelStart = at;
          Editor().SelEnd = at + track->WavWaveINos - 1;
        }
      }
    }
  } else if (started_) {
    take_.Discard();
  }
  started_ = false;  // the file is the document's now, or gone
  if (ended_) ended_();
}

}  // namespace quorvane
