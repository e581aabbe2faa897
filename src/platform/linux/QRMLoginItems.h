#pragma once

#include <QString>
#include <QStringList>

#include "app/LoginItems.h"

namespace tarnwell {

// Login items as XDG autostart entries: one desktop entry file per item in
// the autostart folder. An entry belongs to a path when its Exec program
// resolves to the same file; an entry whose program no longer exists belongs
// to nobody, and one marked Hidden is switched off and ignored.
class QRMLoginItems : public LoginItems {
public:
    // Over $XDG_CONFIG_HOME/autostart.
    static QRMLoginItems &sharedLoginItems();
    // What a login item starts: programFor() this executable.
    static QString applicationPath();
    // Installed, what the menu's desktop entry beside the executable's prefix
    // starts (so the login item follows the package); from a build folder, the
    // executable by its absolute path.
    static QString programFor(const QString &executable);

    explicit QRMLoginItems(QString autostartFolder);

    bool addApplicationToLoginItems(const QString &path) override;
    void removeApplicationFromLoginItems(const QString &path) override;
    bool findApplicationAtLoginItems(const QString &path) override;

    // The Exec value that starts path with no arguments, quoted and escaped
    // as the Desktop Entry Specification asks.
    static QString execValue(const QString &path);

private:
    QStringList entriesStarting(const QString &path) const;

    QString folder_;
    bool writeFailureReported_ = false;
};

}  // namespace tarnwell
