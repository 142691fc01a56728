#include "platform/ProcessRunner.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <chrono>
#include <csignal>
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

class ProcessRunner : public ::testing::Test {
 protected:
  TempFolder folder;
  const RunOptions quick{std::chrono::milliseconds(500), std::chrono::milliseconds(0)};
};

TEST_F(ProcessRunner, RunsTheProgramWithQuotedPathsAndNoShell) {
  folder.Write("source file.txt", "narration");
  const std::string target = folder.File("copy; echo injected.txt");
  ASSERT_TRUE(RunAndWaitProcess(
      "\"/bin/cp\" \"" + folder.File("source file.txt") + "\" \"" + target + "\"", quick));
  // The program has ended when the call returns: its output is complete.
  EXPECT_EQ(ReadFileBytes(target), "narration");
}

TEST_F(ProcessRunner, TheProgramBlocksNoSignalTheCallerBlocks) {
  sigset_t terminate;
  sigemptyset(&terminate);
  sigaddset(&terminate, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &terminate, nullptr);
  const std::string status = folder.File("status");
  EXPECT_TRUE(RunAndWaitProcess("/bin/cp /proc/self/status \"" + status + "\"", quick));
  pthread_sigmask(SIG_UNBLOCK, &terminate, nullptr);
  EXPECT_NE(ReadFileBytes(status).find("SigBlk:\t0000000000000000\n"), std::string::npos);
}

TEST_F(ProcessRunner, AProgramThatCannotStartEndsTheWaitAtOnce) {
  EXPECT_FALSE(RunAndWaitProcess("\"" + folder.File("no-such-encoder") + "\" x y", quick));
  EXPECT_FALSE(RunAndWaitProcess("", quick));
  const std::string notExecutable = folder.Write("plain.txt", "data");
  EXPECT_FALSE(RunAndWaitProcess("\"" + notExecutable + "\"", quick));
}

TEST_F(ProcessRunner, WaitsForAChildThatOutlivesSeveralPolls) {
  const std::string marker = folder.File("done");
  const RunOptions fastPolls{std::chrono::milliseconds(20), std::chrono::milliseconds(0)};
  // A failing exit code still counts as run, and is handed back.
  int exitCode = 0;
  ASSERT_TRUE(RunAndWaitProcess("/usr/bin/timeout 0.3 /bin/sleep 5", fastPolls, &exitCode));
  EXPECT_EQ(exitCode, 124);
  ASSERT_TRUE(
      RunAndWaitProcess("/bin/sh -c \"sleep 0.2; touch '" + marker + "'\"", fastPolls, &exitCode));
  EXPECT_EQ(exitCode, 0);
  EXPECT_TRUE(ReadFileBytes(marker).empty());
  EXPECT_TRUE(std::ifstream(marker).good());
}

}  // namespace
}  // namespace quorvane::testing
