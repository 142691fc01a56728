// One user operation as the journal records it: its name, the selection, cursor and undo
// setting it started from, and the values it was given. Operations made of others (an
// insert that adds cue markers, a boundary move that deletes markers) are recorded once,
// as the outermost one; nothing is recorded while the journal is being done again.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/EditJournal.h"

namespace quorvane {

class JournalOperation {
 public:
  explicit JournalOperation(std::string name);
  ~JournalOperation();
  JournalOperation(const JournalOperation&) = delete;
  JournalOperation& operator=(const JournalOperation&) = delete;

  // Whether this operation will be recorded: the journal is open and it is the outermost.
  bool Recorded() const;
  // The operation is complete: records it with `values` and forces it onto the disk.
  void Done(const JournalWords& values = {});

 private:
  JournalWords words_;
  bool outermost_ = false;
};

// While one lives, operations are not recorded (the journal's operations are being done
// again).
class JournalPause {
 public:
  JournalPause();
  ~JournalPause();
  JournalPause(const JournalPause&) = delete;
  JournalPause& operator=(const JournalPause&) = delete;
};

// A file kept for the journal while an operation reads it (an inserted file, a take): it
// goes again unless the operation takes it for its record. Nothing is kept for an empty
// path.
class KeptFile {
 public:
  explicit KeptFile(const std::string& path);
  ~KeptFile();
  KeptFile(const KeptFile&) = delete;
  KeptFile& operator=(const KeptFile&) = delete;
  // Where to read the file: the kept copy, or `path` when nothing was kept.
  std::string PathOr(const std::string& path) const;
  // The kept file's name relative to the session folder, now the record's.
  std::string Take();

 private:
  std::string relative_;
};

// The words of a recorded operation: "op", its name, then these four, then its values.
inline constexpr size_t kJournalStateWords = 4;
inline constexpr size_t kJournalFirstValue = 2 + kJournalStateWords;

// Sets the selection, cursor and undo setting a recorded operation started from.
void RestoreJournalState(const JournalWords& words);

}  // namespace quorvane
