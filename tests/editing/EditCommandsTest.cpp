// The edit commands over a document: what each does with each kind of selection, to the
// samples, slides and markers, with its undo name, and what undo brings back.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "core/Environment.h"
#include "core/ProjectTables.h"
#include "editing/ClipboardExchange.h"
#include "editing/EditCommands.h"
#include "editing/InsertAudioFile.h"
#include "tests/storage/StorageFixtures.h"

namespace quorvane::testing {
namespace {

class EditCommands : public StorageTest {
 protected:
  EditCommands() {
    LoadDocument(document, SignalRun(0, 0, 3000), SignalRun(1, 0, 3000), 700);
    SetSlideStarts({1, 1001, 2001, 3001});
    SetMarkers({500, 1500, 2500});
  }
  ~EditCommands() override { ClipboardRelease(); }

  void Select(int32_t start, int32_t end) {
    Editor().SelStart = start;
    Editor().SelEnd = end;
  }
  void ExpectDocument(const std::vector<int16_t>& left, const std::vector<int16_t>& right) {
    EXPECT_EQ(QuickSamples(document, 1), left);
    EXPECT_EQ(QuickSamples(document, 2), right);
  }
  void ExpectUntouched() {
    ExpectDocument(SignalRun(0, 0, 3000), SignalRun(1, 0, 3000));
    EXPECT_EQ(SlideStarts(), (std::vector<int32_t>{1, 1001, 2001, 3001}));
    EXPECT_EQ(MarkerPositions(), (std::vector<int32_t>{500, 1500, 2500}));
  }

