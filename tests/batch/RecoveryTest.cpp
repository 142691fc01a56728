// Recovery after a crash, through the batch tool: sessions killed at random moments are
// recovered by the next start exactly as far as their edits had completed, and recovery is
// only ever done, or dropped, when asked. (Saves cut off half way: tests/scripts/safe-save-test.)
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"
#include "tests/support/ProjectBuilder.h"
#include "tests/support/SessionFixture.h"
#include "tests/support/TempFolder.h"
#include "tests/support/WaveBuilder.h"

#ifndef QUORVANE_BATCH_PROGRAM
#error "QUORVANE_BATCH_PROGRAM names the batch tool under test"
#endif

namespace quorvane::testing {
namespace {

namespace fs = std::filesystem;

// A sound that changes from sample to sample, so that any shift shows.
std::vector<int16_t> Waves(size_t count, int seed) {
  std::vector<int16_t> samples(count);
  uint32_t state = 7u + static_cast<uint32_t>(seed);
  for (size_t i = 0; i < count; ++i) {
    state = state * 1664525u + 1013904223u;
    samples[i] = static_cast<int16_t>(static_cast<int>((i * (37 + seed)) % 16000) - 8000 +
                                      static_cast<int>(state >> 28));
  }
  return samples;
}

class Recovery : public ::testing::Test {
 protected:
  Recovery() {
    fs::create_directories(Temporary());
    plan.targetFolder = folder.File("tracks");
    plan.baseFrequency = "8000";
    plan.slides = {
        TrackSlide("a.wav", PcmWave(2, 8000, 16, Interleave(Waves(16000, 1), Waves(16000, 2))), "",
                   "0.5", "1.5"),
        TrackSlide("b.wav", PcmWave(2, 8000, 16, Interleave(Waves(16000, 3), Waves(16000, 4))), "",
                   "0.25"),
        TrackSlide("c.wav", PcmWave(2, 8000, 16, Interleave(Waves(16000, 5), Waves(16000, 6))))};
    WriteProject(Project(), plan);
    folder.Write("insert.wav", PcmWave(1, 8000, 16, Waves(3000, 7)));
  }

  std::string Project() const { return folder.File("project.ini"); }
  std::string Insert() const { return folder.File("insert.wav"); }
  std::string Temporary() const { return folder.File("tmp"); }
  std::vector<std::string> Environment() const {
    return {"XDG_CONFIG_HOME=" + folder.File("config"), "TMPDIR=" + Temporary(),
            "DBUS_SESSION_BUS_ADDRESS=unix:path=" + folder.File("no-bus")};
  }
  std::vector<std::string> Arguments(const std::vector<std::string>& commands) const {
    std::vector<std::string> arguments{Project()};
    for (const std::string& command : commands) {
      std::istringstream words(command);
      for (std::string word; words >> word;) arguments.push_back(word);
    }
    return arguments;
  }
  ProgramRun Run(const std::vector<std::string>& commands) const {
    return RunProgram(QUORVANE_BATCH_PROGRAM, Arguments(commands), Environment());
  }
  // The project's files as they are now.
  std::vector<std::string> Files() const {
    std::vector<std::string> bytes{ReadFileBytes(Project())};
    for (const char* track : {"a.wav", "b.wav", "c.wav"}) {
      bytes.push_back(ReadFileBytes(folder.File(std::string("tracks/") + track)));
    }
    return bytes;
  }
  void PutBack(const std::vector<std::string>& files) const {
    folder.Write("project.ini", files[0]);
    const char* tracks[] = {"a.wav", "b.wav", "c.wav"};
    for (size_t k = 0; k < 3; ++k) {
      folder.Write(std::string("tracks/") + tracks[k], files[k + 1]);
    }
  }
  size_t SessionFolders() const {
    size_t count = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator(Temporary())) ++count;
    return count;
  }

  // Runs the commands and kills the tool once it printed `lines` info lines; false when it
  // had ended by then.
  bool KilledAfter(const std::vector<std::string>& commands, size_t lines) const {
    RunningProgram running(QUORVANE_BATCH_PROGRAM, Arguments(commands), Environment());
    running.AwaitOutput("{\"channels\"", lines);
    return running.Kill().exitStatus == -1;
  }

  // A random edit sequence over positions every document of it has, of edits that each
  // change something (an edit that changes nothing is not recorded): a paste comes only
  // after a copy or cut, pauses are shortened in a silence just inserted, and the slides
  // are leveled after a volume change.
  std::vector<std::string> RandomEdits(std::mt19937& random, size_t count) const {
    const auto at = [&random] { return std::uniform_int_distribution<int>(1, 20000)(random); };
    const auto range = [&] {
      const int first = at();
      return std::to_string(first) + " " +
             std::to_string(first + std::uniform_int_distribution<int>(0, 400)(random));
    };
    std::vector<std::string> edits;
    bool clip = false;
    while (edits.size() < count) {
      switch (std::uniform_int_distribution<int>(0, 12)(random)) {
        case 0:
          edits.push_back("delete " + range());
          break;
        case 1:
          edits.push_back("cut " + range());
          clip = true;
          break;
        case 2:
          edits.push_back("copy " + range());
          clip = true;
          break;
        case 3:
          if (clip) edits.push_back("paste " + std::to_string(at()));
          break;
        case 4: {
          const int position = at();
          edits.push_back("insert-silence " + std::to_string(position) + " 1");
          if (position % 2 == 0) {
            edits.push_back("shorten-pauses 0.5 -50 " + std::to_string(position) + " " +
                            std::to_string(position + 7999));
          }
          break;
        }
        case 5:
          edits.push_back("volume " + std::to_string(at() % 200) + " " + range());
          break;
        case 6:
          edits.push_back("insert-file " + std::to_string(at()) + " " + Insert());
          break;
        case 7:
          edits.push_back("replace-file " + range() + " " + Insert());
          break;
        case 8:
          edits.push_back("cleanup 80 12 " + range());
          break;
        case 9:
          edits.push_back("dynamic 0.1 80 3 " + range());
          break;
        case 10:
          edits.insert(edits.end(), {"volume 150 1 30000", "level -30"});
          break;
        default:
          edits.push_back(std::uniform_int_distribution<int>(0, 2)(random) ? "undo" : "redo");
      }
    }
    return edits;
  }

