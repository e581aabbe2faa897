#pragma once

#include <QDBusConnection>
#include <QObject>

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

private:
    QDBusConnection connection_;
};

}  // namespace tarnwell
