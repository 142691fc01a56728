#include "ui/Recd_Frm.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QProcess>
#include <QPushButton>
#include <algorithm>
#include <chrono>
#include <cmath>

#include <fcntl.h>
#include <unistd.h>

#include "core/ErrorReport.h"
#include "core/FileHelpers.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "core/Settings.h"
#include "platform/CanonicalWaveHeader.h"
#include "platform/WaveSamples.h"
#include "ui/DialogButtons.h"
#include "ui/PictureBox.h"
#include "ui/ShowHelp.h"

namespace quorvane {

std::atomic<bool> RecBufferReady{false};
std::vector<std::string> Recd_Frm::VolumeControlFolders = {"/usr/bin", "/usr/local/bin"};

namespace {

constexpr const char* kOpenFailed = "(Open audio device for recording - failed)";
constexpr const char* kPrepareFailed = "(Prepare recording buffer - Failed)";
const QColor kStereoMeter(0xFF, 0xFF, 0xFF);
const QColor kMonoMeter(0xC0, 0xC0, 0xC0);
// Where the chosen source is kept.
constexpr const char* kSourceSection = "Setting";
constexpr const char* kSourceKey = "RecordingSource";
// How long Stop waits for the sound captured up to it; the server's latency is far less.
constexpr std::chrono::seconds kLastSoundWait{1};
// How long the dialog waits for a new stream's first sound. A server can take most of a
// second to start a stream (the first one on a source, or one on an output's monitor that
// works in long blocks); sound from before would never reach the take.
constexpr std::chrono::seconds kFirstSoundWait{2};
// How often the meters look at the buffer being filled.
constexpr int kLevelIntervalMs = 25;

// The timer of the dialog that records now; the device's callback starts it.
std::atomic<QTimer*> g_recTimer{nullptr};

// The device's callback, on the device's thread: a flag and the timer, nothing else.
void WaveInCallback(uint32_t message) {
  if (message != WIM_DATA) return;
  RecBufferReady = true;
  if (QTimer* timer = g_recTimer.load()) {
    QMetaObject::invokeMethod(timer, qOverload<>(&QTimer::start), Qt::QueuedConnection);
  }
}

std::string OpenErrorText(int32_t code) {
  switch (code) {
    case MMSYSERR_BADDEVICEID:
      return "Specified device identifier is out of range.";
    case MMSYSERR_ALLOCATED:
      return "Device already in use.";
    case MMSYSERR_NODRIVER:
      return "No device driver is present.";
    case MMSYSERR_NOMEM:
      return "Unable to allocate or lock memory.";
    case WAVERR_BADFORMAT:
      return "Attempted to open with an unsupported waveform-audio format.";
    default:
      return "Unable to open audio device.";
  }
}

// Texts of a failed prepare (the open table for its codes) and of a failed add.
std::string PrepareErrorText(int32_t code) {
  switch (code) {
    case MMSYSERR_BADDEVICEID:
    case MMSYSERR_ALLOCATED:
    case MMSYSERR_NODRIVER:
    case MMSYSERR_NOMEM:
    case WAVERR_BADFORMAT:
      return OpenErrorText(code);
    default:
      return "";
  }
}

std::string AddErrorText(int32_t code) {
  switch (code) {
    case MMSYSERR_INVALHANDLE:
      return "Specified device handle is invalid.";
    case MMSYSERR_NODRIVER:
      return "No device driver is present.";
    case MMSYSERR_NOMEM:
      return "Unable to allocate or lock memory.";
    case MMSYSERR_INVALPARAM:
      return "Invalid parameter passed";
    default:
      return "";
  }
}

// The capability bit of a format: the mono bit times the channel count.
uint32_t FormatBit(int32_t rate, int32_t bits, int32_t channels) {
  uint32_t mono = 0;
  if (rate == 11025) mono = bits == 8 ? 1 : bits == 16 ? 4 : 0;
  if (rate == 22050) mono = bits == 8 ? 16 : bits == 16 ? 64 : 0;
  if (rate == 44100) mono = bits == 8 ? 256 : bits == 16 ? 1024 : 0;
  return mono * static_cast<uint32_t>(channels);
}

// Sample `index` (counting interleaved values) of the bytes recorded, as a signed value.
int16_t SampleValue(const uint8_t* data, size_t size, int32_t bits, size_t index) {
  const size_t at = index * static_cast<size_t>(bits / 8);
  return at + static_cast<size_t>(bits / 8) <= size ? DecodeWaveSample(data + at, bits / 8) : 0;
}

// The meter's peak: the largest absolute value among the samples at a quarter, half and
// three quarters of the frames and the last one.
template <typename SampleOfFrame>
int MeterPeak(int32_t frames, SampleOfFrame sampleOfFrame) {
  int peak = 0;
  for (const double part : {0.25, 0.5, 0.75, 1.0}) {
    const int32_t position = std::clamp(RoundHalfEven(frames * part), 1, frames);
    peak = std::max(peak, std::abs(static_cast<int>(sampleOfFrame(position - 1))));
  }
  return peak;
}

// A sound settings program and how it opens on the recording sources.
struct SoundSettingsProgram {
  const char* name;
  std::vector<QString> arguments;
};

// pavucontrol first, then the desktops' own sound settings.
const std::vector<SoundSettingsProgram>& SoundSettingsPrograms() {
  static const std::vector<SoundSettingsProgram> programs = {
      {"pavucontrol", {"--tab=4"}},
      {"pavucontrol-qt", {"--tab=4"}},
      {"gnome-control-center", {"sound"}},
      {"systemsettings", {"kcm_pulseaudio"}},
      {"systemsettings5", {"kcm_pulseaudio"}},
      {"mate-volume-control", {"--page=input"}},
      {"cinnamon-settings", {"sound"}},
  };
  return programs;
}

}  // namespace

Recd_Frm::Recd_Frm(QWidget* parent, int32_t channels, int32_t rate, int32_t bits)
    : QDialog(parent), channels_(channels == 2 ? 2 : 1), rate_(rate), bits_(bits) {
  setWindowTitle(" Record Sound");
  setModal(true);
  auto* grid = new QGridLayout(this);
  const auto label = [this](const QString& name, const QString& text) {
    auto* created = new QLabel(text, this);
    created->setObjectName(name);
    return created;
  };
  const auto button = [this](const QString& name, const QString& text) {
    auto* created = new QPushButton(text, this);
    created->setObjectName(name);
    created->setAutoDefault(false);
    return created;
  };
  Fmt_Lbl = label("Fmt_Lbl", "Stereo, 00000 Hz, 0 Bits");
  FmtSup_Lbl = label("FmtSup_Lbl", "Support for this format?");
  Dur_Lbl = label("Dur_Lbl", "0.0");
  Rec_Stat_Lbl = label("Rec_Stat_Lbl", "Ready To Record");
  Start_Btn = button("Start_Btn", "Start");
  Start_Btn->setProperty("tag", "0");
  Done_Btn = button("Done_Btn", "Done");
  Cancel_Btn = button("Cancel_Btn", "Cancel");
  RecSrcBtn = button("RecSrcBtn", "Recording Source && Volume");
  RecSrc_Cmb = new QComboBox(this);
  RecSrc_Cmb->setObjectName("RecSrc_Cmb");
  // As wide as a usual source's name, whatever the sources found later: the dialog keeps
  // one size.
  RecSrc_Cmb->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  RecSrc_Cmb->setMinimumContentsLength(36);
  RecShowLPic = new PictureBox(this);
  RecShowRPic = new PictureBox(this);
  for (PictureBox* meter : {RecShowLPic, RecShowRPic}) meter->setFixedSize(16, 100);
  grid->addWidget(new QLabel("Recording Format:", this), 0, 0);
  grid->addWidget(Fmt_Lbl, 0, 1);
  grid->addWidget(FmtSup_Lbl, 1, 1);
  grid->addWidget(new QLabel("Recorded Duration:", this), 2, 0);
  grid->addWidget(Dur_Lbl, 2, 1);
  grid->addWidget(Rec_Stat_Lbl, 3, 0, 1, 2);
  grid->addWidget(RecShowLPic, 0, 2, 4, 1);
  grid->addWidget(RecShowRPic, 0, 3, 4, 1);
  grid->addWidget(Start_Btn, 4, 0);
  grid->addWidget(Done_Btn, 4, 1);
  grid->addWidget(Cancel_Btn, 4, 2, 1, 2);
  grid->addWidget(RecSrc_Cmb, 5, 0, 1, 4);
  grid->addWidget(RecSrcBtn, 6, 0, 1, 4);
  connect(Start_Btn, &QPushButton::clicked, this, [this] { Start_Btn_Click(); });
  connect(Done_Btn, &QPushButton::clicked, this, [this] { Done_Btn_Click(); });
  connect(Cancel_Btn, &QPushButton::clicked, this, [this] { Cancel_Btn_Click(); });
  connect(RecSrcBtn, &QPushButton::clicked, this, [this] { RecSrcBtn_Click(); });
  connect(RecSrc_Cmb, &QComboBox::currentIndexChanged, this, [this] { RecSrc_Cmb_Click(); });
  Rec_Timer.setInterval(10);
  Rec_Timer.setSingleShot(true);
  connect(&Rec_Timer, &QTimer::timeout, this, [this] { Rec_Timer_Timer(); });
  levelTimer_.setInterval(kLevelIntervalMs);
  connect(&levelTimer_, &QTimer::timeout, this, [this] { ShowLevelSoFar(); });
  g_recTimer = &Rec_Timer;
  FixDialogSize(*this);
}

Recd_Frm::~Recd_Frm() {
  CloseDevice();
  g_recTimer = nullptr;
}

void Recd_Frm::closeEvent(QCloseEvent* event) {
  CloseDevice();
  QDialog::closeEvent(event);
}

void Recd_Frm::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_F1) {
    ShowHelp(*this);
    return;
  }
  QDialog::keyPressEvent(event);
}

