// Everything one editor keeps between calls: the values the document reads and writes,
// the window's view of the timeline, the window the document reports to, the range and
// document that playback plays, and this editor's clip. A session owns one and installs
// it for its lifetime; outside a session (and in tests) the process's own stands in.
#pragma once

#include <cstdint>
#include <memory>

#include "storage/EditorState.h"

namespace quorvane {

class BlockCarrBuffClass;
class DocumentWindow;
class FileMemoClass;

struct EditorContext {
  EditorContext();
  ~EditorContext();
  EditorContext(const EditorContext&) = delete;
  EditorContext& operator=(const EditorContext&) = delete;

  EditorState Editor;
  ViewState View;
  DocumentWindow* Window = nullptr;  // nullptr: the document reports to nobody
  // What the play command plays: the document, and PlayFrom..PlayTo of it (the whole
  // document when they are equal).
  FileMemoClass* PlayDocument = nullptr;
  int32_t PlayFrom = 0;
  int32_t PlayTo = 0;
  // The identifier of this editor's clip on the clipboard (0: none) and the buffers that
  // hold its blocks, from a copy until the clipboard is released.
  int32_t ClipPointer = 0;
  std::unique_ptr<BlockCarrBuffClass> ClipLeft;
  std::unique_ptr<BlockCarrBuffClass> ClipRight;
};

// The installed context, or the process's own.
EditorContext& Context();
// Installs `context` (nullptr: back to the process's own). The caller keeps it alive
// until it installs another.
void SetEditorContext(EditorContext* context);

// A context of its own, installed for as long as this lives: a session holds one.
class SessionContext {
 public:
  SessionContext() { SetEditorContext(&context_); }
  ~SessionContext() {
    if (&Context() == &context_) SetEditorContext(nullptr);
  }
  SessionContext(const SessionContext&) = delete;
  SessionContext& operator=(const SessionContext&) = delete;

 private:
  EditorContext context_;
};

}  // namespace quorvane
