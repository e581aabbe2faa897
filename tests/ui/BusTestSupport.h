#pragma once

#include <gtest/gtest.h>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QSignalSpy>
#include <QString>
#include <QVariant>

#include "ui/DBusTypes.h"

// Helpers for tests that talk to the objects under test over the private
// session bus the test runs in. The objects live in this same thread, so a
// blocking call would never be answered: calls wait on the reply's signal
// while the event loop keeps serving the objects.

namespace tarnwell::test {

// A second connection to the session bus with its own unique name, as a
// panel would have.
inline QDBusConnection peerConnection(const QString &name) {
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
}

inline QDBusMessage callAndWait(const QDBusConnection &connection, const QDBusMessage &call) {
    QDBusPendingCallWatcher watcher(connection.asyncCall(call));
    if (!watcher.isFinished()) {
        QSignalSpy finished(&watcher, &QDBusPendingCallWatcher::finished);
        EXPECT_TRUE(finished.wait(10000)) << call.member().toStdString() << " got no reply";
    }
    return watcher.reply();
}

inline QVariant propertyOf(const QDBusConnection &connection, const QString &service,
                           const QString &path, const QString &interface, const QString &name) {
    QDBusMessage get = QDBusMessage::createMethodCall(
        service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get << interface << name;
    const QDBusMessage reply = callAndWait(connection, get);
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    if (reply.arguments().isEmpty()) {
        return {};
    }
    return reply.arguments().at(0).value<QDBusVariant>().variant();
}

template <typename T>
T demarshalled(const QVariant &value) {
    T result{};
    value.value<QDBusArgument>() >> result;
    return result;
}

}  // namespace tarnwell::test
