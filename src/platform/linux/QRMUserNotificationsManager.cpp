#include "platform/linux/QRMUserNotificationsManager.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QLoggingCategory>
#include <QStringList>
#include <QVariantMap>

Q_LOGGING_CATEGORY(lcNotifications, "tarnwell.platform.notifications")

namespace tarnwell {

QRMUserNotificationsManager &QRMUserNotificationsManager::sharedUserNotificationsManager() {
    static QRMUserNotificationsManager instance(QDBusConnection::sessionBus());
    return instance;
}

QRMUserNotificationsManager::QRMUserNotificationsManager(const QDBusConnection &connection,
                                                         QObject *parent)
    : QObject(parent), connection_(connection) {}

void QRMUserNotificationsManager::showNotificationWithTitle(const QString &title,
                                                            const QString &informativeText,
                                                            const QString &soundName) {
    QVariantMap hints;
    if (!soundName.isEmpty()) {
        hints.insert(QStringLiteral("sound-name"), soundName);
    }
    QDBusMessage notify = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"),
        QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
    notify << QStringLiteral("Tarnwell")                 // application name
           << uint(0)                                    // replaces no earlier notification
           << QString()                                  // application icon
           << title << informativeText << QStringList()  // no actions
           << hints << int(-1);                          // the server's default timeout
    auto *pending = new QDBusPendingCallWatcher(connection_.asyncCall(notify));
    connect(
        pending, &QDBusPendingCallWatcher::finished, pending, [](QDBusPendingCallWatcher *done) {
            if (done->isError()) {
                qCWarning(lcNotifications) << "notification not shown:" << done->error().message();
            }
            done->deleteLater();
        });
}

}  // namespace tarnwell
