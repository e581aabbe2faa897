#pragma once

#include <QString>

namespace tarnwell {

// Desktop notifications as the controller sees them. An empty informative
// text or sound name leaves that part out.
class UserNotifier {
public:
    virtual ~UserNotifier() = default;
    virtual void showNotificationWithTitle(const QString &title, const QString &informativeText,
                                           const QString &soundName) = 0;
};

}  // namespace tarnwell
