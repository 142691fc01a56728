#include "platform/ProcessRunner.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>

#include "tests/support/TempFolder.h"

namespace quorvane::testing {
namespace {

using Arguments = std::vector<std::string>;

TEST(SplitCommandLine, BlanksSeparateAndQuotesGroup) {
  EXPECT_EQ(SplitCommandLine("\"/usr/bin/lame\" --decode \"/a b/in.mp3\" \"/t/tm5.wav\""),
            (Arguments{"/usr/bin/lame", "--decode", "/a b/in.mp3", "/t/tm5.wav"}));
  // Empty settings leave two blanks; they make no empty argument.
  EXPECT_EQ(SplitCommandLine("\"/my tools/lame\"  \"in.wav\" \"out.mp3\""),
            (Arguments{"/my tools/lame", "in.wav", "out.mp3"}));
  EXPECT_EQ(SplitCommandLine("a\"b c\"d  \"\" e"), (Arguments{"ab cd", "", "e"}));
  EXPECT_EQ(SplitCommandLine("  "), Arguments{});
  EXPECT_EQ(SplitCommandLine("tab\tsep"), (Arguments{"tab", "sep"}));
  EXPECT_EQ(SplitCommandLine("\"unclosed quote"), (Arguments{"unclosed quote"}));
  EXPECT_EQ(SplitCommandLine("back\\slash \"$HOME;rm\""), (Arguments{"back\\slash", "$HOME;rm"}));
}

RunOptions PollingEvery(std::chrono::milliseconds interval) {
  RunOptions options;
  options.pollInterval = interval;
  options.settleTime = std::chrono::milliseconds(0);
  return options;
}

class ProcessRunner : public ::testing::Test {
 protected:
  TempFolder folder;
  const RunOptions quick = PollingEvery(std::chrono::milliseconds(500));
};

TEST_F(ProcessRunner, FileNamesReachTheProgramWholeAndNoShellSeesThem) {
  const std::string source = folder.Write("source \"take 2\" file.txt", "narration");
  const std::string target = folder.File("copy; echo \"injected\" $HOME.txt");
  const ProgramOutcome outcome = RunAndWaitProcess({"/bin/cp", source, target}, quick);
  EXPECT_TRUE(outcome.Succeeded());
  // The program has ended when the call returns: its output is complete.
  EXPECT_EQ(ReadFileBytes(target), "narration");
}

TEST_F(ProcessRunner, TheProgramBlocksNoSignalTheCallerBlocks) {
  sigset_t terminate;
  sigemptyset(&terminate);
  sigaddset(&terminate, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &terminate, nullptr);
  const std::string status = folder.File("status");
  EXPECT_TRUE(RunAndWaitProcess({"/bin/cp", "/proc/self/status", status}, quick).Succeeded());
  pthread_sigmask(SIG_UNBLOCK, &terminate, nullptr);
  EXPECT_NE(ReadFileBytes(status).find("SigBlk:\t0000000000000000\n"), std::string::npos);
}

TEST_F(ProcessRunner, AProgramThatCannotStartEndsTheWaitAtOnce) {
  const std::string notExecutable = folder.Write("plain.txt", "data");
  for (const std::vector<std::string>& arguments :
       {Arguments{folder.File("no-such-encoder"), "x", "y"}, Arguments{}, Arguments{""},
        Arguments{notExecutable}}) {
    EXPECT_EQ(RunAndWaitProcess(arguments, quick).end, ProgramEnd::NotStarted);
  }
}

TEST_F(ProcessRunner, WaitsForAChildThatOutlivesSeveralPolls) {
  const std::string marker = folder.File("done");
  const RunOptions fastPolls = PollingEvery(std::chrono::milliseconds(20));
  // A failing exit code is handed back, and a program a signal ended is told apart.
  ProgramOutcome outcome =
      RunAndWaitProcess({"/usr/bin/timeout", "0.3", "/bin/sleep", "5"}, fastPolls);
  EXPECT_EQ(outcome.end, ProgramEnd::Exited);
  EXPECT_EQ(outcome.exitCode, 124);
  EXPECT_FALSE(outcome.Succeeded());
  outcome = RunAndWaitProcess({"/bin/sh", "-c", "sleep 0.2; kill -KILL $$"}, fastPolls);
  EXPECT_EQ(outcome.end, ProgramEnd::Killed);
  EXPECT_FALSE(outcome.Succeeded());
  outcome = RunAndWaitProcess({"/bin/sh", "-c", "sleep 0.2; touch \"$0\"", marker}, fastPolls);
  EXPECT_TRUE(outcome.Succeeded());
  EXPECT_TRUE(ReadFileBytes(marker).empty());
  EXPECT_TRUE(std::ifstream(marker).good());
}

TEST_F(ProcessRunner, AProgramIsKilledOnlyWhenItsFileStandsStillForTheLimit) {
  RunOptions options = PollingEvery(std::chrono::milliseconds(50));
  options.progressFile = folder.File("output");
  options.stallLimit = std::chrono::milliseconds(400);
  // Both run for 1.2 s, three times the limit; only the one that stops writing is ended.
  const std::string writes = "for i in 1 2 3 4 5 6; do echo x >> \"$0\"; sleep 0.2; done";
  const std::string stops = "echo x > \"$0\"; sleep 1.2; echo late >> \"$0\"";
  using Case = std::pair<std::string, ProgramEnd>;
  for (const auto& [script, end] :
       {Case{writes, ProgramEnd::Exited}, Case{stops, ProgramEnd::Stalled}}) {
    std::filesystem::remove(options.progressFile);
    EXPECT_EQ(RunAndWaitProcess({"/bin/sh", "-c", script, options.progressFile}, options).end, end)
        << script;
  }
  EXPECT_EQ(ReadFileBytes(options.progressFile), "x\n");
}

}  // namespace
}  // namespace quorvane::testing
