// The recording dialog on a real sound server: a tone played through the null sink comes
// back through "loopmic" into the dialog's file at its frequency and level, from Start to
// Stop; the dialog lists the server's sources, records from the one chosen and keeps it; its
// labels, buttons and file follow Start, Stop, Done and Cancel; the volume button runs a
// sound settings program.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <chrono>
#include <filesystem>
#include <fstream>

#include "core/Settings.h"
#include "tests/devices/PlaybackFixture.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/CompressedWavFixtures.h"
#include "ui/PictureBox.h"
#include "ui/Recd_Frm.h"

namespace quorvane::testing {
namespace {

constexpr int kRate = 44100;

// Every case has a player; most play what they record.
class Recording : public Playback {
 protected:
  // Plays a stereo 1000 Hz tone at 8000 for `seconds`.
  void PlayTone(int seconds) {
    const std::vector<int16_t> tone = Tone(1000, kRate, 8000, seconds * kRate);
    Load(2, kRate, 16, tone, tone);
    Play(1, seconds * kRate);
    ASSERT_TRUE(QTest::qWaitFor([] { return PlayedSamples() > kRate / 4; }, 5000));
  }

  // Start, at least half a second, Stop and Done: the take's samples.
  static std::vector<int16_t> Take(Recd_Frm& form) {
    form.Start_Btn_Click();
    EXPECT_TRUE(QTest::qWaitFor([&] { return form.FramesWritten() >= kRate / 2; }, 3000));
    form.Start_Btn_Click();
    form.Done_Btn_Click();
    return CanonicalPcm16Samples(form.RecordFileName, 2, kRate);
  }

  static double Loudness(const std::vector<int16_t>& take) {
    return ToneAmplitude(take, 2, kRate, 1000, 0, kRate / 4);
  }
};

// A second null sink for as long as it lives: the source "Monitor of OtherSink", on which
// nothing plays.
class SilentSink {
 public:
  SilentSink()
      : module_(RunProgram("pactl", {"load-module", "module-null-sink", "sink_name=othersink",
                                     "sink_properties=device.description=OtherSink"})
                    .out) {
    EXPECT_FALSE(module_.empty());
  }
  ~SilentSink() { RunProgram("pactl", {"unload-module", module_.substr(0, module_.find('\n'))}); }

