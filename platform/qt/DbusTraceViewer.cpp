#include "platform/qt/DbusTraceViewer.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QMetaType>
#include <QString>
#include <QVariant>

namespace quorvane {

namespace {

// Tracing keeps a session-bus connection of its own, made lazily by the first search,
// rather than QDBusConnection::sessionBus(): the first trace line may come before the
// front end creates its QCoreApplication, and the shared connection would then be set up
// for a process without one, under the feet of the front end's own D-Bus services.
//
// Without a QCoreApplication this works as well: Qt runs every bus connection in its own
// D-Bus thread, which has an event loop of its own, and a QDBus::Block call waits for
// that thread without needing an event loop in the caller's. Qt 6 prints no warning
// about a missing QCoreApplication, and when the bus cannot be reached the connection
// just reports itself as not connected.
QString ConnectionName() { return QStringLiteral("quorvane_trace"); }

// At the end of a process without a QCoreApplication, Qt's D-Bus thread can still be
// reporting a failed call (a QDBusError and a QDBusMessage) while static objects are being
// destroyed; when these two types were first registered after that thread was made, their
// registration is gone by then and Qt prints "Trying to construct an instance of an invalid
// type" twice (seen in about one run in six). Registered before the first connection, they
// outlive the thread, and the process ends silently.
void RegisterTypesBeforeFirstConnection() {
  qRegisterMetaType<QDBusError>();
  qRegisterMetaType<QDBusMessage>();
}

bool IsIntegerOne(const QVariant& value) {
  switch (value.metaType().id()) {
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
      return value.toLongLong() == 1;
    case QMetaType::ULongLong:
      return value.toULongLong() == 1;
    default:
      return false;
  }
}

bool OwnerIsViewer(const QDBusConnection& bus) {
  QDBusMessage get = QDBusMessage::createMethodCall(
      QString::fromLatin1(kTraceViewerBusName), QString::fromLatin1(kTraceViewerObjectPath),
      QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
  get << QString::fromLatin1(kTraceViewerInterface) << QString::fromLatin1(kTraceViewerProperty);
  // A name nobody owns is answered with an error at once; never start a service for it.
  get.setAutoStartService(false);
  const QDBusMessage reply = bus.call(get, QDBus::Block, kTraceViewerTimeoutMs);
  if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().size() != 1) return false;
  return IsIntegerOne(qvariant_cast<QDBusVariant>(reply.arguments().constFirst()).variant());
}

class DbusTraceViewer final : public TraceViewer {
 public:
  void Send(const std::string& bytes) override {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QString::fromLatin1(kTraceViewerBusName), QString::fromLatin1(kTraceViewerObjectPath),
        QString::fromLatin1(kTraceViewerInterface), QString::fromLatin1(kTraceViewerMethod));
    call << QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size()));
    call.setAutoStartService(false);
    // The reply, an error included, is of no interest: tracing never fails visibly.
    // The connection is looked up by name on each line so that this object holds no Qt
    // handle that could outlive Qt's D-Bus thread at the end of the process.
    QDBusConnection(ConnectionName()).call(call, QDBus::Block, kTraceViewerTimeoutMs);
  }
};

}  // namespace

std::unique_ptr<TraceViewer> FindDbusTraceViewer() {
  RegisterTypesBeforeFirstConnection();
  bool found = false;
  {
    const QDBusConnection bus =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, ConnectionName());
    found = bus.isConnected() && OwnerIsViewer(bus);
  }
  if (found) return std::make_unique<DbusTraceViewer>();
  // Without a viewer the process keeps no connection open for tracing.
  QDBusConnection::disconnectFromBus(ConnectionName());
  return nullptr;
}

}  // namespace quorvane
