#include "ui/CallerClass.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QTimer>

#include "core/Trace.h"

namespace quorvane {

CallerClass::CallerClass(std::function<bool(const std::string&)> runSession,
                         std::function<void(int)> endProcess)
    : runSession_(std::move(runSession)), endProcess_(std::move(endProcess)) {}

bool CallerClass::Register() {
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return false;
  watcher_ = new QDBusServiceWatcher(this);
  watcher_->setConnection(bus);
  watcher_->setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
  // The host that holds the editor has gone: nothing is left to tell, so end at once.
  connect(watcher_, &QDBusServiceWatcher::serviceUnregistered, this,
          [this](const QString&) { endProcess_(0); });
  return bus.registerObject(kCallerPath, this, QDBusConnection::ExportAllSlots) &&
         bus.registerService(kCallerService);
}

void CallerClass::WatchClient(const QString& client) {
  if (watcher_ != nullptr && !client.isEmpty() && !watcher_->watchedServices().contains(client)) {
    watcher_->addWatchedService(client);
  }
}

QString CallerClass::StartWithCommandLine(const QString& CmdLine) {
  if (sessionRunning_) {
    sendErrorReply("QuorvaneAudio.Error.SessionRunning",
                   "An editing session is already running; it must end before another starts.");
    return {};
  }
  sessionRunning_ = true;
  WatchClient(message().service());
  // The answer waits for the end of the session, which runs from the event loop so that
  // the bus keeps being served while the window is open.
  setDelayedReply(true);
  QTimer::singleShot(0, this, [this, call = message(), CmdLine] { RunSession(call, CmdLine); });
  return {};
}

void CallerClass::RunSession(QDBusMessage call, QString CmdLine) {
  Trace("StartWithCommandLine: Entry");
  const bool loaded = runSession_(CmdLine.toStdString());
  if (!loaded) {
    // The project's message has been shown; the host learns of the end from the error of
    // its call when the process goes.
    endProcess_(1);
    return;
  }
  QDBusConnection bus = QDBusConnection::sessionBus();
  bus.send(QDBusMessage::createSignal(kCallerPath, kCallerEventInterface, "IsClosed"));
  Trace("StartWithCommandLine: Exit");
  bus.send(call.createReply(CmdLine));
  sessionRunning_ = false;
}

void CallerClass::Release() {
  // Any client may let the editor go; a running session ends with the process.
  endProcess_(0);
}

}  // namespace quorvane
