// The editor as a service on the session bus, for a host that starts editing sessions:
// StartWithCommandLine runs one whole session and answers when its window has closed,
// after the signal IsClosed. A host that calls Release, or leaves the bus, ends the process.
#pragma once

#include <QDBusContext>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <functional>
#include <optional>

class QDBusServiceWatcher;

namespace quorvane {

inline constexpr const char* kCallerService = "QuorvaneAudio.CallerClass";
inline constexpr const char* kCallerPath = "/CallerClass";
inline constexpr const char* kCallerInterface = "QuorvaneAudio._CallerClass";
inline constexpr const char* kCallerEventInterface = "QuorvaneAudio.__CallerClass";

class CallerClass : public QObject, protected QDBusContext {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "QuorvaneAudio._CallerClass")

 public:
  // `runSession` runs Main with a command line and says whether the project was loaded;
  // `endProcess` ends the process at once.
  CallerClass(std::function<bool(const std::string&)> runSession,
              std::function<void(int status)> endProcess);

  // Registers the object and the service name on the session bus; false when either is
  // taken or there is no bus.
  bool Register();

 public slots:
  QString StartWithCommandLine(const QString& CmdLine);
  void Release();

 private:
  void RunSession(QDBusMessage call, QString CmdLine);
  void WatchClient(const QString& client);

  std::function<bool(const std::string&)> runSession_;
  std::function<void(int)> endProcess_;
  QDBusServiceWatcher* watcher_ = nullptr;
  bool sessionRunning_ = false;
};

}  // namespace quorvane
