#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>

namespace tarnwell::test {

// Plays the panel's StatusNotifierWatcher on a connection of its own and
// records who registered.
class TestStatusNotifierWatcher : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ isHostRegistered)
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ registeredItems)
public:
    explicit TestStatusNotifierWatcher(const QString &connectionName)
        : connectionName_(connectionName),
          connection_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName)) {
        connection_.registerObject(
            QStringLiteral("/StatusNotifierWatcher"), this,
            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties);
        connection_.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"));
    }
    ~TestStatusNotifierWatcher() override { QDBusConnection::disconnectFromBus(connectionName_); }

    int protocolVersion() const { return 0; }
    bool isHostRegistered() const { return true; }
    QStringList registeredItems() const { return items_; }
    // Unique bus names of the registered items' owners, in order.
    QStringList senders() const { return senders_; }

public slots:
    void RegisterStatusNotifierItem(const QString &service) {
        items_.append(service);
        senders_.append(message().service());
        emit itemRegistered(service);
    }

signals:
    void itemRegistered(const QString &service);

private:
    QString connectionName_;
    QDBusConnection connection_;
    QStringList items_;
    QStringList senders_;
};

}  // namespace tarnwell::test
