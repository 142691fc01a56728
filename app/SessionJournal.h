// What ties a session's journal to its project: the header that names the project file and
// the identity of every track the edits start from, the journals that sessions of this
// project left behind when they ended without saving, and the saves they left half done.
#pragma once

#include <string>
#include <vector>

#include "core/EditJournal.h"

namespace quorvane {

class StagedFiles;

// The journal's first lines for the project as loaded or saved now.
std::vector<JournalWords> SessionJournalHeader();

// The session folders in the temporary folder whose journal belongs to `project` and whose
// process is gone, the newest first.
std::vector<std::string> DeadSessionsOf(const std::string& project);

// The project file and track, among those the header names, that is not as it was when the
// journal began; "" when all are.
std::string ChangedSource(const std::vector<JournalWords>& journal);

// The line a save writes to the journal before it puts its first file in place.
JournalWords SavePlan(const StagedFiles& staged);

// Puts in place what the save plans of dead sessions of `project` had not put in place yet,
// so that tracks and project file agree, and removes those sessions' folders. Done before
// the project file is read. A file changed by someone else since the save stops it, with a
// message naming the file.
void FinishInterruptedSaves(const std::string& project);

}  // namespace quorvane