  TempFolder folder;
  ProjectPlan plan;
};

// Each run is killed after a random number of its edits have reported back. The next start
// recovers at least those; the document it recovers (samples as saved, slides, markers,
// undo caption) is the one the same number of edits makes in a session not killed.
TEST_F(Recovery, ASessionKilledAtARandomMomentIsRecoveredAsFarAsItsEditsCompleted) {
  const std::vector<std::string> original = Files();
  std::mt19937 random(20261126);
  for (int round = 0; round < 50; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    PutBack(original);
    // The last edits take a while, so that the kill comes before the end.
    std::vector<std::string> edits = RandomEdits(random, 24);
    for (int k = 0; k < 8; ++k) edits.insert(edits.end(), {"cleanup 80 12 1 30000", "undo"});
    std::vector<std::string> commands;
    for (const std::string& edit : edits) commands.insert(commands.end(), {edit, "info"});
    const size_t reported = std::uniform_int_distribution<size_t>(0, 24)(random);
    ASSERT_TRUE(KilledAfter(commands, reported));
    const ProgramRun recovered = Run({"recover", "info", "save"});
    ASSERT_EQ(recovered.exitStatus, 0) << recovered.err;
    const size_t count = std::stoul(recovered.out.substr(recovered.out.find(':') + 1));
    ASSERT_GE(count, reported);
    ASSERT_LE(count, edits.size());
    const std::vector<std::string> recoveredFiles = Files();

    PutBack(original);
    std::vector<std::string> model(edits.begin(), edits.begin() + static_cast<long>(count));
    model.insert(model.end(), {"info", "save"});
    const ProgramRun expected = Run(model);
    ASSERT_EQ(expected.exitStatus, 0) << expected.err;
    // Shorten Pauses says what it did; done again, it does so silently.
    const std::string info = expected.out.substr(expected.out.rfind("{\"channels\""));
    EXPECT_EQ(recovered.out, "{\"recovered\":" + std::to_string(count) + "}\n" + info);
    EXPECT_TRUE(recoveredFiles == Files());
    EXPECT_EQ(SessionFolders(), 0u);
  }
}

// Without "recover" or "discard" a start leaves the journal alone; "discard" drops it; a
// track changed since the session ended stops recovery before the first edit, named; and a
// session ended by SIGTERM leaves its journal as a killed one does.
TEST_F(Recovery, RecoveryIsDoneOrDroppedOnlyWhenAskedAndNeverOverAChangedTrack) {
  const std::string loaded = Run({"info"}).out;
  const std::vector<std::string> edits{"delete 1 100",
                                       "info",
                                       "cleanup 80 12 1 30000",
                                       "cleanup 80 12 1 30000",
                                       "cleanup 80 12 1 30000",
                                       "cleanup 80 12 1 30000",
                                       "info"};
  ASSERT_TRUE(KilledAfter(edits, 1));
  ASSERT_EQ(SessionFolders(), 1u);
  EXPECT_EQ(Run({"info"}).out, loaded);
  EXPECT_EQ(SessionFolders(), 1u);
  EXPECT_EQ(Run({"info", "recover"}).exitStatus, 2);
  EXPECT_EQ(Run({"discard", "info"}).out, loaded);
  EXPECT_EQ(SessionFolders(), 0u);
  EXPECT_EQ(Run({"recover", "info"}).out, "{\"recovered\":0}\n" + loaded);

  ASSERT_TRUE(KilledAfter(edits, 1));
  folder.Write("tracks/b.wav", PcmWave(2, 8000, 16, Interleave(Waves(16000, 9), Waves(16000, 4))));
  const ProgramRun stopped = Run({"recover"});
  EXPECT_EQ(stopped.out, "{\"recovered\":0}\n");
  EXPECT_NE(stopped.err.find("changed after the previous session ended:\\r\\n" +
                             folder.File("tracks/b.wav")),
            std::string::npos)
      << stopped.err;
  EXPECT_EQ(SessionFolders(), 0u);

  {
    RunningProgram ended(QUORVANE_BATCH_PROGRAM, Arguments(edits), Environment());
    ASSERT_TRUE(ended.AwaitOutput("{\"channels\"", 1));
    EXPECT_EQ(ended.Wait(true).exitStatus, 143);
  }
  const ProgramRun recovered = Run({"recover"});
  EXPECT_GE(std::stoi(recovered.out.substr(recovered.out.find(':') + 1)), 1) << recovered.out;
}

}  // namespace
}  // namespace quorvane::testing
