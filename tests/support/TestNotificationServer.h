#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QObject>
#include <QString>
#include <QVariantMap>

namespace tarnwell::test {

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
