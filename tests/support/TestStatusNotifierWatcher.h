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
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ items)
public:
    explicit TestStatusNotifierWatcher(const QString &connectionName)
        : connectionName_(connectionName),
          connection_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName)) {
        connection_.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                                   QDBusConnection::ExportAllContents);
        connection_.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"));
    }
    ~TestStatusNotifierWatcher() override { QDBusConnection::disconnectFromBus(connectionName_); }

    int protocolVersion() const { return 0; }
    bool isHostRegistered() const { return true; }
    QStringList items() const { return registeredItems; }

    QStringList registeredItems;
    // Unique bus names of the registered items' owners, in order.
    QStringList senders;

public slots:
    void RegisterStatusNotifierItem(const QString &service) {
        registeredItems.append(service);
        senders.append(message().service());
        emit itemRegistered();
    }
    void RegisterStatusNotifierHost(const QString &) {}

signals:
    void itemRegistered();

private:
    QString connectionName_;
    QDBusConnection connection_;
};

}  // namespace tarnwell::test
