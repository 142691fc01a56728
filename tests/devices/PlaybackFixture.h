// A session whose player plays through the sound server's null sink, and a document to
// play: for the cases that play, and hear or record, what they played.
#pragma once

#include <QTest>
#include <algorithm>

#include "devices/PlayControl.h"
#include "formats/OpenSaveClass.h"
#include "storage/FileMemoClass.h"
#include "tests/devices/LoopbackRecorder.h"
#include "tests/support/SessionFixture.h"
#include "tests/support/WaveBuilder.h"

namespace quorvane::testing {

class Playback : public SessionTest {
 protected:
  Playback() {
    CreatePlayer();
    SoundDriverSwitch(true, 1);
    SetPlayToolbar({[this](int32_t state) { shownStates.push_back(state); }, {}, {}});
  }
  ~Playback() override {
    PlayControl(6);
    SetPlayDocument(nullptr);
    SetPlayToolbar({});
    SoundDriverSwitch(false, 0);
    ReleasePlayer();
  }

  // Loads a WAV of the channels (left, and right for stereo) as the played document: its
  // blocks lie in the source file.
  void Load(int channels, int rate, int bits, const std::vector<int16_t>& left,
            const std::vector<int16_t>& right = {}) {
    ASSERT_TRUE(OpenSaveClass().FileLoadWave(
        document,
        files.Write("track.wav", PcmWave(channels, rate, bits, Interleave(left, right)))));
    SetPlayDocument(&document);
  }

  void Play(int32_t from, int32_t to) {
    SetPlayRange(from, to);
    PlayControl(11);
  }

  // Waits until the player has stopped, noting the furthest position it reported.
  int32_t FurthestUntilStopped(int timeoutMs) {
    int32_t furthest = 0;
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
          furthest = std::max(furthest, PlayedSamples());
          return CurrentPlayState() == 0;
        },
        timeoutMs));
    return furthest;
  }

  // Plays from..to and returns what the loopback heard from its first sound on.
  std::vector<int16_t> Heard(int channels, int rate, int32_t from, int32_t to, int threshold) {
    LoopbackRecorder ear(channels, rate);
    Play(from, to);
    FurthestUntilStopped(8000);
    QTest::qWait(200);
    const std::vector<int16_t> heard = ear.Samples();
    return {
        heard.begin() + static_cast<ptrdiff_t>(FirstSound(heard, channels, threshold)) * channels,
        heard.end()};
  }

  FileMemoClass document;
  std::vector<int32_t> shownStates;
};

}  // namespace quorvane::testing