void Recd_Frm::CloseDevice() {
  levelTimer_.stop();
  if (!device_.IsOpen()) return;
  recording_ = false;
  device_.waveInReset();
  device_.waveInClose();
}

std::string Recd_Frm::ListSources() {
  sources_ = WaveInDevice::InputSources();
  const std::string kept = SettingGet(kSourceSection, kSourceKey, "");
  const auto named = [&](const std::string& name) {
    return std::find_if(sources_.begin(), sources_.end(),
                        [&](const CaptureSource& source) { return source.name == name; });
  };
  auto chosen = named(kept);
  if (kept.empty() || chosen == sources_.end()) {
    chosen = std::find_if(sources_.begin(), sources_.end(),
                          [](const CaptureSource& source) { return source.isDefault; });
  }
  if (chosen == sources_.end()) chosen = sources_.begin();
  const QSignalBlocker quiet(RecSrc_Cmb);
  RecSrc_Cmb->clear();
  for (const CaptureSource& source : sources_) {
    RecSrc_Cmb->addItem(QString::fromStdString(source.description));
  }
  if (chosen == sources_.end()) return "";
  RecSrc_Cmb->setCurrentIndex(static_cast<int>(chosen - sources_.begin()));
  return chosen->name;
}

int32_t Recd_Frm::OpenDevice(const std::string& source) {
  BusyPointer busy;
  const int32_t opened = device_.waveInOpen({channels_, rate_, bits_}, WaveInCallback, source);
  if (opened == MMSYSERR_NOERROR) device_.WaitForSound(kFirstSoundWait);
  return opened;
}

