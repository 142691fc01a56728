#include "storage/JournalOperation.h"

#include <utility>

#include "core/FileHelpers.h"
#include "core/Numbers.h"
#include "storage/EditorState.h"

namespace quorvane {

namespace {
int g_depth = 0;  // operations under way, and pauses
}  // namespace

JournalOperation::JournalOperation(std::string name) : outermost_(g_depth == 0) {
  ++g_depth;
  if (!Recorded()) return;
  const EditorState& editor = Editor();
  words_ = {"op",
            std::move(name),
            std::to_string(editor.SelStart),
            std::to_string(editor.SelEnd),
            std::to_string(editor.CursorPos),
            editor.UndoEnabled ? "1" : "0"};
}

JournalOperation::~JournalOperation() { --g_depth; }

bool JournalOperation::Recorded() const { return outermost_ && Journal().Active(); }

void JournalOperation::Done(const JournalWords& values) {
  if (!Recorded()) return;
  JournalWords words = words_;
  words.insert(words.end(), values.begin(), values.end());
  Journal().Append(words);
  outermost_ = false;  // once
}

KeptFile::KeptFile(const std::string& path) {
  // A file that is not there is the operation's own message to give.
  if (path.empty() || !FileExists(path)) return;
  relative_ = Journal().Keep(path);
  // The operation could not be done again without it.
  if (relative_.empty()) Journal().Fail();
}

KeptFile::~KeptFile() { Journal().Forget(relative_); }

std::string KeptFile::PathOr(const std::string& path) const {
  return relative_.empty() ? path : Journal().KeptPath(relative_);
}

std::string KeptFile::Take() { return std::exchange(relative_, std::string()); }

JournalPause::JournalPause() { ++g_depth; }

JournalPause::~JournalPause() { --g_depth; }

void RestoreJournalState(const JournalWords& words) {
  if (words.size() < kJournalFirstValue) return;
  EditorState& editor = Editor();
  editor.SelStart = RoundHalfEven(LeadingNumber(words[2]));
  editor.SelEnd = RoundHalfEven(LeadingNumber(words[3]));
  editor.CursorPos = RoundHalfEven(LeadingNumber(words[4]));
  editor.UndoEnabled = words[5] == "1";
}

}  // namespace quorvane
