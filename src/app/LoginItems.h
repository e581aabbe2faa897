#pragma once

#include <QString>

namespace tarnwell {

// The user's list of programs started at login, addressed by the program's
// own path. Production keeps it as XDG autostart entries.
class LoginItems {
public:
    virtual ~LoginItems() = default;
    // Appends an entry, even when one exists already. False when it could not
    // be written.
    virtual bool addApplicationToLoginItems(const QString &path) = 0;
    // Removes every entry that starts path.
    virtual void removeApplicationFromLoginItems(const QString &path) = 0;
    virtual bool findApplicationAtLoginItems(const QString &path) = 0;
};

}  // namespace tarnwell
