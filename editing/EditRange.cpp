#include "editing/EditRange.h"

#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

int32_t SelectionKind() {
  const EditorState& editor = Editor();
  if (editor.SelStart == 0) return 0;
  return editor.SelStart == editor.SelEnd ? 1 : 2;
}

bool GetEditRange(const FileMemoClass& document, int32_t& First, int32_t& Last, int32_t& Channels,
                  int32_t Wanted, const std::string& /*Operation*/) {
  Channels = document.WavFmtChannel == 2 ? 0 : 1;
  const int32_t kind = SelectionKind();
  if (kind == 0) return false;
  if (Wanted != kWantAny && Wanted != kind && Wanted != kWantPositionOrRange) return false;
  First = Editor().SelStart;
  Last = Editor().SelEnd;
  return true;
}

}  // namespace quorvane
