// Doing the operations of a journal again, each through the same function that did it
// the first time, from the selection, cursor and undo setting it started from.
#pragma once

#include "core/EditJournal.h"

namespace quorvane {

class FileMemoClass;

// Does the operation `words` records again. Files it names are read from the session
// folder of the journal in use. False when the words name no operation, or a file it needs
// is missing.
bool ReplayOperation(FileMemoClass& document, const JournalWords& words);

}  // namespace quorvane
