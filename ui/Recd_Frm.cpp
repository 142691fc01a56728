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

// The capability bit of a format: the mono bit times the channel count.
uint32_t FormatBit(int32_t rate, int32_t bits, int32_t channels) {
  uint32_t mono = 0;
  if (rate == 11025) mono = bits == 8 ? 1 : bits == 16 ? 4 : 0;
  if (rate == 22050) mono = bits == 8 ? 16 : bits == 16 ? 64 : 0;
  if (rate == 44100) mono = bits == 8 ? 256 : bits == 16 ? 1024 : 0;
  return mono * static_cast<uint32_t>(channels);
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
    : QDialog(parent),
      channels_(channels == 2 ? 2 : 1),
      rate_(rate),
      bits_(bits),
      take_(channels, rate, bits) {
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
  take_.Close();
}

std::string Recd_Frm::ListSources() {
  sources_ = RecordTake::Sources();
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
  return take_.Open(source, [] { WaveInCallback(WIM_DATA); });
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
  if (opened != MMSYSERR_NOERROR) return fail(RecordTake::OpenErrorText(opened));
  uint32_t formats = 0;
  if (take_.SupportedFormats(formats)) {
    const uint32_t bit = FormatBit(rate_, bits_, channels_);
    if (bit != 0 && (formats & bit) != 0) {
      FmtSup_Lbl->hide();
    } else {
      FmtSup_Lbl->setStyleSheet("color: rgb(255, 0, 0)");
      FmtSup_Lbl->setText("Format not supported");
      FmtSup_Lbl->show();
    }
  }
  RecShowLPic->SetBackground(kStereoMeter);
  RecShowRPic->SetBackground(channels_ == 2 ? kStereoMeter : kMonoMeter);
  ClearMeters();
  return true;
}

void Recd_Frm::Start_Btn_Click() {
  if (Start_Btn->property("tag").toString() == "1") {
    Start_Btn->setProperty("tag", "0");
    Start_Btn->setEnabled(false);
    Start_Btn->setText("Start/Stop");
    levelTimer_.stop();
    {
      BusyPointer busy;
      take_.Stop();
      HandleReturnedBuffers();
    }
    Done_Btn->setEnabled(true);
    Cancel_Btn->setEnabled(true);
    RecSrcBtn->setEnabled(true);
    Rec_Stat_Lbl->setText("Recording Done");
    ClearMeters();
    return;
  }
  Start_Btn->setProperty("tag", "1");
  Start_Btn->setText("Stop");
  Done_Btn->setEnabled(false);
  Cancel_Btn->setEnabled(false);
  RecSrcBtn->setEnabled(false);
  RecSrc_Cmb->setEnabled(false);
  Dur_Lbl->setText("0.0");
  RecBufferReady = false;
  const std::string failure = take_.Start();
  RecordFileName = take_.FileName();
  if (failure.empty()) {
    Rec_Stat_Lbl->setText("Recording");
    levelTimer_.start();
  } else {
    UserInterface().Message(failure + kCrLf + kPrepareFailed);
  }
  scale_ = static_cast<double>(RecShowLPic->height()) / (bits_ == 8 ? 127 : 32767);
}

void Recd_Frm::Rec_Timer_Timer() {
  Rec_Timer.stop();
  if (!RecBufferReady) return;
  RecBufferReady = false;
  HandleReturnedBuffers();
}

void Recd_Frm::HandleReturnedBuffers() {
  if (!take_.HandleReturnedBuffers()) return;
  Dur_Lbl->setText(
      QString::fromStdString(FormatOneDecimal(static_cast<double>(take_.FramesWritten()) / rate_)));
  ShowPeaks(take_.LastPeaks());
}

void Recd_Frm::ShowLevelSoFar() {
  std::array<int, 2> peaks{};
  if (take_.PeaksSoFar(peaks)) ShowPeaks(peaks);
}

void Recd_Frm::ShowPeaks(const std::array<int, 2>& peaks) {
  DrawMeter(*RecShowLPic, peaks[0]);
  if (channels_ == 2) DrawMeter(*RecShowRPic, peaks[1]);
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
    RecordFileName = take_.Finish();
  }
  OkClicked = true;
  accept();
}

void Recd_Frm::Cancel_Btn_Click() {
  take_.Discard();
  OkClicked = false;
  hide();
  reject();
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
  if (index < 0 || static_cast<size_t>(index) >= sources_.size() || take_.Recording()) return;
  const std::string& source = sources_[static_cast<size_t>(index)].name;
  SettingPut(kSourceSection, kSourceKey, source);
  CloseDevice();
  const int32_t opened = OpenDevice(source);
  Start_Btn->setEnabled(opened == MMSYSERR_NOERROR);
  if (opened != MMSYSERR_NOERROR) {
    UserInterface().Message(RecordTake::OpenErrorText(opened) + kCrLf + kOpenFailed);
  }
}

}  // namespace quorvane
