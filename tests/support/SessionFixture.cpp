#include "tests/support/SessionFixture.h"

#include "core/Environment.h"
#include "core/ProjectTables.h"
#include "storage/BlockList.h"
#include "storage/EditorState.h"

namespace quorvane::testing {

SessionTest::SessionTest() {
  ResetEnvironment();
  Env().AppPath = files.Path();
  Env().SystemTempPath = session.Path();
  Env().TempRoot = session.Path();
  Env().SessionFolder = session.Path();
  Env().SettingsFile = files.File("quorvane-audio.ini");
  Env().MemoryBudget = 10'000'000;
  ResetBlockList();
  ResetEditorState();
  SetProjectDefaults(files.Path());
  SetDocumentWindow(&menu);
}

SessionTest::~SessionTest() {
  SetDocumentWindow(nullptr);
  ReleaseAllFiles();
  ResetBlockList();
  ResetEnvironment();
}

std::vector<int16_t> SessionTest::ChannelSamples(const FileMemoClass& document, int channel) {
  std::vector<int16_t> samples;
  samples.reserve(static_cast<size_t>(document.WavWaveINos));
  for (int32_t position = 1; position <= document.WavWaveINos; ++position) {
    samples.push_back(channel == 2 ? document.WaveR(position) : document.WaveL(position));
  }
  return samples;
}

std::vector<int16_t> Interleave(const std::vector<int16_t>& left,
                                const std::vector<int16_t>& right) {
  if (right.empty()) return left;
  std::vector<int16_t> frames;
  frames.reserve(left.size() * 2);
  for (size_t i = 0; i < left.size(); ++i) {
    frames.push_back(left[i]);
    frames.push_back(right[i]);
  }
  return frames;
}

std::vector<int16_t> Ramp(size_t count, int first, int step) {
  std::vector<int16_t> values(count);
  for (size_t i = 0; i < count; ++i) {
    values[i] = static_cast<int16_t>(first + static_cast<int>(i) * step);
  }
  return values;
}

std::vector<int16_t> Zeros(size_t count) { return std::vector<int16_t>(count, 0); }

std::vector<int16_t> EightBitPattern(size_t count, int seed) {
  std::vector<int16_t> values(count);
  for (size_t i = 0; i < count; ++i) {
    values[i] = static_cast<int16_t>((static_cast<int>(i) * 37 + seed * 11) % 256 - 128);
  }
  return values;
}

std::vector<int16_t> Stretch(const std::vector<int16_t>& samples, int32_t from, int32_t to) {
  return std::vector<int16_t>(samples.begin() + (from - 1), samples.begin() + to);
}

std::vector<int16_t> Joined(const std::vector<std::vector<int16_t>>& parts) {
  std::vector<int16_t> joined;
  for (const auto& part : parts) joined.insert(joined.end(), part.begin(), part.end());
  return joined;
}

}  // namespace quorvane::testing
