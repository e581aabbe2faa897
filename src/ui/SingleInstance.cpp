#include "ui/SingleInstance.h"

#include <QDBusMessage>

namespace tarnwell {

namespace {

// A first instance busy in a cleaning still answers within this.
constexpr int kAnswerTimeoutMs = 5000;

}  // namespace

QString SingleInstance::serviceName() {
    return QStringLiteral("app.tarnwell.Tarnwell");
}

QString SingleInstance::objectPath() {
    return QStringLiteral("/app/tarnwell/Tarnwell");
}

SingleInstance::SingleInstance(const QDBusConnection &connection, QObject *parent)
    : QObject(parent), connection_(connection) {
    if (!connection_.isConnected()) {
        // Without a session bus nothing can be shared, and nothing can clash.
        isFirst_ = true;
        return;
    }
    connection_.registerObject(objectPath(), this, QDBusConnection::ExportScriptableSlots);
    // Not queued: of two starts at the same moment exactly one gets the name.
    isFirst_ = connection_.registerService(serviceName());
    if (!isFirst_) {
        connection_.unregisterObject(objectPath());
    }
}

SingleInstance::~SingleInstance() {
    if (isFirst_ && connection_.isConnected()) {
        connection_.unregisterService(serviceName());
        connection_.unregisterObject(objectPath());
    }
}

bool SingleInstance::askFirstToShow() {
    const QDBusMessage call = QDBusMessage::createMethodCall(serviceName(), objectPath(),
                                                             serviceName(), QStringLiteral("Show"));
    return connection_.call(call, QDBus::Block, kAnswerTimeoutMs).type() ==
           QDBusMessage::ReplyMessage;
}

void SingleInstance::Show() {
    emit showRequested();
}

}  // namespace tarnwell