bool Recd_Frm::FormInitilize() {
  RecordFileName.clear();
  OkClicked = false;
  Done_Btn->setEnabled(false);
  Fmt_Lbl->setText(QString("(%1, %2 Hz,  %3 Bits)")
                       .arg(channels_ == 2 ? "Stereo" : "Mono")
                       .arg(rate_)
                       .arg(bits_));
  const auto fail = [this](const std::string& text) {
    UserInterface().Message(text + kCrLf + kOpenFailed);
    hide();
    return false;
  };
  const std::string source = ListSources();
  if (sources_.empty()) return fail("Audio Device not found");
  // The stream runs from here on, so that Start finds the sound already flowing.
  const int32_t opened = OpenDevice(source);
  if (opened != MMSYSERR_NOERROR) return fail(OpenErrorText(opened));
  uint32_t formats = 0;
  if (device_.waveInGetDevCaps(formats) == MMSYSERR_NOERROR) {
    const uint32_t bit = FormatBit(rate_, bits_, channels_);
    if (bit != 0 && (formats & bit) != 0) {
      FmtSup_Lbl->hide();
    } else {
      FmtSup_Lbl->setStyleSheet("color: rgb(255, 0, 0)");
      FmtSup_Lbl->setText("Format not supported");
      FmtSup_Lbl->show();
    }
  }
  framesWritten_ = 0;
  left_.clear();
  right_.clear();
  RecShowLPic->SetBackground(kStereoMeter);
  RecShowRPic->SetBackground(channels_ == 2 ? kStereoMeter : kMonoMeter);
  ClearMeters();
  return true;
}

