// Recovery at the start of a session: the journal that an earlier session of the same
// project left when it ended without saving is done again, or discarded.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

class FileMemoClass;

enum class RecoveryChoice {
  Ask,         // the editor: the person chooses
  Recover,     // the batch tool's "recover"
  Discard,     // the batch tool's "discard"
  LeaveAlone,  // the batch tool without either: the journal stays for a later start
};

inline constexpr const char* kRecoveryQuestion =
    "The previous editing session of this project ended without saving. Recover its unsaved "
    "edits?";

// The number of operations done again; 0 when there was nothing to recover, or recovery
// was declined or stopped before the first operation. A source file that changed since the
// journal began stops recovery before the operation that needs it, with a message naming
// it. The recovered edits go on in this session's journal.
int32_t RecoverUnsavedEdits(FileMemoClass& document, RecoveryChoice choice);

}  // namespace quorvane
