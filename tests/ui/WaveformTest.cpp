// What the waveform shows of ten minutes of audio at zoom all, once the summaries of the
// source file are made: every sample a column covers, from its lowest to its highest.
#include <gtest/gtest.h>

#include <QTest>
#include <cmath>
#include <functional>
#include <vector>

#include "tests/ui/EditorWindowFixture.h"
#include "ui/ViewState.h"

namespace quorvane {
namespace {

using namespace quorvane::testing;

constexpr int kTenMinutes = 10 * 60 * kRate;

class Waveform : public WaveEditorWindow {
 protected:
  // Opens a one-slide mono project of these samples.
  WaveEditor_Frm& OpenTrack(const std::vector<int16_t>& samples) {
    ProjectPlan plan;
    plan.targetFolder = files.Path();
    plan.slides = {TrackSlide("talk.wav", PcmWave(1, kRate, 16, samples))};
    project = WriteProject(files.File("long.ini"), plan);
    return Open();
  }

  // The columns of the left picture whose pixel at `y` is drawn in the waveform's colour.
  static int WaveColumnsAt(const WaveEditor_Frm& window, int y) {
    const QImage image = window.Wave_Pic(1)->Image().toImage();
    int columns = 0;
    for (int x = 1; x < View().ViewPixels - 1; ++x) {
      columns += image.pixel(x, y) == QColor(0, 0, 100).rgb() ? 1 : 0;
    }
    return columns;
  }
};

TEST_F(Waveform, AFullScaleToneFillsEveryColumnFromTopToBottom) {
  std::vector<int16_t> tone(kTenMinutes);
  for (int i = 0; i < kTenMinutes; ++i) {
    tone[size_t(i)] =
        static_cast<int16_t>(std::lround(32767 * std::sin(2 * M_PI * 440 * i / kRate)));
  }
  WaveEditor_Frm& window = OpenTrack(tone);
  const int columns = View().ViewPixels - 2;
  const int bottom = window.Wave_Pic(1)->height() - 3;
  EXPECT_TRUE(QTest::qWaitFor([&] { return WaveColumnsAt(window, 2) == columns; }, 10000))
      << WaveColumnsAt(window, 2) << " of " << columns << " columns reach the top";
  EXPECT_EQ(WaveColumnsAt(window, bottom), columns);
}

TEST_F(Waveform, AOneSampleClickInSilenceShowsAtZoomAll) {
  std::vector<int16_t> silence(kTenMinutes);
  silence[kTenMinutes / 3] = 30000;
  WaveEditor_Frm& window = OpenTrack(silence);
  const int high = static_cast<int>(View().CentreY * 0.2);
  EXPECT_TRUE(QTest::qWaitFor([&] { return WaveColumnsAt(window, high) >= 1; }, 10000));
  EXPECT_LE(WaveColumnsAt(window, high), 2) << "the click shows where it is, nowhere else";
}

}  // namespace
}  // namespace quorvane