uint32_t Recd_Frm::BufferBytes() const {
  const float tenth = 0.1F;  // the single-precision tenth the lengths are computed with
  return static_cast<uint32_t>(RoundHalfEven(static_cast<double>(bits_) / 8.0 *
                                             (rate_ * static_cast<double>(tenth)) * channels_));
}

void Recd_Frm::SizeBuffer(RecordBuffer& buffer) {
  const uint32_t bytes = BufferBytes();
  // A 16-bit buffer is an array of round(bytes / 2) values, at least as long as the bytes.
  const size_t room = bits_ == 16 ? 2 * static_cast<size_t>(RoundHalfEven(bytes / 2.0)) : bytes;
  buffer.data.resize(std::max<size_t>(room, bytes));
  buffer.header.lpData = buffer.data.data();
  buffer.header.dwBufferLength = bytes;
  buffer.header.dwBytesRecorded = 0;
  buffer.header.Prepared = false;
  buffer.header.Done = false;
}

void Recd_Frm::Start_Btn_Click() {
  if (Start_Btn->property("tag").toString() == "1") {
    Start_Btn->setProperty("tag", "0");
    Start_Btn->setEnabled(false);
    Start_Btn->setText("Start/Stop");
    levelTimer_.stop();
    {
      BusyPointer busy;
      device_.waveInStop();
      // The sound captured up to Stop is still on its way from the server: the buffers go
      // on being handled and queued again until the last of it is in.
      const auto giveUp = std::chrono::steady_clock::now() + kLastSoundWait;
      while (device_.StopPending() && std::chrono::steady_clock::now() < giveUp) {
        device_.WaitForBuffer(std::chrono::milliseconds(10));
        HandleReturnedBuffers();
      }
      HandleReturnedBuffers();
      recording_ = false;
      device_.waveInReset();
    }
    Done_Btn->setEnabled(true);
    Cancel_Btn->setEnabled(true);
    RecSrcBtn->setEnabled(true);
    Rec_Stat_Lbl->setText("Recording Done");
    ClearMeters();
    return;
  }
  OpenRecordFile();
  Start_Btn->setProperty("tag", "1");
  Start_Btn->setText("Stop");
  Done_Btn->setEnabled(false);
  Cancel_Btn->setEnabled(false);
  RecSrcBtn->setEnabled(false);
  RecSrc_Cmb->setEnabled(false);
  recording_ = true;
  framesWritten_ = 0;
  Dur_Lbl->setText("0.0");
  RecBufferReady = false;
  expected_ = 0;
  for (RecordBuffer& buffer : buffers_) SizeBuffer(buffer);
  std::string failure;
  int32_t code = device_.waveInPrepareHeader(buffers_[0].header);
  if (code == MMSYSERR_NOERROR) code = device_.waveInPrepareHeader(buffers_[1].header);
  if (code != MMSYSERR_NOERROR) {
    failure = PrepareErrorText(code);
  } else {
    code = device_.waveInAddBuffer(buffers_[0].header);
    if (code == MMSYSERR_NOERROR) code = device_.waveInAddBuffer(buffers_[1].header);
    if (code != MMSYSERR_NOERROR) {
      failure = AddErrorText(code);
    } else {
      Rec_Stat_Lbl->setText("Recording");
      device_.waveInStart();
      levelTimer_.start();
    }
  }
  if (!failure.empty()) UserInterface().Message(failure + kCrLf + kPrepareFailed);
  scale_ = static_cast<double>(RecShowLPic->height()) / (bits_ == 8 ? 127 : 32767);
}

