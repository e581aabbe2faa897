#pragma once

#include <gtest/gtest.h>

#include <algorithm>

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QList>
#include <QObject>
#include <QSignalSpy>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

#include "ui/DBusTypes.h"

// Helpers for tests that talk to the objects under test over the private
// session bus the test runs in. The objects live in this same thread, so a
// blocking call would never be answered: calls wait on the reply's signal
// while the event loop keeps serving the objects.

namespace tarnwell::test {

inline QDBusMessage callAndWait(const QDBusConnection &connection, const QString &service,
                                const QString &path, const QString &interface,
                                const QString &method, const QVariantList &arguments) {
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, method);
    call.setArguments(arguments);
    QDBusPendingCallWatcher watcher(connection.asyncCall(call));
    if (!watcher.isFinished()) {
        QSignalSpy finished(&watcher, &QDBusPendingCallWatcher::finished);
        EXPECT_TRUE(finished.wait(10000)) << method.toStdString() << " got no reply";
    }
    return watcher.reply();
}

inline QVariant propertyOf(const QDBusConnection &connection, const QString &service,
                           const QString &path, const QString &interface, const QString &name) {
    const QDBusMessage reply =
        callAndWait(connection, service, path, QStringLiteral("org.freedesktop.DBus.Properties"),
                    QStringLiteral("Get"), {interface, name});
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    return reply.arguments().value(0).value<QDBusVariant>().variant();
}

template <typename T>
T demarshalled(const QVariant &value) {
    T result{};
    value.value<QDBusArgument>() >> result;
    return result;
}

// The id of the first item below root labelled exactly so; 0 when none is.
inline int menuItemId(const DBusMenuLayoutItem &root, const QString &label) {
    for (const DBusMenuLayoutItem &child : root.children) {
        if (child.properties.value(QStringLiteral("label")) == label) {
            return child.id;
        }
        if (const int id = menuItemId(child, label)) {
            return id;
        }
    }
    return 0;
}

// Records the signals a host hears from one object, in order of arrival.
class BusSignalRecorder : public QObject {
    Q_OBJECT
public:
    void listen(QDBusConnection connection, const QString &service, const QString &path,
                const QString &interface, const QStringList &signalNames) {
        for (const QString &name : signalNames) {
            connection.connect(service, path, interface, name, this, SLOT(record(QDBusMessage)));
        }
    }

    void waitFor(const QString &name) {
        QSignalSpy recorded(this, &BusSignalRecorder::recorded);
        while (std::none_of(received.begin(), received.end(),
                            [&](const QDBusMessage &m) { return m.member() == name; })) {
            ASSERT_TRUE(recorded.wait(10000)) << name.toStdString() << " never arrived";
        }
    }

    QList<QDBusMessage> received;

public slots:
    void record(const QDBusMessage &message) {
        received.append(message);
        emit recorded();
    }

signals:
    void recorded();
};

// Plays the panel's StatusNotifierWatcher on a connection of its own and
// records who registered.
class TestStatusNotifierWatcher : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
public:
    explicit TestStatusNotifierWatcher(const QString &connectionName)
        : connection_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName)) {
        connection_.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                                   QDBusConnection::ExportAllContents);
        connection_.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"));
    }
    ~TestStatusNotifierWatcher() override {
        QDBusConnection::disconnectFromBus(connection_.name());
    }

    QStringList registeredItems;
    // Unique bus names of the registered items' owners, in order.
    QStringList senders;

public slots:
    void RegisterStatusNotifierItem(const QString &service) {
        registeredItems.append(service);
        senders.append(message().service());
        emit itemRegistered();
    }

signals:
    void itemRegistered();

private:
    QDBusConnection connection_;
};

struct ReceivedNotification {
    QString appName;
    uint replacesId = 0;
    QString summary;
    QString body;
    QStringList actions;
    QVariantMap hints;
    int expireTimeout = 0;
};

// Owns org.freedesktop.Notifications on a connection of its own and keeps
// what arrives.
class TestNotificationServer : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    TestNotificationServer() {
        connection_.registerObject(QStringLiteral("/org/freedesktop/Notifications"), this,
                                   QDBusConnection::ExportAllSlots);
        connection_.registerService(QStringLiteral("org.freedesktop.Notifications"));
    }
    ~TestNotificationServer() override {
        QDBusConnection::disconnectFromBus(QStringLiteral("notification-server"));
    }

    QList<ReceivedNotification> received;

public slots:
    uint Notify(const QString &appName, uint replacesId, const QString &, const QString &summary,
                const QString &body, const QStringList &actions, const QVariantMap &hints,
                int expireTimeout) {
        received.append({appName, replacesId, summary, body, actions, hints, expireTimeout});
        emit notified();
        return uint(received.size());
    }

    // What the service sends when the user clicks (or closes) notification id.
    void emitSignal(const QString &name, uint id, const QString &actionKey = {}) {
        QDBusMessage message =
            QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/Notifications"),
                                       QStringLiteral("org.freedesktop.Notifications"), name);
        message << id;
        if (name == u"ActionInvoked") {
            message << actionKey;
        }
        connection_.send(message);
    }

signals:
    void notified();

private:
    QDBusConnection connection_ = QDBusConnection::connectToBus(
        QDBusConnection::SessionBus, QStringLiteral("notification-server"));
};

}  // namespace tarnwell::test
