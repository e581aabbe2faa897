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
public:
    explicit TestStatusNotifierWatcher(const QString &connectionName)
        : connectionName_(connectionName),
          connection_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName)) {
        connection_.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                                   QDBusConnection::ExportAllSlots);
        connection_.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"));
    }
    ~TestStatusNotifierWatcher() override { QDBusConnection::disconnectFromBus(connectionName_); }

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
    QString connectionName_;
    QDBusConnection connection_;
};

}  // namespace tarnwell::test
