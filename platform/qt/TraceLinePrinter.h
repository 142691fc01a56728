// The object the trace viewer program exports on "/": it marks the program as a viewer
// through its property and prints every line it is sent.
#pragma once

#include <QByteArray>
#include <QObject>

namespace quorvane {

class TraceLinePrinter : public QObject {
  Q_OBJECT
  // Must match kTraceViewerInterface and kTraceViewerProperty of DbusTraceViewer.h; moc
  // needs the names spelled out here.
  Q_CLASSINFO("D-Bus Interface", "QuorvaneDebugWindow.TraceViewer")
  Q_PROPERTY(int QuorvaneDebugWindow_TRACEWIN READ markValue)

 public:
  // `markValue` is the property's value: 1 marks a viewer, anything else is for tests of
  // the search.
  explicit TraceLinePrinter(int markValue) : markValue_(markValue) {}

  int markValue() const { return markValue_; }

 public slots:
  // Writes the line to standard output as it arrived, then a line feed, and flushes, so a
  // reader sees each line before its sender's call returns.
  void CopyData(const QByteArray& bytes);

 private:
  int markValue_;
};

}  // namespace quorvane
