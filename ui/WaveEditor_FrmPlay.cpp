// The play toolbar: which stretch each button plays, and the commands it hands to the
// playback routine.
#include <QAction>
#include <QToolBar>

#include "core/ProjectTables.h"
#include "storage/EditorState.h"
#include "ui/PlayerLink.h"
#include "ui/ViewState.h"
#include "ui/WaveEditor_Frm.h"

namespace quorvane {

void WaveEditor_Frm::PlayToolbar_ButtonClick(const QString& key) {
  const EditorState& editor = Editor();
  const int32_t length = Length();
  int32_t from = 0;
  int32_t to = 0;
  if (key == "PlayNew") {
    if (editor.SelStart != editor.SelEnd) {
      from = editor.SelStart;
      to = editor.SelEnd;
    } else {
      from = editor.CursorPos >= 1 && editor.CursorPos <= length ? editor.CursorPos : 1;
      to = length;
    }
  } else if (key == "PlaySlid") {
    const int32_t slide = View().CurrentSlide;
    if (slide < 1 || slide >= Project().SlideEntryCount) return;
    from = Project().Slides[static_cast<size_t>(slide)].Start;
    to = SlideEndPosition(slide, length) - 1;
  } else if (key == "Pause") {
    PlayControl(3);
    return;
  } else if (key == "Stop") {
    PlayControl(2);
    Button("Stop")->setEnabled(false);
    fileToolbar_->setEnabled(true);
    return;
  } else {
    return;
  }
  if (to > length || from < 1 || from >= to) return;
  PlayControl(11, from, to);
}

}  // namespace quorvane
