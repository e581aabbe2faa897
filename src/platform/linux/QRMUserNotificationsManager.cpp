#include "platform/linux/QRMUserNotificationsManager.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
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
    : QObject(parent), connection_(connection) {
    const QString service = QStringLiteral("org.freedesktop.Notifications");
    const QString path = QStringLiteral("/org/freedesktop/Notifications");
    connection_.connect(service, path, service, QStringLiteral("ActionInvoked"), this,
                        SLOT(actionInvoked(uint, QString)));
    connection_.connect(service, path, service, QStringLiteral("NotificationClosed"), this,
                        SLOT(notificationClosed(uint)));
}

void QRMUserNotificationsManager::showNotificationWithTitle(const QString &title,
                                                            const QString &informativeText,
                                                            const QString &soundName) {
    QVariantMap hints;
    if (!soundName.isEmpty()) {
        hints.insert(QStringLiteral("sound-name"), soundName);
    }
    notify(title, informativeText, {}, hints, {});
}

void QRMUserNotificationsManager::showNotificationWithAction(const QString &title,
                                                             const QString &informativeText,
                                                             const QString &actionLabel,
                                                             std::function<void()> onActivated) {
    notify(title, informativeText, {QStringLiteral("default"), actionLabel}, {},
           [this, onActivated = std::move(onActivated)](uint id) {
               activations_.insert(id, onActivated);
           });
}

void QRMUserNotificationsManager::actionInvoked(uint id, const QString &actionKey) {
    const auto activation = activations_.constFind(id);
    if (actionKey == u"default" && activation != activations_.constEnd()) {
        activation.value()();
    }
}

void QRMUserNotificationsManager::notificationClosed(uint id) {
    activations_.remove(id);
}

void QRMUserNotificationsManager::notify(const QString &title, const QString &informativeText,
                                         const QStringList &actions, const QVariantMap &hints,
                                         std::function<void(uint id)> shown) {
    QDBusMessage notify = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"),
        QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
    notify << QStringLiteral("Tarnwell")  // application name
           << uint(0)                     // replaces no earlier notification
           << QString()                   // application icon
           << title << informativeText << actions << hints
           << int(-1);  // the server's default timeout
    auto *pending = new QDBusPendingCallWatcher(connection_.asyncCall(notify));
    connect(pending, &QDBusPendingCallWatcher::finished, this,
            [shown = std::move(shown)](QDBusPendingCallWatcher *done) {
                const QDBusPendingReply<uint> reply = *done;
                if (reply.isError()) {
                    qCWarning(lcNotifications)
                        << "notification not shown:" << reply.error().message();
                } else if (shown) {
                    shown(reply.value());
                }
                done->deleteLater();
            });
}

}  // namespace tarnwell
