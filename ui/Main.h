// One editing session of the editor, from its command line to the window's closing.
#pragma once

#include <memory>
#include <string>

#include "storage/EditorContext.h"
#include "ui/DesktopClipboard.h"
#include "ui/QtInteraction.h"

namespace quorvane {

class FileMemoClass;
class WaveEditor_Frm;

// The window, the document and the interaction of one session, prepared in the start-up's
// order up to the window's first drawing and the sound output.
class EditorSession {
 public:
  // Nothing when the project could not be loaded (its message has been shown). The
  // session talks through `interaction` when given, else through Qt's boxes.
  static std::unique_ptr<EditorSession> Open(const std::string& commandLine,
                                             Interaction* interaction = nullptr);
  ~EditorSession();
  EditorSession(const EditorSession&) = delete;
  EditorSession& operator=(const EditorSession&) = delete;

  WaveEditor_Frm& Window() { return *window_; }
  // Null once the window has ended the session.
  FileMemoClass* Document() { return document_.get(); }
  // Shows the window and returns when it has closed.
  void ShowModal();

 private:
  EditorSession() = default;

  SessionContext context_;  // first in, last out: everything below works in it
  QtInteraction qtInteraction_;
  DesktopClipboard clipboard_;
  Interaction* interaction_ = nullptr;
  std::unique_ptr<WaveEditor_Frm> window_;
  std::unique_ptr<FileMemoClass> document_;
};

enum class MainOutcome {
  SessionEnded,      // the window was shown and has closed
  Embedding,         // "-embedding": started to serve the host, no session yet
  ProjectNotLoaded,  // the project could not be loaded; its message has been shown
};

// Prepares everything in its order, shows the editor window and returns when it has
// closed. `CommandLine` is what a host handed over; when empty, the process's own
// arguments are used.
MainOutcome Main(const std::string& CommandLine);

}  // namespace quorvane
