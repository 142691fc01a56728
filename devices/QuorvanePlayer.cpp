#include "devices/QuorvanePlayer.h"

#include <QAudioDevice>
#include <QAudioFormat>
#include <QAudioSink>
#include <QMediaDevices>
#include <QTimer>
#include <algorithm>
#include "devices/OnThread.h"

#include "devices/PlaySource.h"
#include "devices/PlayTable.h"

namespace quorvane {

namespace {

// What a sink's error means, in plain words; nothing where the error says nothing.
const char* SinkErrorReason(QAudio::Error error) {
  switch (error) {
    case QAudio::OpenError:
      return "The output device could not be opened.";
    case QAudio::IOError:
      return "The output device could not be written to.";
    case QAudio::FatalError:
      return "The sound server or the output device is no longer available.";
    default:
      return nullptr;
  }
}

}  // namespace

// Everything that touches the sink lives on the player thread; the component's operations
// run their part here through blocking calls, so the editor sees each one finished.
class QuorvanePlayer::Engine : public QObject {
 public:
  explicit Engine(QuorvanePlayer& owner) : owner_(owner) {}

  void Open(const QAudioDevice& device) { device_ = device; }

  void Close() {
    Stop();
    device_ = QAudioDevice();
  }

  void SetData(int32_t bits, int32_t channels, int32_t rate, int32_t count,
               std::vector<PlaySegment> left, std::vector<PlaySegment> right) {
    Stop();
    bits_ = bits;
    channels_ = std::clamp(channels, 1, 2);
    rate_ = rate;
    count_ = std::max(count, 0);
    left_ = std::move(left);
    right_ = std::move(right);
  }

  void Play() {
    Stop();
    if (device_.isNull() || count_ == 0 || rate_ <= 0) return;
    QAudioFormat format;
    format.setSampleFormat(QAudioFormat::Int16);
    format.setSampleRate(std::max(1, static_cast<int>(rate_ * rateFactor_)));
    format.setChannelCount(channels_);
    if (!device_.isFormatSupported(format)) format.setChannelCount(channels_ == 1 ? 2 : 1);
    if (!device_.isFormatSupported(format)) format.setChannelCount(channels_);
    deviceRate_ = format.sampleRate();
    source_ = std::make_unique<PlaySource>(left_, right_, channels_, format.channelCount(), bits_,
                                           count_, gainFactor_);
    source_->SetLoop(loop_);
    source_->SetFailureReport([this](const std::string& failure) {
      Report("Cannot read the audio to play.\n" + failure, "Play failed");
    });
    source_->open(QIODevice::ReadOnly);
    sink_ = std::make_unique<QAudioSink>(device_, format);
    // A quarter of a second ahead of the device, unless the memory limit allows less.
    const int64_t frameBytes = 2 * format.channelCount();
    const int64_t ahead = std::min<int64_t>(memoryLimit_, deviceRate_ / 4 * frameBytes);
    sink_->setBufferSize(static_cast<qsizetype>(std::max<int64_t>(ahead, 4096)));
    const uint64_t play = ++play_;
    // Once the range's last frame is out, the device's clock is watched until it has
    // played it.
    source_->SetEndReport([this, play] {
      QMetaObject::invokeMethod(
          this,
          [this, play] {
            if (play == play_ && state_ != 0) endWatch_.start();
          },
          Qt::QueuedConnection);
    });
    QObject::connect(
        sink_.get(), &QAudioSink::stateChanged, this, [this, play](QAudio::State state) {
          // The player stops its sink only after leaving state 1 or 3: a sink that stops
          // while the player still plays or pauses was stopped under it. It is still
          // inside its own signal, so it is let go of once the signal has returned.
          if (state == QAudio::StoppedState && state_ != 0) {
            const QAudio::Error error = sink_->error();
            QMetaObject::invokeMethod(
                this, [this, play, error] { OutputStopped(play, error); }, Qt::QueuedConnection);
          }
        });
    sink_->start(source_.get());
    if (sink_->error() != QAudio::NoError) {
      Report("The sound output could not be started.", "Play failed");
      Stop();
      return;
    }
    state_ = 1;
  }

  // The sound server went away or the device failed while this play ran: the player stops
  // as Stop would and says so, unless a Stop or a new Play came first.
  void OutputStopped(uint64_t play, QAudio::Error error) {
    if (play != play_ || state_ == 0) return;
    Stop();
    std::string message = "The sound output stopped while playing.";
    if (const char* reason = SinkErrorReason(error)) message += std::string("\n") + reason;
    Report(message, "Play failed");
  }

  // The range has ended only when the device's clock has passed every frame of it handed
  // out; the silence after it is cut off here.
  void WatchEnd() {
    if (!sink_ || !source_) {
      endWatch_.stop();
      return;
    }
    if (source_->Exhausted() && PlayedFrames() >= source_->FramesHandedOut()) Stop();
  }

  int64_t PlayedFrames() const {
    if (!sink_) return 0;
    return sink_->processedUSecs() * deviceRate_ / 1'000'000;
  }

  int32_t Played() const {
    if (!sink_ || count_ == 0) return 0;
    const int64_t frames = PlayedFrames();
    return static_cast<int32_t>(loop_ ? frames % count_ : std::min<int64_t>(frames, count_));
  }

  void Pause() {
    if (!sink_ || state_ != 1) return;
    sink_->suspend();
    state_ = 3;
  }

