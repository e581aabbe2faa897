#pragma once

#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <functional>

#include "app/UserNotifier.h"

namespace tarnwell {

// Desktop notifications through the freedesktop notification service. The
// notification is sent without waiting for the service: a slow or missing
// service costs the caller nothing, and a failure is only logged.
class QRMUserNotificationsManager : public QObject, public UserNotifier {
    Q_OBJECT
public:
    // The one instance for the program, on the session bus. Safe to call from
    // any thread; the instance is created on first use.
    static QRMUserNotificationsManager &sharedUserNotificationsManager();

    explicit QRMUserNotificationsManager(const QDBusConnection &connection,
                                         QObject *parent = nullptr);

    // The sound name is a freedesktop sound-theme name such as
    // "message-new-instant".
    void showNotificationWithTitle(const QString &title, const QString &informativeText,
                                   const QString &soundName) override;
    // A notification that calls onActivated when the user clicks it (the
    // service's "default" action); actionLabel names it where the service
    // shows actions as buttons.
    void showNotificationWithAction(const QString &title, const QString &informativeText,
                                    const QString &actionLabel, std::function<void()> onActivated);

private slots:
    void actionInvoked(uint id, const QString &actionKey);
    void notificationClosed(uint id);

private:
    void notify(const QString &title, const QString &informativeText, const QStringList &actions,
                const QVariantMap &hints, std::function<void(uint id)> shown);

    QDBusConnection connection_;
    // Notifications still on screen whose click does something, by id.
    QHash<uint, std::function<void()>> activations_;
};

}  // namespace tarnwell