  FileMemoClass document;
};

TEST_F(EditCommands, CutThenPasteMovesAStretchWithItsUndoNames) {
  Select(901, 1100);
  EditCut(document);
  ExpectDocument(Joined({SignalRun(0, 0, 900), SignalRun(0, 1100, 1900)}),
                 Joined({SignalRun(1, 0, 900), SignalRun(1, 1100, 1900)}));
  EXPECT_EQ(SlideStarts(), (std::vector<int32_t>{1, 901, 1801, 2801}));
  EXPECT_EQ(MarkerPositions(), (std::vector<int32_t>{500, 1300, 2300}));
  EXPECT_EQ(menu.menuCaption, "Undo [Cut]");
  EXPECT_EQ(Editor().SelStart, 901);
  EXPECT_EQ(Editor().SelEnd, 1100);

  // The editor pastes its own clip from its clip buffers, not from the description files.
  std::filesystem::remove(files.File("InfoLeft.dat"));
  std::filesystem::remove(files.File("InfoRight.dat"));
  Select(2001, 2001);
  EditPaste(document);
  ExpectDocument(Joined({SignalRun(0, 0, 900), SignalRun(0, 1100, 1100), SignalRun(0, 900, 200),
                         SignalRun(0, 2200, 800)}),
                 Joined({SignalRun(1, 0, 900), SignalRun(1, 1100, 1100), SignalRun(1, 900, 200),
                         SignalRun(1, 2200, 800)}));
  EXPECT_EQ(MarkerPositions(), (std::vector<int32_t>{500, 1300, 2500}));
  EXPECT_EQ(menu.menuCaption, "Undo [Paste]");
  EXPECT_FALSE(ui.progress.shown);

  EditUndo(document);
  EditUndo(document);
  ExpectUntouched();
  EXPECT_EQ(Editor().CursorPos, 0);
  EditSelectAll(document);
  EXPECT_EQ(Editor().SelStart, 1);
  EXPECT_EQ(Editor().SelEnd, 3000);
}

TEST_F(EditCommands, EachCommandNeedsItsKindOfSelection) {
  struct Case {
    int32_t start, end;
    void (*command)(FileMemoClass&);
  };
  // Copy first so that paste has a clip to insert.
  Select(1, 10);
  ASSERT_TRUE(EditCopy(document));
  int row = 0;
  for (const Case& c : {Case{0, 0, EditDelete}, Case{5, 5, EditDelete}, Case{5, 5, EditCut},
                        Case{0, 0, EditPaste}, Case{5, 6, EditPaste}}) {
    SCOPED_TRACE(::testing::Message() << "row " << row++ << ", " << c.start << ".." << c.end);
    Select(c.start, c.end);
    c.command(document);
    ExpectUntouched();
  }
  Select(5, 5);
  EXPECT_FALSE(EditCopy(document));
  EXPECT_EQ(ui.messages.size(), 0u);
}

TEST_F(EditCommands, ACopyThatCannotWriteItsDescriptionSaysSoAndCutDeletesNothing) {
  Env().SettingsFile = files.File("missing-folder/quorvane-audio.ini");
  Select(901, 1100);
  EXPECT_FALSE(EditCopy(document));
  EditCut(document);
  ExpectUntouched();
  ASSERT_EQ(ui.messages.size(), 3u);
  EXPECT_EQ(ui.messages[0].caption, "Error Copying");
  EXPECT_EQ(ui.messages[1].text, "Copying operation failed");
  EXPECT_EQ(ui.messages[1].icon, MessageIcon::Critical);
  EXPECT_EQ(ui.messages[2].caption, "Error Copying");
  EXPECT_EQ(ui.busyDepth, 0);
}

// The file insert's dialogs, answered by the test.
class ScriptedPrompts : public InsertFilePrompts {
 public:
  std::string SelectFile(const OpenFileRequest& request) override {
    title = request.title;
    return file;
  }
  void ShowInsertPosFrm(InsertPosFrm& form) override {
    cursorEnabled = form.CursorOptionEnabled;
    shownOption = form.InsertPosOpn;
    if (option) form.InsertPosOpn = *option;
    form.OkClicked = true;
  }
  std::string file, title;
  std::optional<int32_t> option;
  bool cursorEnabled = false;
  int32_t shownOption = -1;
};

TEST_F(EditCommands, InsertAudioFileAtEachPositionOfTheDialog) {
  Project().BaseFrequency = 44100;
  Project().BaseBits = 16;
  const std::string wave = files.File("clip.wav");
  std::ofstream(wave, std::ios::binary) << PcmWave(1, 44100, 16, Ramp(50, 1, 1));
  ScriptedPrompts prompts;
  prompts.file = wave;
  struct Case {
    int32_t cursor, slide, option, at;
  };
  // The end of slide 2 is before its last sample; a cursor outside the document turns
  // "Cursor Position" off and the choice to the slide's end, which for the last slide the
  // track insert takes as the document's end.
  for (const Case& c :
       {Case{300, 1, 0, 300}, Case{300, 2, 1, 1001}, Case{300, 2, 2, 2000}, Case{0, 3, 0, 3001}}) {
    SCOPED_TRACE(::testing::Message() << "slide " << c.slide << ", option " << c.option);
    Editor().CursorPos = c.cursor;
    prompts.option = c.cursor == 0 ? std::nullopt : std::optional<int32_t>(c.option);
    ASSERT_TRUE(InsertAudioFile(document, "", c.slide, prompts));
    EXPECT_EQ(prompts.cursorEnabled, c.cursor != 0);
    EXPECT_EQ(QuickSamples(document, 2), Joined({SignalRun(1, 0, c.at - 1), Ramp(50, 1, 1),
                                                 SignalRun(1, c.at - 1, 3001 - c.at)}));
    // The end entry follows every insert, so audio put after the last sample is the last
    // slide's; one undo item takes the insert back.
    EXPECT_EQ(SlideStarts().back(), 3051);
    EXPECT_EQ(menu.menuCaption, "Undo [Insert File]");
    EditUndo(document);
    ExpectUntouched();
  }
  // The dialog kept the last choice.
  EXPECT_EQ(prompts.shownOption, 2);
  EXPECT_EQ(prompts.title, "Select a Wave file to Insert");
  EXPECT_EQ(ui.messages.size(), 0u);
}

// A stereo recording inserted into a mono document makes it stereo; one undo, named after
// the insert, brings back the mono document exactly.
TEST_F(EditCommands, AStereoFileInsertedIntoAMonoDocumentIsOneUndoItem) {
  Project().BaseFrequency = 44100;
  Project().BaseBits = 16;
  FileMemoClass mono;
  LoadDocument(mono, SignalRun(0, 0, 3000), {}, 700);
  const std::string wave = files.File("stereo.wav");
  std::ofstream(wave, std::ios::binary) << PcmWave(2, 44100, 16, Ramp(100, 1, 1));
  ScriptedPrompts prompts;
  prompts.option = 0;
  Editor().CursorPos = 1001;
  ASSERT_TRUE(InsertAudioFile(mono, wave, 1, prompts, "Insert Recording"));
  EXPECT_EQ(mono.WavFmtChannel, 2);
  EXPECT_EQ(mono.WavWaveINos, 3050);
  EXPECT_EQ(menu.menuCaption, "Undo [Insert Recording]");
  EditUndo(mono);
  EXPECT_EQ(mono.WavFmtChannel, 1);
  EXPECT_EQ(mono.WavWaveINos, 3000);
  EXPECT_EQ(mono.RightChannel().Blocks().size(), 0u);
  EXPECT_EQ(QuickSamples(mono, 1), SignalRun(0, 0, 3000));
  EXPECT_EQ(menu.menuCaption, "Undo [Nothing]");
}

TEST_F(EditCommands, InsertAudioFileRefusesMissingFilesAndOtherTypes) {
  ScriptedPrompts prompts;
  const std::string text = files.Write("notes.txt", "hello");
  for (const auto& [file, message] : std::vector<std::pair<std::string, std::string>>{
           {files.File("gone.wav"), "File not found\r\n" + files.File("gone.wav")},
           {text,
            "Can not open this file type\r\n\r\nAudio files ending in .wav (plain or "
            "compressed WAV) or .mp3\r\ncan be inserted."}}) {
    prompts.file = file;
    EXPECT_FALSE(InsertAudioFile(document, "", 1, prompts));
    EXPECT_EQ(ui.Texts().back(), message);
  }
  // A recording that is gone is passed by name: nothing is said.
  EXPECT_FALSE(InsertAudioFile(document, files.File("gone.wav"), 1, prompts));
  EXPECT_EQ(ui.messages.size(), 2u);
  ExpectUntouched();
}

}  // namespace
}  // namespace quorvane::testing
