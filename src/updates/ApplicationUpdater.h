#pragma once

#include <memory>

#include "app/UrlOpener.h"
#include "updates/PackageInstaller.h"
#include "updates/QRMUpdater.h"
#include "updates/UpdateWindow.h"

namespace tarnwell {

class QRMPreferencesManager;
class QRMUserNotificationsManager;

// The tray program's updater, put together: the feed in use from the store,
// which also hands on later feed changes; the system's package tools; the
// update window and desktop notifications. Lives while the tray runs.
class ApplicationUpdater {
public:
    ApplicationUpdater(QRMPreferencesManager &preferences, QRMUserNotificationsManager &notifier);
    ~ApplicationUpdater();

    QRMUpdater &updater() { return updater_; }

private:
    QRMPreferencesManager &preferences_;
    DesktopUrlOpener desktopOpener_;
    SystemPackageInstaller installer_;
    QRMUpdater updater_;
    UpdateWindow window_;
};

}  // namespace tarnwell
