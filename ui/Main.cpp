#include "ui/Main.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QStringList>
#include <algorithm>
#include <cctype>

#include "app/SessionLifetime.h"
#include "core/ErrorReport.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "core/Trace.h"
#include "editing/ClipboardExchange.h"
#include "editing/Recovery.h"
#include "editing/TextClipboard.h"
#include "storage/FileMemoClass.h"
#include "ui/PlayerLink.h"
#include "ui/ProgressShowerClass.h"
#include "ui/ViewState.h"
#include "ui/WaveEditor_Frm.h"

namespace quorvane {

namespace {

std::string ProcessCommandLine() {
  QStringList arguments = QCoreApplication::arguments();
  if (!arguments.isEmpty()) arguments.removeFirst();
  return arguments.join(' ').toStdString();
}

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

}  // namespace

std::unique_ptr<EditorSession> EditorSession::Open(const std::string& commandLine,
                                                   Interaction* interaction) {
  std::unique_ptr<EditorSession> session(new EditorSession);
  session->interaction_ = interaction != nullptr ? interaction : &session->qtInteraction_;
  SetUserInterface(session->interaction_);
  ResetViewState();
  View().ViewAll = true;
  InitScaleSteps();

  SetSystemClipboard(&session->clipboard_);
  EditorSession& s = *session;
  s.document_ = PrepareSession(commandLine, nullptr, [&s](FileMemoClass& created) {
    CreatePlayer(LoopOn());
    s.window_ = std::make_unique<WaveEditor_Frm>();
    s.window_->AttachDocument(&created);
    s.qtInteraction_.SetOwner(s.window_.get());
    s.qtInteraction_.SetProgress(&s.window_->ProgressShower());
  });
  if (!s.document_) return nullptr;
  try {
    RecoverUnsavedEdits(*s.document_, RecoveryChoice::Ask);
    s.window_->Refresh_Wave_View();
    s.window_->UpdateSlideCombo();
    {
      BusyPointer busy;
      SoundDriverSwitch(true, *s.window_);
    }
    s.window_->SetSessionEnd(
        [&s](const std::string& lastWaveDir) { EndSession(s.document_, lastWaveDir); });
  } catch (const std::exception& error) {
    TraceError(error, "QuorvaneModOld", "Main");
  }
  return session;
}

EditorSession::~EditorSession() {
  qtInteraction_.SetProgress(nullptr);
  qtInteraction_.SetOwner(nullptr);
  // A session left without closing its window still drops its player before the window
  // the player reports to.
  SetPlayToolbar({});
  SetPlayDocument(nullptr);
  ReleasePlayer();
  window_.reset();
  if (document_) {
    ClipboardRelease();
    EndSession(document_);
  }
  if (&UserInterface() == interaction_) SetUserInterface(nullptr);
  if (&SystemClipboard() == &clipboard_) SetSystemClipboard(nullptr);
}

void EditorSession::ShowModal() {
  QEventLoop modal;
  QObject::connect(window_.get(), &WaveEditor_Frm::Unloaded, &modal, &QEventLoop::quit);
  window_->show();
  modal.exec();
}

MainOutcome Main(const std::string& CommandLine) {
  const std::string working = Trim(CommandLine.empty() ? ProcessCommandLine() : CommandLine);
  if (Lower(working) == "-embedding") {
    Trace("Main: Command line is " + CommandLine);
    return MainOutcome::Embedding;
  }
  std::unique_ptr<EditorSession> session = EditorSession::Open(working);
  if (!session) {
    SetUserInterface(nullptr);
    return MainOutcome::ProjectNotLoaded;
  }
  try {
    session->ShowModal();
  } catch (const std::exception& error) {
    TraceError(error, "QuorvaneModOld", "Main");
  }
  return MainOutcome::SessionEnded;
}

}  // namespace quorvane
