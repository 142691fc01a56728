// quorvane-trace-viewer: takes the trace viewer's name on the D-Bus session bus and prints
// every trace line it receives on standard output, one per line.
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QString>
#include <cstdio>

#include "platform/qt/DbusTraceViewer.h"
#include "platform/qt/TraceLinePrinter.h"

namespace {

int Fail(const char* message) {
  std::fprintf(stderr, "quorvane-trace-viewer: %s\n", message);
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);

  QCommandLineParser parser;
  parser.setApplicationDescription(
      QStringLiteral("Prints the trace lines of running Quorvane programs."));
  parser.addHelpOption();
  const QCommandLineOption valueOption(
      QStringLiteral("value"),
      QStringLiteral("Exposes N as the viewer property; only 1 makes this a viewer."),
      QStringLiteral("N"), QStringLiteral("1"));
  parser.addOption(valueOption);
  parser.process(app);
  bool isNumber = false;
  const int markValue = parser.value(valueOption).toInt(&isNumber);
  if (!isNumber) return Fail("--value needs a whole number");

  quorvane::TraceLinePrinter printer(markValue);
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return Fail("no D-Bus session bus");
  // The object first, the name second: a program that finds the name finds the property.
  if (!bus.registerObject(QString::fromLatin1(quorvane::kTraceViewerObjectPath), &printer,
                          QDBusConnection::ExportAllProperties | QDBusConnection::ExportAllSlots)) {
    return Fail("cannot export the viewer object");
  }
  if (!bus.registerService(QString::fromLatin1(quorvane::kTraceViewerBusName))) {
    return Fail("another viewer owns the name QuorvaneDebugWindow._TRACEWIN");
  }
  // Standard output carries only trace lines; this notice also tells a waiting test that
  // the name is owned.
  std::fprintf(stderr, "quorvane-trace-viewer: listening as %s\n", quorvane::kTraceViewerBusName);
  std::fflush(stderr);
  return app.exec();
}
