#include "ui/Main.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QStringList>
#include <algorithm>
#include <cctype>
#include <memory>

#include "app/SessionLifetime.h"
#include "core/ErrorReport.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "core/Trace.h"
#include "storage/FileMemoClass.h"
#include "ui/PlayerLink.h"
#include "ui/ProgressShowerClass.h"
#include "ui/QtInteraction.h"
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

// Installs the window's interaction for the session and the default one afterwards.
class InstalledInteraction {
 public:
  explicit InstalledInteraction(Interaction& interaction) { SetUserInterface(&interaction); }
  ~InstalledInteraction() { SetUserInterface(nullptr); }
  InstalledInteraction(const InstalledInteraction&) = delete;
  InstalledInteraction& operator=(const InstalledInteraction&) = delete;
};

}  // namespace

MainOutcome Main(const std::string& CommandLine) {
  const std::string working =
      Trim(CommandLine.empty() ? ProcessCommandLine() : CommandLine);
  if (Lower(working) == "-embedding") {
    Trace("Main: Command line is " + CommandLine);
    return MainOutcome::Embedding;
  }
  ResetViewState();
  View().ViewAll = true;
  InitScaleSteps();

  QtInteraction interaction;
  InstalledInteraction installed(interaction);
  std::unique_ptr<WaveEditor_Frm> window;
  std::unique_ptr<FileMemoClass> document =
      PrepareSession(working, nullptr, [&](FileMemoClass& created) {
        window = std::make_unique<WaveEditor_Frm>();
        window->AttachDocument(&created);
        interaction.SetOwner(window.get());
        interaction.SetProgress(&window->ProgressShower());
      });
  if (!document) return MainOutcome::ProjectNotLoaded;

  try {
    window->Refresh_Wave_View();
    window->UpdateSlideCombo();
    {
      BusyPointer busy;
      SoundDriverSwitch(true, *window);
    }
    window->SetSessionEnd(
        [&document](const std::string& lastWaveDir) { EndSession(document, lastWaveDir); });
    QEventLoop modal;
    QObject::connect(window.get(), &WaveEditor_Frm::Unloaded, &modal, &QEventLoop::quit);
    window->show();
    modal.exec();
  } catch (const std::exception& error) {
    TraceError(error, "QuorvaneModOld", "Main");
  }
  interaction.SetProgress(nullptr);
  interaction.SetOwner(nullptr);
  window.reset();
  if (document) EndSession(document);
  return MainOutcome::SessionEnded;
}

}  // namespace quorvane
