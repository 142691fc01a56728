// Audio on the clipboard: the text and description files a copy leaves, paste between
// documents of other formats, the sample-rate question, the release at the end, and a
// paste in a second process from the first one's files.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include <sstream>
#include "core/Environment.h"

#include "editing/ClipboardExchange.h"
#include "editing/EditCommands.h"
#include "editing/TextClipboard.h"
#include "tests/storage/StorageFixtures.h"

namespace quorvane::testing {
namespace {

class Clipboard : public StorageTest {
 protected:
  ~Clipboard() override { ClipboardRelease(); }

  // Loads a document of these channels, 16 bits unless said otherwise, and copies first..last.
  void CopyFrom(FileMemoClass& source, const std::vector<int16_t>& left,
                const std::vector<int16_t>& right, int32_t first, int32_t last) {
    LoadDocument(source, left, right, 300);
    Editor().SelStart = first;
    Editor().SelEnd = last;
    ASSERT_TRUE(EditCopy(source));
  }
  void PasteAt(FileMemoClass& target, int32_t position) {
    Editor().SelStart = Editor().SelEnd = position;
    EditPaste(target);
  }
};

TEST_F(Clipboard, CopyLeavesSevenFieldsAndADescriptionPerChannel) {
  FileMemoClass source;
  CopyFrom(source, SignalRun(0, 0, 1000), SignalRun(1, 0, 1000), 101, 900);
  std::istringstream fields(SystemClipboard().Text());
  std::vector<std::string> field;
  for (std::string f; std::getline(fields, f, ',');) field.push_back(f);
  ASSERT_EQ(field.size(), 7u);
  EXPECT_EQ((std::vector<std::string>(field.begin(), field.begin() + 5)),
            (std::vector<std::string>{"TarnuvoWaveEditorClip", "2", "800", "16", "44100"}));
  EXPECT_EQ(field[5], "ClipPointer:" + std::to_string(ClipPointer()));
  EXPECT_EQ(field[6], files.Path());
  EXPECT_TRUE(std::filesystem::exists(files.File("InfoLeft.dat")));
  EXPECT_TRUE(std::filesystem::exists(files.File("InfoRight.dat")));
  // Beside the clip, for other programs, the same audio as a WAV file; none for a clip of
  // more than ten minutes (here at one sample a second).
  EXPECT_EQ(SystemClipboard().Audio(),
            PcmWave(2, 44100, 16, Interleave(SignalRun(0, 100, 800), SignalRun(1, 100, 800))));
  source.WavFmtFreq = 1;
  for (const int32_t last : {600, 601}) {
    Editor().SelEnd = last;
    Editor().SelStart = 1;
    ASSERT_TRUE(EditCopy(source));
    EXPECT_EQ(SystemClipboard().Audio().size(), last == 600 ? 44u + 600 * 4 : 0u);
  }
}

TEST_F(Clipboard, PasteFitsTheClipToTheDocumentsChannelsAndBits) {
  struct Case {
    bool stereoClip, stereoTarget;
    int32_t clipBits, targetBits;
    int16_t clipSample, pasted;
  };
  for (const Case& c :
       {Case{true, false, 16, 16, 1234, 1234}, Case{false, true, 16, 16, -77, -77},
        Case{false, false, 8, 16, 100, 25500}, Case{false, true, 16, 8, 384, 2},
        Case{false, false, 16, 8, 640, 2}, Case{false, false, 16, 8, -32768, -128}}) {
    SCOPED_TRACE(::testing::Message() << c.clipSample << " " << c.clipBits << "->" << c.targetBits);
    FileMemoClass source;
    const std::vector<int16_t> clip(10, c.clipSample);
    LoadDocument(source, clip, c.stereoClip ? SignalRun(1, 0, 10) : std::vector<int16_t>{}, 4);
    source.WavFmtBits = c.clipBits;
    EditSelectAll(source);
    ASSERT_TRUE(EditCopy(source));
    FileMemoClass target;
    LoadDocument(target, Zeros(20), c.stereoTarget ? Zeros(20) : std::vector<int16_t>{}, 7);
    target.WavFmtBits = c.targetBits;
    PasteAt(target, 11);
    const std::vector<int16_t> pasted(10, c.pasted);
    EXPECT_EQ(QuickSamples(target, 1), Joined({Zeros(10), pasted, Zeros(10)}));
    if (c.stereoTarget) {
      EXPECT_EQ(QuickSamples(target, 2),
                Joined({Zeros(10), c.stereoClip ? SignalRun(1, 0, 10) : pasted, Zeros(10)}));
    }
  }
}

TEST_F(Clipboard, AnotherSampleRateIsPastedOnlyWhenThePersonAgrees) {
  FileMemoClass source;
  CopyFrom(source, SignalRun(0, 0, 100), {}, 1, 50);
  FileMemoClass target;
  LoadDocument(target, Zeros(20), {}, 7);
  target.WavFmtFreq = 22050;
  ui.Answer(MessageAnswer::No);
  PasteAt(target, 5);
  EXPECT_EQ(target.WavWaveINos, 20);
  ASSERT_EQ(ui.Texts(),
            (std::vector<std::string>{
                "The sampling rate of the audio found in clipboard is different\r\n44100 Hz\r\n"
                "This will be pasted with different pitch and duration\r\nIt is recommended to "
                "make the formats same before copying\r\nDo you wish to proceed any way?",
                "No Waveform found (or invalid data) in Clipboard"}));
  EXPECT_EQ(ui.messages[0].buttons, MessageButtons::YesNo);
  EXPECT_EQ(ui.messages[1].caption, "Get Wave Form from Clipboard Failed");
  ui.Answer(MessageAnswer::Yes);
  PasteAt(target, 5);
  EXPECT_EQ(target.WavWaveINos, 70);
}

TEST_F(Clipboard, ReleaseClearsOnlyThisEditorsClipAndPasteThenFails) {
  FileMemoClass source;
  CopyFrom(source, SignalRun(0, 0, 100), {}, 1, 50);
  SystemClipboard().SetText("someone else's text");
  ClipboardRelease();
  EXPECT_EQ(SystemClipboard().Text(), "someone else's text");
  ASSERT_TRUE(EditCopy(source));
  ClipboardRelease();
  EXPECT_EQ(SystemClipboard().Text(), "");
  EXPECT_EQ(ClipPointer(), 0);
  PasteAt(source, 1);
  EXPECT_EQ(ui.Texts().back(), "No Waveform found (or invalid data) in Clipboard");
  EXPECT_EQ(source.WavWaveINos, 100);
}

// The desktop clipboard of two editors, as a file both processes read and write.
class FileClipboard : public TextClipboard {
 public:
  explicit FileClipboard(std::string path) : path_(std::move(path)) {}
  std::string Text() const override { return ReadFileBytes(path_); }
  void SetText(const std::string& text) override { std::ofstream(path_) << text; }
  void Clear() override { std::ofstream(path_, std::ios::trunc); }
  void SetTextAndAudio(const std::string& text, std::function<std::string()>) override {
    SetText(text);
  }
  std::string Audio() const override { return ""; }

