#include "storage/EditorContext.h"

#include "storage/BlockCarrBuffClass.h"

namespace quorvane {

namespace {

// The process's own context is never destroyed: a clip still held at exit keeps its
// blocks to the end of the process instead of freeing them during static destruction,
// which may come after the block table's.
EditorContext& ProcessContext() {
  static EditorContext* const own = new EditorContext;
  return *own;
}

EditorContext* g_installed = nullptr;

}  // namespace

EditorContext::EditorContext() = default;
EditorContext::~EditorContext() = default;

EditorContext& Context() { return g_installed != nullptr ? *g_installed : ProcessContext(); }

void SetEditorContext(EditorContext* context) { g_installed = context; }

EditorState& Editor() { return Context().Editor; }

void ResetEditorState() { Context().Editor = EditorState{}; }

}  // namespace quorvane
