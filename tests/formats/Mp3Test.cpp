#include <gtest/gtest.h>

#include <signal.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "core/ProjectTables.h"
#include "formats/OpenSaveClass.h"
#include "platform/ProgramFile.h"
#include "storage/FileMemoClass.h"
#include "tests/support/CompressedWavFixtures.h"
#include "tests/support/SessionFixture.h"
#include "tests/support/WaveBuilder.h"

namespace quorvane {
namespace {

using testing::PcmWave;
using testing::Ramp;

class Mp3Test : public testing::SessionTest {
 protected:
  // An encoder stand-in in a folder with blanks: it writes its arguments to args.txt, one
  // per line, for --decode copies decoded.wav (when there is one) to its last argument, else
  // notes the permissions of the WAV it encodes in wave-mode.txt, and ends as the shell
  // commands in ending.sh say (when there is one).
  std::string FakeEncoder() {
    std::filesystem::create_directories(files.File("my tools"));
    const std::string script = files.File("my tools/lame");
    std::ofstream(script) << "#!/bin/sh\n"
                          << "printf '%s\\n' \"$@\" > '" << files.File("args.txt") << "'\n"
                          << "if [ \"$1\" = --decode ] && [ -f '" << files.File("decoded.wav")
                          << "' ]; then cp '" << files.File("decoded.wav") << "' \"$3\"; fi\n"
                          << "if [ \"$1\" != --decode ]; then eval \"wave=\\${$(($# - 1))}\"; "
                          << "stat -c %a \"$wave\" > '" << files.File("wave-mode.txt") << "'; fi\n"
                          << "if [ -f '" << files.File("ending.sh") << "' ]; then . '"
                          << files.File("ending.sh") << "'; fi\n";
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    return script;
  }
  std::vector<std::string> Arguments() const {
    std::istringstream in(testing::ReadFileBytes(files.File("args.txt")));
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }

