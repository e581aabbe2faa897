#pragma once

#include <memory>

#include "app/ApplicationActivity.h"
#include "app/MemoryEngine.h"
#include "app/PreferencesAppSettings.h"
#include "app/QRMAppDelegate.h"
#include "app/UrlOpener.h"
#include "memory/QRMMemoryInfo.h"

class QCoreApplication;

namespace tarnwell {

class StatusItemView;
class UpdateChecks;
class UsageEvents;
class UserNotifier;
class WelcomeWindowProcess;

// A running Tarnwell apart from its views: the controller over the memory
// engine main() built, the shared preferences store and the interface
// language, launched in order (first sample, status item and titles,
// timers). The memory engine and the views must outlive it.
class ApplicationSession {
public:
    // usageEvents may be null: nothing is reported. welcome may be null: no
    // welcome window (console mode). updater may be null: no update checks.
    ApplicationSession(QRMMemoryInfo &memory, StatusItemView *statusItem, UserNotifier *notifier,
                       UsageEvents *usageEvents, WelcomeWindowProcess *welcome,
                       UpdateChecks *updater = nullptr);
    ~ApplicationSession();

    QRMAppDelegate &delegate() { return *delegate_; }

private:
    void connectWelcomeWindow(WelcomeWindowProcess &welcome);

    QRMMemoryInfoEngine engine_;
    PreferencesAppSettings settings_;
    DesktopUrlOpener urlOpener_;
    std::unique_ptr<QRMAppDelegate> delegate_;
    std::unique_ptr<ApplicationActivity> activity_;
};

// Runs a session over the given views in app's event loop until the quit
// command, SIGINT or SIGTERM. Returns the exit status.
int runSession(QCoreApplication &app, QRMMemoryInfo &memory, StatusItemView *statusItem,
               UserNotifier *notifier, UsageEvents *usageEvents, WelcomeWindowProcess *welcome,
               UpdateChecks *updater = nullptr);

}  // namespace tarnwell
