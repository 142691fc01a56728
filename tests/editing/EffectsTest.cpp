// Change Volume, Maximize and Dynamic Compress/Expand against plain implementations over
// vectors, across block boundaries and with a budget that sends blocks to files on the
// way; the dialogs' values, checks and settings.
#include <gtest/gtest.h>

#include <cmath>

#include "core/Environment.h"
#include "core/Numbers.h"
#include "core/Settings.h"
#include "editing/DynCompFrm.h"
#include "editing/DynamicCompress.h"
#include "editing/EditCommands.h"
#include "editing/VolumeChgFrm.h"
#include "editing/VolumeEffects.h"
#include "tests/storage/StorageFixtures.h"

namespace quorvane::testing {
namespace {

std::vector<int16_t> Scaled(std::vector<int16_t> samples, double gain) {
  for (int16_t& s : samples)
    s = static_cast<int16_t>(std::clamp(RoundHalfEven(gain * s), -32768, 32767));
  return samples;
}

// The dynamic effect as a plain loop over a vector: each window's average and its gain.
std::vector<int16_t> DynamicReference(const std::vector<int16_t>& x, int32_t rate, float d,
                                      int32_t t, int32_t c) {
  const auto n = static_cast<int32_t>(x.size());
  const int32_t target = RoundHalfEven(t / 100.0 * 32767 / 2 * 0.75);
  const int32_t cut = RoundHalfEven(c / 100.0 * 32767 / 2 * 0.75);
  const int32_t w = std::min(RoundHalfEven(d * static_cast<double>(rate)), n);
  const int32_t h = RoundHalfEven(w / 2.0);
  std::vector<int64_t> below(x.size() + 1, 0);  // sums of |x| before each index
  for (size_t k = 0; k < x.size(); ++k) below[k + 1] = below[k] + std::abs(x[k]);
  const auto average = [&](int32_t from) {  // window of w samples from index `from`
    const int64_t sum = below[static_cast<size_t>(from + w)] - below[static_cast<size_t>(from)];
    return RoundHalfEven(static_cast<double>(sum) / w);
  };
  std::vector<int16_t> y(x.size());
  for (int32_t i = 0; i < n; ++i) {
    const int32_t from = std::clamp(i - h + 1, 0, n - w);
    const int32_t avg = average(from);
    const int16_t s = x[static_cast<size_t>(i)];
    if (avg < cut) {
      y[static_cast<size_t>(i)] = s;
      continue;
    }
    const auto gain = static_cast<float>(static_cast<double>(target) / avg);
    const float product = gain * static_cast<float>(s);
    y[static_cast<size_t>(i)] =
        static_cast<int16_t>(std::clamp(RoundHalfEven(product), -32768, 32767));
  }
  return y;
}

// A voice-like test signal: loud and quiet stretches with near-silence between.
std::vector<int16_t> Speech(int32_t count, int32_t seed) {
  std::vector<int16_t> samples(static_cast<size_t>(count));
  for (int32_t i = 0; i < count; ++i) {
    const double envelope = 0.5 + 0.5 * std::sin(i / (3000.0 + seed));
    samples[static_cast<size_t>(i)] =
        static_cast<int16_t>(envelope * envelope * 26000 * std::sin(i * 0.07 + seed));
  }
  return samples;
}

class Effects : public StorageTest {
 protected:
  void Load(const std::vector<int16_t>& left, const std::vector<int16_t>& right) {
    LoadDocument(document, left, right, 7001);
    Env().MemoryBudget = 200'000;
  }
  void Select(int32_t start, int32_t end) {
    Editor().SelStart = start;
    Editor().SelEnd = end;
  }
  FileMemoClass document;
};

TEST_F(Effects, VolumeRoundsHalfToEvenAndClipsMaximizeReachesFullScale) {
  struct Case {
    int32_t percent;  // -1: Maximize
    int16_t in, out;
  };
  // Maximize of a peak of -32768 scales by 32767 / 32768; silence stays silent.
  for (const Case& c :
       {Case{150, 3, 4}, Case{150, 5, 8}, Case{200, 20000, 32767}, Case{200, -20000, -32768},
        Case{0, 1234, 0}, Case{100, -7, -7}, Case{-1, -32768, -32767}, Case{-1, 0, 0}}) {
    Load(std::vector<int16_t>(20, c.in), {});
    Select(2, 19);
    ASSERT_TRUE(c.percent < 0 ? Maximize(document) : ChangeVolume(document, c.percent));
    EXPECT_EQ(QuickSamples(document, 1), Joined({{c.in}, std::vector<int16_t>(18, c.out), {c.in}}));
    EXPECT_EQ(menu.menuCaption, c.percent < 0 ? "Undo [Maximize]" : "Undo [Change Volume]");
    // Without a range neither does anything.
    Select(3, 3);
    EXPECT_FALSE(c.percent < 0 ? Maximize(document) : ChangeVolume(document, c.percent));
  }
}

TEST_F(Effects, ChangeVolumeAndMaximizeMatchThePlainComputationAcrossBlocks) {
  const std::vector<int16_t> left = Speech(230000, 1);
  const std::vector<int16_t> right = Scaled(Speech(230000, 2), 0.5);
  Load(left, right);
  SetMarkers({100, 229000});
  Select(1001, 229000);
  ASSERT_TRUE(ChangeVolume(document, 137));
  const auto expected = [](const std::vector<int16_t>& all, double gain) {
    return Joined({Stretch(all, 1, 1000), Scaled(Stretch(all, 1001, 229000), gain),
                   Stretch(all, 229001, 230000)});
  };
  EXPECT_EQ(QuickSamples(document, 1), expected(left, 1.37));
  EXPECT_EQ(QuickSamples(document, 2), expected(right, 1.37));
  EXPECT_EQ(MarkerPositions(), (std::vector<int32_t>{100, 229000}));
  EditUndo(document);
  EXPECT_EQ(QuickSamples(document, 1), left);

  ASSERT_TRUE(Maximize(document));
  const auto peak = [](const std::vector<int16_t>& samples) {
    int32_t most = 0;
    for (const int16_t s : Stretch(samples, 1001, 229000))
      most = std::max(most, std::abs(int32_t{s}));
    return most;
  };
  // Each channel gets its own gain.
  EXPECT_EQ(QuickSamples(document, 1), expected(left, 1.0 / (peak(left) / 32767.0)));
  EXPECT_EQ(QuickSamples(document, 2), expected(right, 1.0 / (peak(right) / 32767.0)));
  EXPECT_EQ(menu.menuCaption, "Undo [Maximize]");
  EXPECT_EQ(ui.busyDepth, 0);
  EXPECT_FALSE(ui.progress.shown);
}

TEST_F(Effects, VolumeDialogLabelsAndSetting) {
  struct Case {
    std::string stored;
    int32_t slider;
    std::string label1, label2;
  };
  for (const Case& c : {Case{"", 150, "150%", "(Increase volume by 50%)"},
                        Case{"250", 150, "150%", "(Increase volume by 50%)"},
                        Case{"-5", 150, "150%", "(Increase volume by 50%)"},
                        Case{"100", 100, "100%", "(No change to the volume)"},
                        Case{"0", 0, "0%", "(Make it to silence)"},
                        Case{"30.5", 30, "30%", "(Decrease volume by 70%)"}}) {
    if (!c.stored.empty()) SettingPut("", "ChangeVol", c.stored);
    VolumeChgFrm form;
    form.UpdateForm();
    EXPECT_EQ(form.VolSlider, c.slider) << c.stored;
    EXPECT_EQ(form.DispVolLbl1, c.label1);
    EXPECT_EQ(form.DispVolLbl2, c.label2);
  }
  VolumeChgFrm form;
  form.VolSlider_Change(180);
  form.OkBtn_Click();
  EXPECT_EQ(SettingGet("", "ChangeVol", ""), "180");
}

TEST_F(Effects, DynamicMatchesThePlainComputationAcrossBlocksAndChannels) {
  // 600,000 samples: the result crosses a carrier block, the budget sends blocks to files.
  const std::vector<int16_t> left = Speech(600000, 3);
  const std::vector<int16_t> right = Scaled(Speech(600000, 4), 0.2);
  Load(left, right);
  Select(11, 599990);
  ASSERT_TRUE(DynamicCompressExpand(document, DynamicParameters{0.3F, 100, 3}));
  for (const auto& [channel, samples] : {std::pair{1, left}, std::pair{2, right}}) {
    const std::vector<int16_t> expected =
        Joined({Stretch(samples, 1, 10),
                DynamicReference(Stretch(samples, 11, 599990), 44100, 0.3F, 100, 3),
                Stretch(samples, 599991, 600000)});
    EXPECT_TRUE(QuickSamples(document, channel) == expected) << "channel " << channel;
  }
  EXPECT_EQ(menu.menuCaption, "Undo [Dynamic Compress/Expand]");
  EditUndo(document);
  EXPECT_TRUE(QuickSamples(document, 2) == right);
}

TEST_F(Effects, DynamicLevelsAndShortStretches) {
  // Windows averaging 6144 are doubled, 24576 halved, 300 left alone (target 12288,
  // cut-off 369); a stretch shorter than the window is one window.
  for (const auto& [level, out] :
       std::vector<std::pair<int16_t, int16_t>>{{6144, 12288}, {-24576, -12288}, {300, 300}}) {
    Load(std::vector<int16_t>(50, level), {});
    Select(1, 50);
    ASSERT_TRUE(DynamicCompressExpand(document, DynamicParameters{4.0F, 100, 3}));
    EXPECT_EQ(QuickSamples(document, 1), std::vector<int16_t>(50, out));
  }
}

TEST_F(Effects, DynamicWithNoCutOffOverSilenceEndsInTheErrorAndChangesNothing) {
  Load(Joined({Speech(10000, 5), Zeros(10000)}), {});
  Select(1, 20000);
  EXPECT_FALSE(DynamicCompressExpand(document, DynamicParameters{0.1F, 100, 0}));
  EXPECT_EQ(ui.Texts(), (std::vector<std::string>{"Division by zero"}));
  EXPECT_EQ(ui.messages[0].icon, MessageIcon::Exclamation);
  EXPECT_EQ(QuickSamples(document, 1), Joined({Speech(10000, 5), Zeros(10000)}));
  EXPECT_EQ(document.UndoItemCount(), 0);
  EXPECT_FALSE(ui.progress.shown);
}

TEST_F(Effects, DynamicDialogFallbacksChecksAndSetting) {
  struct Load {
    std::string stored, duration, target, cutOff;
  };
  for (const Load& c : {Load{"", "0.3", "100", "3"}, Load{"0.05,5,20", "0.3", "30", "3"},
                        Load{"4,200", "4", "200", "0"}, Load{"0.1,10,0", "0.1", "30", "0"}}) {
    if (!c.stored.empty()) SettingPut("Effects", "DynamicCE", c.stored);
    DynCompFrm form;
    form.Form_Load();
    EXPECT_EQ(form.SampDurTxt + "," + form.TargetVolTxt + "," + form.CutOffVolTxt,
              c.duration + "," + c.target + "," + c.cutOff)
        << c.stored;
  }
  struct Check {
    std::string duration, target, cutOff, message;
  };
  for (const Check& c :
       {Check{"4.5", "100", "3",
              "Invalid sampling duration\r\nEntered sampling duration is 4.5\r\n(0.1 to 10.0 is "
              "allowed)"},
        Check{"abc", "100", "3",
              "Invalid sampling duration\r\nEntered sampling duration is 0\r\n(0.1 to 10.0 is "
              "allowed)"},
        Check{"0.1", "9.4", "3",
              "Invalid target volume\r\nEntered target volume is 9%\r\n(10 to 200 is allowed)"},
        Check{"4", "200", "11",
              "Invalid cut off volume\r\nEntered cut off volume is 11%\r\n(0 to 10 is allowed)"}}) {
    DynCompFrm form{c.duration, c.target, c.cutOff, true};
    DynamicParameters values;
    EXPECT_EQ(form.CheckValues(values).value_or("accepted"), c.message);
  }
  DynCompFrm form{"0.25", "120", "2", true};
  DynamicParameters values;
  EXPECT_EQ(form.CheckValues(values), std::nullopt);
  EXPECT_EQ(values.TargetVol, 120);
  form.Form_Unload();
  EXPECT_EQ(SettingGet("Effects", "DynamicCE", ""), "0.25,120,2");
}

}  // namespace
}  // namespace quorvane::testing