void Recd_Frm::Rec_Timer_Timer() {
  Rec_Timer.stop();
  if (!RecBufferReady) return;
  RecBufferReady = false;
  HandleReturnedBuffers();
}

void Recd_Frm::HandleReturnedBuffers() {
  // The buffers come back strictly in turn; when the handler came late and both are
  // back, both are handled, so that no audio is dropped.
  while (buffers_[static_cast<size_t>(expected_)].header.Done) {
    RecordBuffer& buffer = buffers_[static_cast<size_t>(expected_)];
    expected_ = 1 - expected_;
    HandleBuffer(buffer);
  }
}

void Recd_Frm::HandleBuffer(RecordBuffer& buffer) {
  const uint32_t recorded = buffer.header.dwBytesRecorded;
  taken_.assign(buffer.data.begin(), buffer.data.begin() + recorded);
  device_.waveInUnprepareHeader(buffer.header);
  SizeBuffer(buffer);
  device_.waveInPrepareHeader(buffer.header);
  if (recording_) device_.waveInAddBuffer(buffer.header);

  const int32_t frameBytes = bits_ / 8 * channels_;
  const int32_t frames = RoundHalfEven(static_cast<double>(recorded) / frameBytes);
  const int64_t offset = framesWritten_;
  framesWritten_ += frames;
  Dur_Lbl->setText(
      QString::fromStdString(FormatOneDecimal(static_cast<double>(framesWritten_) / rate_)));
  if (frames <= 0) return;
  left_.resize(static_cast<size_t>(frames));
  right_.resize(channels_ == 2 ? static_cast<size_t>(frames) : 0);
  const auto sample = [&](size_t index) {
    return SampleValue(taken_.data(), taken_.size(), bits_, index);
  };
  for (int32_t i = 0; i < frames; ++i) {
    const auto at = static_cast<size_t>(i);
    left_[at] = sample(at * static_cast<size_t>(channels_));
    if (channels_ == 2) right_[at] = sample(2 * at + 1);
  }
  DrawMeter(*RecShowLPic,
            MeterPeak(frames, [&](int32_t i) { return left_[static_cast<size_t>(i)]; }));
  if (channels_ == 2) {
    DrawMeter(*RecShowRPic,
              MeterPeak(frames, [&](int32_t i) { return right_[static_cast<size_t>(i)]; }));
  }
  WriteRecordedBlock(static_cast<int32_t>(offset), frames);
}

void Recd_Frm::ShowLevelSoFar() {
  if (!recording_) return;
  const RecordBuffer& filling = buffers_[static_cast<size_t>(expected_)];
  if (filling.header.Done) return;  // the timer takes it whole
  // The device writes only beyond the bytes it has counted.
  const uint32_t bytes = filling.header.dwBytesRecorded.load(std::memory_order_acquire);
  const int32_t frames = static_cast<int32_t>(bytes / static_cast<uint32_t>(bits_ / 8 * channels_));
  if (frames <= 0) return;
  for (int32_t channel = 0; channel < channels_; ++channel) {
    const int peak = MeterPeak(frames, [&](int32_t frame) {
      return SampleValue(filling.data.data(), bytes, bits_,
                         static_cast<size_t>(frame * channels_ + channel));
    });
    DrawMeter(channel == 0 ? *RecShowLPic : *RecShowRPic, peak);
  }
}

void Recd_Frm::DrawMeter(PictureBox& meter, int peak) {
  meter.Clear();
  QPainter painter(&meter.Image());
  const int height = static_cast<int>(std::lround(peak * scale_));
  painter.fillRect(QRect(0, meter.height() - height, meter.width(), height), Qt::black);
  painter.end();
  meter.update();
}

void Recd_Frm::ClearMeters() {
  RecShowLPic->Clear();
  RecShowRPic->Clear();
  RecShowLPic->update();
  RecShowRPic->update();
}

void Recd_Frm::Done_Btn_Click() {
  hide();
  {
    BusyPointer busy;
    WriteRecordHeader(framesWritten_);
  }
  OkClicked = true;
  accept();
}

void Recd_Frm::Cancel_Btn_Click() {
  DiscardRecordFile();
  OkClicked = false;
  hide();
  reject();
}

