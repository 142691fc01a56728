// Playback on a real sound server: the play routine hands a document range to the player,
// which plays it through the null sink; "loopmic" records what was played. The position
// follows the clock, pause, continue, loop and stop act as a user hears them, and every
// kind of block reaches the device in order and at its level.
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <filesystem>

#include "devices/DsPlayClass.h"
#include "tests/devices/PlaybackFixture.h"
#include "tests/storage/StorageFixtures.h"

namespace quorvane::testing {
namespace {

TEST_F(Playback, PlayedSamplesFollowTheClockAndReachTheRangeLength) {
  const int rate = 44100;
  Load(2, rate, 16, Tone(440, rate, 3000, 2 * rate), Tone(660, rate, 3000, 2 * rate));
  Play(1, 2 * rate);
  EXPECT_EQ(CurrentPlayState(), 1);
  ASSERT_TRUE(QTest::qWaitFor([] { return PlayedSamples() > rate / 5; }, 3000));
  QElapsedTimer clock;
  clock.start();
  const int32_t first = PlayedSamples();
  QTest::qWait(1000);
  const int32_t last = PlayedSamples();
  const double wall = static_cast<double>(clock.nsecsElapsed()) / 1e9;
  EXPECT_NEAR(static_cast<double>(last - first) / rate, wall, 0.05 * wall);
  const int32_t furthest = FurthestUntilStopped(5000);
  EXPECT_EQ(CurrentPlayState(), 0);
  EXPECT_GE(furthest, 2 * rate - rate / 10);
  EXPECT_LE(furthest, 2 * rate);
}

TEST_F(Playback, PauseHoldsThePositionContinueResumesLoopRestartsStopEnds) {
  const int rate = 22050;
  Load(1, rate, 16, Tone(440, rate, 3000, 3 * rate));
  Play(1, 3 * rate);
  ASSERT_TRUE(QTest::qWaitFor([] { return PlayedSamples() > rate / 5; }, 3000));
  PlayControl(3);
  EXPECT_EQ(CurrentPlayState(), 3);
  const int32_t paused = PlayedSamples();
  QTest::qWait(300);
  EXPECT_NEAR(PlayedSamples(), paused, rate / 100);
  PlayControl(3);
  EXPECT_EQ(CurrentPlayState(), 1);
  EXPECT_TRUE(QTest::qWaitFor([&] { return PlayedSamples() > paused + rate / 5; }, 3000));
  PlayControl(2);
  EXPECT_EQ(CurrentPlayState(), 0);
  EXPECT_EQ(shownStates, (std::vector<int32_t>{1, 3, 1, 0}));
  // Looped, a range restarts at its start until stopped.
  PassLoopToPlayer(true);
  Play(1, rate / 4);
  int32_t previous = 0;
  bool wrapped = false;
  EXPECT_TRUE(QTest::qWaitFor(
      [&] {
        const int32_t now = PlayedSamples();
        wrapped = now < previous;
        previous = now;
        return wrapped;
      },
      3000));
  EXPECT_EQ(CurrentPlayState(), 1);
  PlayControl(2);
  EXPECT_EQ(CurrentPlayState(), 0);
}

// One tone per kind of block: a source file, memory that play writes to a temporary file,
// silence and memory again; the recording must hold them in this order.
TEST_F(Playback, BlocksOfEveryKindPlayTheirSamplesInOrder) {
  const int rate = 44100;
  const int part = rate / 2;
  Load(1, rate, 16, Tone(500, rate, 6000, part));
  BlockCarrBuffClass inserted[3] = {
      CarrierOf(Tone(1200, rate, 6000, part)), {}, CarrierOf(Tone(800, rate, 6000, part))};
  inserted[1].ReDimSize(part);
  for (int i = 0; i < 3; ++i) {
    document.WaveDataInsert((i + 1) * part + 1, 1, &inserted[i], nullptr, "Record", true);
  }
  ASSERT_EQ(document.WavWaveINos, 4 * part);
  const std::vector<int16_t> heard = Heard(1, rate, 1, 4 * part, 1000);
  EXPECT_FALSE(ui.progress.shown);  // the blocks were put in files for the player
  ASSERT_FALSE(ui.progress.values.empty());
  EXPECT_FLOAT_EQ(ui.progress.values.back(), 1.0F);
  ASSERT_LT(4 * static_cast<size_t>(part), heard.size());
  // The middle fifth of each quarter, away from the joins.
  const auto strength = [&](int quarter, double frequency) {
    return ToneAmplitude(heard, 1, rate, frequency,
                         static_cast<size_t>(quarter * part + 2 * part / 5),
                         static_cast<size_t>(part / 5));
  };
  EXPECT_NEAR(strength(0, 500), 6000, 600);
  EXPECT_NEAR(strength(1, 1200), 6000, 600);
  EXPECT_LT(strength(2, 500) + strength(2, 1200) + strength(2, 800), 100);
  EXPECT_NEAR(strength(3, 800), 6000, 600);
  EXPECT_LT(strength(0, 1200), 300);
  EXPECT_LT(strength(1, 500), 300);
}

// 8-bit values reach the device raised to 16 bits, one channel on both of a stereo
// device.
TEST_F(Playback, EightBitMonoPlaysAtItsLevelOnBothChannels) {
  const int rate = 22050;
  Load(1, rate, 8, Tone(700, rate, 60, rate));
  const std::vector<int16_t> heard = Heard(2, 44100, 1, rate, 3000);
  for (int channel = 0; channel < 2; ++channel) {
    const std::vector<int16_t> one(heard.begin() + channel, heard.end());
    EXPECT_NEAR(ToneAmplitude(one, 2, 44100, 700, 11025, 11025), 60 * 256, 1500);
  }
}

TEST_F(Playback, RangesUnderFiveMillisecondsAreRefused) {
  const int rate = 22050;
  Load(1, rate, 16, Tone(440, rate, 3000, rate));
  Play(1000, 1099);
  EXPECT_EQ(CurrentPlayState(), 0);
  ASSERT_EQ(ui.Texts(), std::vector<std::string>{"The audio track is too small to play."});
  EXPECT_EQ(ui.messages[0].icon, MessageIcon::Exclamation);
  Play(1000, 1110);
  EXPECT_EQ(ui.messages.size(), 1U);
  EXPECT_NE(CurrentPlayState(), 0);
}

// The player's own messages reach the person, except its "S2".
TEST_F(Playback, AFileThatCannotBeReadIsReportedByThePlayer) {
  const int rate = 22050;
  Load(1, rate, 16, Tone(440, rate, 3000, rate / 2));
  std::filesystem::remove(files.File("track.wav"));
  DsPlay()->Dll_MsgBoxOb("S2", "Player");
  Play(1, rate / 2);
  ASSERT_TRUE(QTest::qWaitFor([&] { return !ui.messages.empty(); }, 3000));
  EXPECT_EQ(ui.messages[0].text, "Cannot read the audio to play.\n" + files.File("track.wav") +
                                     ": No such file or directory");
  EXPECT_EQ(ui.messages[0].caption, "Play failed");
}

}  // namespace
}  // namespace quorvane::testing