 private:
  std::string path_;
};

TEST_F(Clipboard, ASecondProcessPastesFromTheFirstOnesFilesAndKeepsTheAudio) {
  FileClipboard shared(files.File("clipboard.txt"));
  SetSystemClipboard(&shared);
  int ready[2], done[2];
  ASSERT_EQ(pipe(ready), 0);
  ASSERT_EQ(pipe(done), 0);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    // The first editor: a document of its own, copied to the clipboard and held in its
    // temporary files until the second one has pasted.
    FileMemoClass first;
    Env().MemoryBudget = 1;
    LoadDocument(first, SignalRun(5, 0, 4000), SignalRun(6, 0, 4000), 700);
    Editor().SelStart = 1001;
    Editor().SelEnd = 3000;
    const bool copied = EditCopy(first);
    char byte = copied ? 'y' : 'n';
    (void)!write(ready[1], &byte, 1);
    (void)!read(done[0], &byte, 1);
    ClipboardRelease();
    ReleaseAllFiles();
    _exit(0);
  }
  char byte = 0;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  ASSERT_EQ(byte, 'y');
  FileMemoClass second;
  LoadDocument(second, Zeros(10), Zeros(10), 7);
  PasteAt(second, 6);
  byte = 'x';
  ASSERT_EQ(write(done[1], &byte, 1), 1);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  SetSystemClipboard(nullptr);
  // The first editor has ended and deleted its files; the pasted audio stays.
  EXPECT_EQ(QuickSamples(second, 1), Joined({Zeros(5), SignalRun(5, 1000, 2000), Zeros(5)}));
  EXPECT_EQ(QuickSamples(second, 2), Joined({Zeros(5), SignalRun(6, 1000, 2000), Zeros(5)}));
  EXPECT_EQ(ui.messages.size(), 0u);
}

}  // namespace
}  // namespace quorvane::testing