void Recd_Frm::OpenRecordFile() {
  RecordFileName = NewTempFileName("wav");
  // The recording is the user's voice: readable by the user alone.
  file_ = FileHandle(::open(RecordFileName.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  if (!file_.IsOpen()) {
    UserInterface().Message(ErrorDescription(std::system_error(errno, std::generic_category())) +
                            kCrLf + RecordFileName);
  }
}

void Recd_Frm::WriteRecordedBlock(int32_t frameOffset, int32_t frameCount) {
  const int32_t sampleBytes = bits_ / 8;
  const size_t values = static_cast<size_t>(frameCount) * static_cast<size_t>(channels_);
  fileBytes_.resize(values * static_cast<size_t>(sampleBytes));
  uint8_t* at = fileBytes_.data();
  for (int32_t i = 0; i < frameCount; ++i) {
    for (int32_t channel = 0; channel < channels_; ++channel) {
      at = EncodeWaveSample((channel == 0 ? left_ : right_)[static_cast<size_t>(i)], sampleBytes,
                            at);
    }
  }
  const off_t position = kCanonicalHeaderBytes + static_cast<off_t>(frameOffset) *
                                                     static_cast<off_t>(sampleBytes * channels_);
  if (file_.IsOpen() && ::pwrite(file_.Descriptor(), fileBytes_.data(), fileBytes_.size(),
                                 position) != static_cast<ssize_t>(fileBytes_.size())) {
    UserInterface().Message(ErrorDescription(std::system_error(errno, std::generic_category())) +
                            kCrLf + RecordFileName);
  }
}

void Recd_Frm::WriteRecordHeader(int64_t frames) {
  const auto header = CanonicalWaveHeader(channels_, rate_, bits_, frames);
  if (file_.IsOpen()) {
    if (::pwrite(file_.Descriptor(), header.data(), header.size(), 0) !=
        static_cast<ssize_t>(header.size())) {
      UserInterface().Message(ErrorDescription(std::system_error(errno, std::generic_category())) +
                              kCrLf + RecordFileName);
    }
    file_.Close();
  }
}

void Recd_Frm::DiscardRecordFile() {
  file_.Close();
  if (!RecordFileName.empty()) DeleteFileIfExists(RecordFileName);
}

void Recd_Frm::RecSrcBtn_Click() {
  BusyPointer busy;
  for (const SoundSettingsProgram& candidate : SoundSettingsPrograms()) {
    for (const std::string& folder : VolumeControlFolders) {
      const std::string program = folder + "/" + candidate.name;
      if (::access(program.c_str(), X_OK) == 0) {
        QProcess::startDetached(
            QString::fromStdString(program),
            QStringList(candidate.arguments.begin(), candidate.arguments.end()));
        return;
      }
    }
  }
  const std::string first = VolumeControlFolders.empty() ? "" : VolumeControlFolders.front();
  const std::string second = VolumeControlFolders.size() < 2 ? "" : VolumeControlFolders[1];
  std::string others;
  const std::vector<SoundSettingsProgram>& programs = SoundSettingsPrograms();
  for (size_t i = 1; i < programs.size(); ++i) {
    if (i > 1) others += i + 1 == programs.size() ? " or " : ", ";
    others += programs[i].name;
  }
  UserInterface().Message("The file pavucontrol is not found in " + first + " and " + second +
                          kCrLf + "that is needed to set recording sound source" + kCrLf +
                          "(nor is " + others + ")." + kCrLf +
                          "Please install pavucontrol, or set the recording source and its "
                          "volume in the sound settings of your desktop.");
}

void Recd_Frm::RecSrc_Cmb_Click() {
  const int index = RecSrc_Cmb->currentIndex();
  if (index < 0 || static_cast<size_t>(index) >= sources_.size() || recording_) return;
  const std::string& source = sources_[static_cast<size_t>(index)].name;
  SettingPut(kSourceSection, kSourceKey, source);
  CloseDevice();
  const int32_t opened = OpenDevice(source);
  Start_Btn->setEnabled(opened == MMSYSERR_NOERROR);
  if (opened != MMSYSERR_NOERROR) {
    UserInterface().Message(OpenErrorText(opened) + kCrLf + kOpenFailed);
  }
}

}  // namespace quorvane