  OpenSaveClass codec;
  FileMemoClass document;
};

TEST_F(Mp3Test, AMissingEncoderIsNamed) {
  Project().LamePath = "";
  EXPECT_FALSE(codec.FileLoadMp3(document, files.File("a.mp3")));
  Project().LamePath = files.File("no lame here");
  EXPECT_FALSE(codec.FileWriteMp3(document, files.File("a.mp3"), false));
  ASSERT_EQ(ui.Texts(), (std::vector<std::string>{
                            "Mp3 encoder Exe file not found",
                            "Mp3 encoder Exe file not found\r\n" + files.File("no lame here")}));
  EXPECT_EQ(ui.messages[0].icon, MessageIcon::Exclamation);
}

TEST_F(Mp3Test, NoProgramButAnExecutableFileNamedLameIsRun) {
  // A project that names a shell, with a script for settings, runs nothing.
  const std::string marker = files.File("ran");
  Project().LameSettings = "-c \"touch '" + marker + "'\"";
  std::filesystem::create_directories(files.File("folder/lame"));
  std::filesystem::create_directories(files.File("plain"));
  const std::string notExecutable =
      files.Write("plain/lame", "#!/bin/sh\ntouch '" + marker + "'\n");
  const std::string renamed = files.File("my tools/lame.sh");
  std::filesystem::rename(FakeEncoder(), renamed);
  ASSERT_TRUE(
      codec.FileLoadWave(document, files.Write("kept.wav", PcmWave(1, 8000, 16, Ramp(100)))));
  for (const std::string& encoder :
       {std::string("/bin/sh"), files.File("folder/lame"), notExecutable, renamed}) {
    ui.messages.clear();
    Project().LamePath = encoder;
    EXPECT_FALSE(codec.FileLoadMp3(document, files.File("a.mp3"))) << encoder;
    EXPECT_FALSE(codec.FileWriteMp3(document, files.File("a.mp3"), false)) << encoder;
    const std::string text = "Mp3 encoder Exe file not found\r\n" + encoder;
    EXPECT_EQ(ui.Texts(), (std::vector<std::string>{text, text}));
  }
  EXPECT_FALSE(std::filesystem::exists(marker));
  EXPECT_FALSE(std::filesystem::exists(files.File("args.txt")));
  EXPECT_EQ(ChannelSamples(document, 1), Ramp(100));
}

TEST_F(Mp3Test, ADecodeThatFailsOrIsCutShortKeepsTheDocument) {
  Project().LamePath = FakeEncoder();
  ASSERT_TRUE(
      codec.FileLoadWave(document, files.Write("kept.wav", PcmWave(1, 8000, 16, Ramp(100)))));
  // What the decoder wrote before it ended; "" for nothing at all.
  const std::string cutShort = PcmWave(1, 8000, 16, Ramp(500)).substr(0, 600);
  struct Case {
    std::string written;
    std::string ending;
  };
  for (const Case& c :
       {Case{"", ""}, Case{cutShort, "exit 255"}, Case{cutShort, "kill -KILL $$"}}) {
    ui.messages.clear();
    std::filesystem::remove(files.File("decoded.wav"));
    if (!c.written.empty()) files.Write("decoded.wav", c.written);
    files.Write("ending.sh", c.ending);
    EXPECT_FALSE(codec.FileLoadMp3(document, files.File("broken.mp3"))) << c.ending;
    EXPECT_EQ(ui.Texts(), std::vector<std::string>{"Failed in decoding to intermediate wave file"});
    EXPECT_EQ(ChannelSamples(document, 1), Ramp(100));
    // Nothing of the failed decode stays in the session folder.
    EXPECT_TRUE(std::filesystem::is_empty(session.Path())) << c.ending;
  }
  EXPECT_EQ(ui.messages[0].icon, MessageIcon::Exclamation);
}

TEST_F(Mp3Test, TheEncoderGetsWholeFileNamesAndTheSettings) {
  Project().LamePath = FakeEncoder();
  Project().LameSettings = "  -b 64 --quiet ";
  files.Write("decoded.wav", PcmWave(1, 8000, 16, Ramp(500)));
  // Blanks and double quotes in a name reach the encoder as they are.
  const std::string mp3 = files.File("slide \"one\" final.mp3");
  ASSERT_TRUE(codec.FileLoadMp3(document, mp3));
  std::vector<std::string> arguments = Arguments();
  ASSERT_EQ(arguments.size(), 3u);
  EXPECT_EQ(arguments, (std::vector<std::string>{"--decode", mp3, arguments[2]}));
  // The decoded audio goes to the session folder, into a file the user alone may read.
  EXPECT_EQ(std::filesystem::path(arguments[2]).parent_path(), session.Path());
  EXPECT_EQ(std::filesystem::status(arguments[2]).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  EXPECT_EQ(ChannelSamples(document, 1), Ramp(500));

  codec.FileWriteMp3Part(document, 11, 20, 0, mp3);
  arguments = Arguments();
  ASSERT_EQ(arguments.size(), 5u);
  EXPECT_EQ(arguments, (std::vector<std::string>{"-b", "64", "--quiet", arguments[3], mp3}));
  // The intermediate file held the part and is gone after encoding.
  EXPECT_FALSE(std::filesystem::exists(arguments[3]));
  EXPECT_EQ(files.Read("wave-mode.txt"), "600\n");
  EXPECT_TRUE(ui.messages.empty());
}

TEST_F(Mp3Test, AnEncoderThatHangsIsStoppedAndTheLoadOrSaveFails) {
  // An encoder that never writes a byte, and notes its process number first.
  std::filesystem::create_directories(files.File("hangs"));
  const std::string pidFile = files.File("pid");
  Project().LamePath =
      files.Write("hangs/lame", "#!/bin/sh\necho $$ > '" + pidFile + "'\nexec sleep 60\n");
  std::filesystem::permissions(Project().LamePath, std::filesystem::perms::owner_all);
  OpenSaveClass::SetEncoderStallLimit(std::chrono::seconds(1));
  struct RestoreLimit {
    ~RestoreLimit() { OpenSaveClass::SetEncoderStallLimit(std::chrono::seconds(60)); }
  } restore;
  const std::string stopped = "The MP3 encoder made no progress for 1 second and was stopped\r\n";
  const auto encoderGone = [&] {
    const pid_t pid = std::stoi(testing::ReadFileBytes(pidFile));
    return ::kill(pid, 0) != 0 && errno == ESRCH;
  };

  const std::string source = files.File("slide 1.mp3");
  EXPECT_FALSE(codec.FileLoadMp3(document, source));
  EXPECT_EQ(ui.Texts(), (std::vector<std::string>{stopped + source,
                                                  "Failed in decoding to intermediate wave file"}));
  EXPECT_TRUE(encoderGone());

  ui.messages.clear();
  std::filesystem::remove(pidFile);
  ASSERT_TRUE(
      codec.FileLoadWave(document, files.Write("kept.wav", PcmWave(1, 8000, 16, Ramp(100)))));
  const std::string target = files.File("slide 2.mp3");
  EXPECT_FALSE(codec.FileWriteMp3(document, target, false));
  EXPECT_EQ(ui.Texts(), std::vector<std::string>{stopped + target});
  EXPECT_TRUE(encoderGone());
}

TEST_F(Mp3Test, RealMp3FilesRoundTripThroughLame) {
  Project().LamePath = FindOnPath("lame");
  ASSERT_FALSE(Project().LamePath.empty()) << "lame is installed by scripts/install-deps";
  Project().LameSettings = "--quiet -b 128";
  const auto tone = testing::TestSignal(1, 44100, 44100);
  ASSERT_TRUE(codec.FileLoadWave(document, files.Write("tone.wav", PcmWave(1, 44100, 16, tone))));
  const std::string mp3 = files.File("tone \"take 2\".mp3");
  codec.FileWriteMp3(document, mp3, false);
  ASSERT_TRUE(std::filesystem::exists(mp3));

  FileMemoClass decoded;
  ASSERT_TRUE(codec.FileLoadMp3(decoded, mp3));
  EXPECT_EQ(decoded.WavFmtFreq, 44100);
  EXPECT_NEAR(decoded.WavWaveINos, 44100, 1152);  // at most one frame of padding
  // Away from the ends the decoded tone follows the original closely.
  EXPECT_GT(testing::SignalToNoiseDb(testing::Stretch(tone, 4411, 39690),
                                     testing::Stretch(ChannelSamples(decoded, 1), 4411, 39690)),
            20);
  EXPECT_TRUE(ui.messages.empty());
}

}  // namespace
}  // namespace quorvane