 private:
  std::string module_;
};

// The server without "loopmic" for as long as it lives: the null sink's monitor is its only
// source.
class OnlyMonitorSource {
 public:
  OnlyMonitorSource() {
    EXPECT_EQ(RunProgram("pactl", {"unload-module", "module-remap-source"}).exitStatus, 0);
  }
  ~OnlyMonitorSource() {
    RunProgram("pactl", {"load-module", "module-remap-source", "master=nullsink.monitor",
                         "source_name=loopmic", "source_properties=device.description=LoopMic"});
    RunProgram("pactl", {"set-default-source", "loopmic"});
  }
};

// Records while the play routine plays a stereo tone range; the file holds both tones.
TEST_F(Recording, LoopBackPlayedToneComesBackAtItsFrequencyAndLevel) {
  const int rate = 44100;
  Load(2, rate, 16, Tone(1000, rate, 8000, 2 * rate), Tone(1500, rate, 4000, 2 * rate));
  Recd_Frm form(nullptr, 2, rate, 16);
  ASSERT_TRUE(form.FormInitilize());
  EXPECT_EQ(form.Fmt_Lbl->text().toStdString(), "(Stereo, 44100 Hz,  16 Bits)");
  form.Start_Btn_Click();
  EXPECT_EQ(form.Start_Btn->text().toStdString(), "Stop");
  EXPECT_EQ(form.Rec_Stat_Lbl->text().toStdString(), "Recording");
  EXPECT_FALSE(form.Done_Btn->isEnabled() || form.Cancel_Btn->isEnabled() ||
               form.RecSrcBtn->isEnabled());
  Play(1, 2 * rate);
  FurthestUntilStopped(8000);
  EXPECT_TRUE(QTest::qWaitFor([&] { return form.FramesWritten() > 2 * rate + rate / 5; }, 3000));
  form.Start_Btn_Click();
  EXPECT_EQ(form.Start_Btn->text().toStdString(), "Start/Stop");
  EXPECT_FALSE(form.Start_Btn->isEnabled());
  EXPECT_TRUE(form.Done_Btn->isEnabled() && form.Cancel_Btn->isEnabled());
  EXPECT_EQ(form.Rec_Stat_Lbl->text().toStdString(), "Recording Done");
  // The partly filled buffer the stop handed back.
  EXPECT_TRUE(QTest::qWaitFor([] { return !RecBufferReady; }, 1000));
  form.Done_Btn_Click();
  EXPECT_TRUE(form.OkClicked);
  EXPECT_EQ(form.BytesLost(), 0);

  // A canonical 16-bit stereo file of every frame written.
  const std::vector<int16_t> heard = CanonicalPcm16Samples(form.RecordFileName, 2, rate);
  EXPECT_EQ(heard.size(), static_cast<size_t>(form.FramesWritten()) * 2);
  const size_t start = FirstSound(heard, 2, 2000);
  ASSERT_LT(start + static_cast<size_t>(rate) + rate / 2, heard.size() / 2);
  const std::vector<int16_t> right(heard.begin() + 1, heard.end());
  const auto at = start + static_cast<size_t>(rate / 2);
  EXPECT_NEAR(ToneAmplitude(heard, 2, rate, 1000, at, rate / 2), 8000, 400);
  EXPECT_NEAR(ToneAmplitude(right, 2, rate, 1500, at, rate / 2), 4000, 200);
  EXPECT_LT(ToneAmplitude(heard, 2, rate, 1500, at, rate / 2), 100);
}

// The take is as long as the time from Start to Stop and begins with the sound that was
// playing at Start: a narrator's first words are in it.
TEST_F(Recording, TakeHoldsTheSoundFromStartToStop) {
  PlayTone(6);
  Recd_Frm form(nullptr, 2, kRate, 16);
  ASSERT_TRUE(form.FormInitilize());
  const auto started = std::chrono::steady_clock::now();
  form.Start_Btn_Click();
  QTest::qWait(2000);
  const auto stopped = std::chrono::steady_clock::now();
  form.Start_Btn_Click();
  form.Done_Btn_Click();
  const std::vector<int16_t> heard = CanonicalPcm16Samples(form.RecordFileName, 2, kRate);
  EXPECT_NEAR(static_cast<double>(heard.size() / 2) / kRate,
              std::chrono::duration<double>(stopped - started).count(), 0.050);
  EXPECT_LE(FirstSound(heard, 2, 2000), static_cast<size_t>(kRate / 20));
  EXPECT_EQ(form.BytesLost(), 0);
}

// Input devices come first, monitors last; the chosen source is the one recorded from and
// the one the next dialog starts with; a kept source that has gone gives way to the
// server's default.
TEST_F(Recording, ChosenSourceIsRecordedFromAndKept) {
  PlayTone(8);
  SilentSink other;
  const auto description = [](const Recd_Frm& form) {
    return form.RecSrc_Cmb->currentText().toStdString();
  };
  {
    Recd_Frm form(nullptr, 2, kRate, 16);
    ASSERT_TRUE(form.FormInitilize());
    std::vector<std::string> names;
    for (const CaptureSource& source : form.Sources()) names.push_back(source.name);
    EXPECT_EQ(names,
              (std::vector<std::string>{"loopmic", "nullsink.monitor", "othersink.monitor"}));
    ASSERT_EQ(form.RecSrc_Cmb->count(), 3);
    EXPECT_EQ(form.RecSrc_Cmb->itemText(2).toStdString(), "Monitor of OtherSink");
    EXPECT_EQ(description(form), "LoopMic");
    form.RecSrc_Cmb->setCurrentIndex(2);
    EXPECT_EQ(SettingGet("Setting", "RecordingSource", ""), "othersink.monitor");
    EXPECT_LT(Loudness(Take(form)), 50);
  }
  {
    Recd_Frm form(nullptr, 2, kRate, 16);
    ASSERT_TRUE(form.FormInitilize());
    EXPECT_EQ(description(form), "Monitor of OtherSink");
    form.RecSrc_Cmb->setCurrentIndex(1);
    EXPECT_NEAR(Loudness(Take(form)), 8000, 400);
  }
  SettingPut("Setting", "RecordingSource", "gone");
  Recd_Frm form(nullptr, 2, kRate, 16);
  ASSERT_TRUE(form.FormInitilize());
  EXPECT_EQ(description(form), "LoopMic");
  EXPECT_NEAR(Loudness(Take(form)), 8000, 400);
  EXPECT_TRUE(ui.Texts().empty());
}

// A server that offers only the monitor of an output: the dialog opens on it and records
// what the output plays.
TEST_F(Recording, MonitorOnlyServerIsListedAndRecordedFrom) {
  OnlyMonitorSource monitorOnly;
  PlayTone(4);
  Recd_Frm form(nullptr, 2, kRate, 16);
  ASSERT_TRUE(form.FormInitilize());
  ASSERT_EQ(form.Sources().size(), 1U);
  EXPECT_TRUE(form.Sources()[0].monitor);
  EXPECT_EQ(form.RecSrc_Cmb->currentText().toStdString(), "Monitor of NullSink");
  EXPECT_NEAR(Loudness(Take(form)), 8000, 400);
  EXPECT_TRUE(ui.Texts().empty());
}

TEST_F(Recording, FormatLabelSupportAndMeterFollowTheFormatAndCancelAfterStopDeletesTheFile) {
  {
    Recd_Frm form(nullptr, 2, 48000, 16);
    ASSERT_TRUE(form.FormInitilize());
    EXPECT_EQ(form.Fmt_Lbl->text().toStdString(), "(Stereo, 48000 Hz,  16 Bits)");
    EXPECT_FALSE(form.FmtSup_Lbl->isHidden());
    EXPECT_EQ(form.FmtSup_Lbl->text().toStdString(), "Format not supported");
    EXPECT_EQ(form.RecShowRPic->Background(), QColor(Qt::white));
  }
  Recd_Frm form(nullptr, 1, 22050, 16);
  ASSERT_TRUE(form.FormInitilize());
  EXPECT_EQ(form.Fmt_Lbl->text().toStdString(), "(Mono, 22050 Hz,  16 Bits)");
  EXPECT_TRUE(form.FmtSup_Lbl->isHidden());
  EXPECT_EQ(form.RecShowRPic->Background(), QColor(0xC0, 0xC0, 0xC0));  // no right channel
  form.Start_Btn_Click();
  EXPECT_TRUE(QTest::qWaitFor([&] { return form.FramesWritten() > 0; }, 3000));
  form.Start_Btn_Click();
  ASSERT_TRUE(std::filesystem::exists(form.RecordFileName));
  form.Cancel_Btn_Click();
  EXPECT_FALSE(form.OkClicked);
  EXPECT_FALSE(std::filesystem::exists(form.RecordFileName));
}

// The volume button runs pavucontrol where it is found, else the desktop's own sound
// settings, else says what it looked for and where.
TEST_F(Recording, VolumeButtonRunsTheFirstSoundSettingsProgramFound) {
  struct Case {
    std::vector<std::pair<int, std::string>> installed;  // folder (0 or 1), program
    std::string ran;                                     // what ran, with its arguments
  };
  const std::vector<Case> cases = {
      {{{0, "gnome-control-center"}, {1, "pavucontrol"}}, "pavucontrol --tab=4"},
      {{{1, "gnome-control-center"}, {0, "mate-volume-control"}}, "gnome-control-center sound"},
      {{}, ""},
  };
  const std::vector<std::string> kept = Recd_Frm::VolumeControlFolders;
  for (const Case& tried : cases) {
    const TempFolder bin;
    const TempFolder local;
    Recd_Frm::VolumeControlFolders = {bin.Path(), local.Path()};
    const std::string ran = files.File("ran");
    std::filesystem::remove(ran);
    for (const auto& [folder, name] : tried.installed) {
      const std::string program =
          (folder == 0 ? bin : local)
              .Write(name, "#!/bin/sh\necho \"$(basename \"$0\") $*\" > " + ran + ".part && mv " +
                               ran + ".part " + ran + "\n");
      std::filesystem::permissions(program, std::filesystem::perms::owner_exec,
                                   std::filesystem::perm_options::add);
    }
    ui.messages.clear();
    Recd_Frm form(nullptr, 1, 22050, 16);
    form.RecSrcBtn_Click();
    if (tried.ran.empty()) {
      EXPECT_EQ(ui.Texts(),
                std::vector<std::string>{
                    "The file pavucontrol is not found in " + bin.Path() + " and " + local.Path() +
                    "\r\nthat is needed to set recording sound source\r\n(nor is "
                    "pavucontrol-qt, gnome-control-center, systemsettings, systemsettings5, "
                    "mate-volume-control or cinnamon-settings).\r\nPlease install pavucontrol, "
                    "or set the recording source and its volume in the sound settings of your "
                    "desktop."});
      continue;
    }
    ASSERT_TRUE(QTest::qWaitFor([&] { return std::filesystem::exists(ran); }, 5000));
    std::ifstream said(ran);
    std::string line;
    std::getline(said, line);
    EXPECT_EQ(line, tried.ran);
    EXPECT_TRUE(ui.Texts().empty());
  }
  Recd_Frm::VolumeControlFolders = kept;
}

}  // namespace
}  // namespace quorvane::testing
