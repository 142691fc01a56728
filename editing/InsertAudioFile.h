// Inserting an audio file (wav or mp3) into the document at a position chosen in the
// insert-position dialog: the file import, the file toolbar's "Open" button and a
// finished recording all come here.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "editing/InsertPosFrm.h"

namespace quorvane {

class FileMemoClass;

// What the open-file dialog is asked to show.
struct OpenFileRequest {
  std::string title;
  std::string filter;  // "Description|patterns|Description|patterns..."
  std::string defaultExtension;
  std::string initialFolder;
  std::string fileName;
};

// The two dialogs of the file insert, which the window implements.
class InsertFilePrompts {
 public:
  virtual ~InsertFilePrompts() = default;
  // The chosen file's full path; empty when the person cancels.
  virtual std::string SelectFile(const OpenFileRequest& request) = 0;
  // Shows the dialog modally; it leaves the choice in InsertPosOpn and sets OkClicked.
  virtual void ShowInsertPosFrm(InsertPosFrm& form) = 0;
};

// The file insert's dialogs answered without asking: the file given, inserted at the
// cursor.
class GivenFile : public InsertFilePrompts {
 public:
  explicit GivenFile(std::string path) : path_(std::move(path)) {}
  std::string SelectFile(const OpenFileRequest&) override { return path_; }
  void ShowInsertPosFrm(InsertPosFrm& form) override {
    form.InsertPosOpn = kInsertAtCursor;
    form.OkClicked = form.CursorOptionEnabled;
  }

 private:
  std::string path_;
};

// An empty FileName first asks for a file. The audio goes in at the cursor, or at the
// start or before the last sample of slide `CurrentSlide`, as chosen, as one undo item
// named `UndoName`. True when audio was inserted.
bool InsertAudioFile(FileMemoClass& document, const std::string& FileName, int32_t CurrentSlide,
                     InsertFilePrompts& prompts, const std::string& UndoName = "Insert File");

// The folder and name of the file last chosen in the open-file dialog.
const std::string& LastInsertFolder();

}  // namespace quorvane
