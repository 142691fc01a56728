#include "storage/EditorState.h"

namespace quorvane {

namespace {
EditorState g_editor;
}

EditorState& Editor() { return g_editor; }

void ResetEditorState() { g_editor = EditorState{}; }

}  // namespace quorvane
