// The journal of a session's unsaved edits: a file in the session folder that gets one
// line per completed operation, forced onto the disk before the operation counts as done,
// so that a later start can do the operations again after a crash. It begins with what the
// edits start from (the project file and the identity of every track) and is made anew by
// each save. Files the operations read (inserted files, recorded takes, audio pasted from
// another program) are kept beside it, in "kept", for as long as the session lives.
//
// A line is words separated by spaces, each word with '%', spaces and control characters
// written as "%XX", and ends with '#' and a checksum of the rest: a line cut short by a
// crash, or garbage after a power cut, reads as the end of the journal.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/FileHandle.h"

namespace quorvane {

using JournalWords = std::vector<std::string>;

inline constexpr const char* kKeptFolderName = "kept";

// What tells a file changed: its size, modification time and inode.
struct FileIdentity {
  uint64_t size = 0;
  int64_t modifiedNs = 0;
  uint64_t inode = 0;
  bool operator==(const FileIdentity&) const = default;
};

std::optional<FileIdentity> IdentityOf(const std::string& path);
// The identity as three words, and back.
JournalWords IdentityWords(const FileIdentity& identity);
std::optional<FileIdentity> IdentityFromWords(const JournalWords& words, size_t first);

// A number as a word that reads back as the same double.
std::string JournalNumber(double value);

std::string EncodeJournalLine(const JournalWords& words);
// Nothing when the line is not one whole journal line.
std::optional<JournalWords> DecodeJournalLine(const std::string& line);

// The lines of a journal file up to the first one that is not whole.
std::vector<JournalWords> ReadJournal(const std::string& path);

class EditJournal {
 public:
  // Starts the journal of the session folder `folder` from `header` (its first lines). The
  // file is made with the first operation: a session without edits leaves none.
  void Begin(const std::string& folder, std::vector<JournalWords> header);
  // Takes over `lines`, a journal read from a session that ended without saving, as this
  // session's journal, written whole before it returns. False when it could not be.
  bool Adopt(const std::vector<JournalWords>& lines);
  // From here on nothing is recorded (the session is ending); the file stays.
  void End();
  bool Active() const { return !folder_.empty() && !failed_; }
  const std::string& Folder() const { return folder_; }
  std::string FilePath() const;

  // Appends `words` and forces the file onto the disk. False when it could not be written:
  // the journal then stops, and its file goes, since it no longer describes the edits.
  bool Append(const JournalWords& words);
  // Starts again from `header` after a save: the file goes, the kept files stay.
  void Restart(std::vector<JournalWords> header);
  // Appends the lines of a save about to put its files in place, forced onto the disk.
  bool AppendSavePlan(const std::vector<JournalWords>& lines);
  // The save put back what it had put in place: its plan is not to be finished.
  void AbandonSavePlan();
  // Whether a save's plan is written and the save not over: a session ended now leaves
  // its staged files for the next start to put in place. Read from any thread.
  bool SavePlanPending() const { return planPending_; }
  // The journal cannot describe the edits any more: it stops, its file goes, and the
  // person is told once.
  void Fail();
  // The number of operations recorded since the journal began.
  int32_t OperationCount() const { return operations_; }

  // A file of its own in "kept" for the file `path`: a second name for a file of the
  // session folder, a copy of any other. The kept file's path relative to the session
  // folder; "" when it could not be made.
  std::string Keep(const std::string& path);
  // Makes a kept file with `content`; the relative path, or "".
  std::string KeepBytes(const std::string& content, const std::string& extension);
  std::string KeptPath(const std::string& relative) const;
  void Forget(const std::string& relative);

  // The clip a journaled copy or cut put on the clipboard: pasting it is done again from
  // the journal's own copy, any other clip from its samples.
  void NoteClip(int32_t clip) { clip_ = clip; }
  int32_t Clip() const { return clip_; }

 private:
  // A journal of no operations yet, whose file is made with the first.
  void StartFrom(std::vector<JournalWords> header);
  bool WriteLines(const std::vector<JournalWords>& lines, bool create);
  std::string NewKeptName(const std::string& extension, int& descriptor) const;

  std::string folder_;
  FileHandle file_;  // open for appending once the file is made
  std::vector<JournalWords> header_;
  // Copies made before the first edit: a session that only copies leaves no journal.
  std::vector<JournalWords> waiting_;
  bool fileMade_ = false;
  bool failed_ = false;
  std::atomic<bool> planPending_ = false;
  int32_t operations_ = 0;
  int32_t clip_ = 0;
};

// The session's journal.
EditJournal& Journal();

}  // namespace quorvane