  void Continue() {
    if (!sink_ || state_ != 3) return;
    sink_->resume();
    state_ = 1;
  }

  void Stop() {
    state_ = 0;  // first: the sink's own stop below is then not taken for a loss
    endWatch_.stop();
    if (sink_) sink_->stop();
    sink_.reset();
    source_.reset();
  }

  // The files belong to the source: dropping it closes every one of them.
  void ReleaseFiles() { Stop(); }

  void SetLoop(bool loop) {
    loop_ = loop;
    if (source_) source_->SetLoop(loop);
  }

  void Shutdown(QThread* home) {
    Stop();
    moveToThread(home);
  }

  void StartWatch() {
    endWatch_.setInterval(10);
    QObject::connect(&endWatch_, &QTimer::timeout, this, [this] { WatchEnd(); });
  }

  std::atomic<int32_t> state_{0};
  int32_t memoryLimit_ = 64 * 1024 * 1024;
  float rateFactor_ = 1.0F;
  float gainFactor_ = 1.0F;
  std::string tempFolder_;

 private:
  void Report(const std::string& message, const std::string& title) {
    QMetaObject::invokeMethod(
        &owner_,
        [owner = &owner_, message, title] {
          if (owner->MsgBoxOb) owner->MsgBoxOb(message, title);
        },
        Qt::QueuedConnection);
  }

  QuorvanePlayer& owner_;
  QAudioDevice device_;
  int32_t bits_ = 16;
  int32_t channels_ = 1;
  int32_t rate_ = 0;
  int32_t count_ = 0;
  int32_t deviceRate_ = 0;
  uint64_t play_ = 0;  // counts the plays started, so a late notice of an old sink is ignored
  bool loop_ = false;
  std::vector<PlaySegment> left_;
  std::vector<PlaySegment> right_;
  std::unique_ptr<PlaySource> source_;
  std::unique_ptr<QAudioSink> sink_;
  QTimer endWatch_{this};
};

QuorvanePlayer::QuorvanePlayer() : engine_(std::make_unique<Engine>(*this)) {
  thread_.setObjectName("QuorvanePlayer");
  engine_->StartWatch();
  engine_->moveToThread(&thread_);
  thread_.start();
}

QuorvanePlayer::~QuorvanePlayer() {
  QThread* home = thread();
  OnThread(engine_.get(), [this, home] { engine_->Shutdown(home); });
  thread_.quit();
  thread_.wait();
}

void QuorvanePlayer::SoundInit(int32_t& handle) {
  if (handle == 0) {
    OnThread(engine_.get(), [this] { engine_->Close(); });
    return;
  }
  const QAudioDevice device = QMediaDevices::defaultAudioOutput();
  if (device.isNull()) {
    handle = 0;
    return;
  }
  OnThread(engine_.get(), [this, device] { engine_->Open(device); });
}

int32_t QuorvanePlayer::PlayedSamples() {
  int32_t played = 0;
  OnThread(engine_.get(), [this, &played] { played = engine_->Played(); });
  return played;
}

void QuorvanePlayer::Play() {
  OnThread(engine_.get(), [this] { engine_->Play(); });
}

int32_t QuorvanePlayer::PlayState() { return engine_->state_; }

void QuorvanePlayer::ReleaseFiles() {
  OnThread(engine_.get(), [this] { engine_->ReleaseFiles(); });
}

void QuorvanePlayer::StopPlay() {
  OnThread(engine_.get(), [this] { engine_->Stop(); });
}

void QuorvanePlayer::ContinuePlay() {
  OnThread(engine_.get(), [this] { engine_->Continue(); });
}

// Pausing is finished when PausePlay returns: nothing is left to confirm.
void QuorvanePlayer::PauseConfirm() {}

void QuorvanePlayer::PausePlay() {
  OnThread(engine_.get(), [this] { engine_->Pause(); });
}

void QuorvanePlayer::SetPlayData(int32_t bits, int32_t channels, int32_t rate, int32_t count,
                                 const std::vector<int32_t>& left,
                                 const std::vector<int32_t>& right) {
  std::vector<PlaySegment> leftSegments = ReadPlayTable(left);
  std::vector<PlaySegment> rightSegments = ReadPlayTable(right);
  OnThread(engine_.get(), [&] {
    engine_->SetData(bits, channels, rate, count, std::move(leftSegments),
                     std::move(rightSegments));
  });
}

void QuorvanePlayer::MemoryLimit(int32_t bytes) {
  OnThread(engine_.get(), [this, bytes] { engine_->memoryLimit_ = std::max(bytes, 4096); });
}

void QuorvanePlayer::LoopFlag(bool loop) {
  OnThread(engine_.get(), [this, loop] { engine_->SetLoop(loop); });
}

void QuorvanePlayer::PlayRateFactor(float factor) {
  OnThread(engine_.get(), [this, factor] { engine_->rateFactor_ = factor > 0 ? factor : 1.0F; });
}

void QuorvanePlayer::PlayGainFactor(float factor) {
  OnThread(engine_.get(), [this, factor] { engine_->gainFactor_ = factor; });
}

// The player keeps nothing in files of its own; the folder is kept for what may.
void QuorvanePlayer::TempFolder(const std::string& folder) {
  OnThread(engine_.get(), [this, folder] { engine_->tempFolder_ = folder; });
}

}  // namespace quorvane
