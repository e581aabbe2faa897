#pragma once

#include <memory>

#include "app/MemoryEngine.h"
#include "app/PreferencesAppSettings.h"
#include "app/QRMAppDelegate.h"
#include "app/UrlOpener.h"

namespace tarnwell {

class StatusItemView;
class UserNotifier;

// A running Tarnwell apart from its views: the controller over the shared
// memory engine, preferences store and interface language, launched in order
// (first sample, status item and titles, timers). The views must outlive it.
class ApplicationSession {
public:
    ApplicationSession(StatusItemView *statusItem, UserNotifier *notifier);
    ~ApplicationSession();

    QRMAppDelegate &delegate() { return *delegate_; }

private:
    QRMMemoryInfoEngine engine_;
    PreferencesAppSettings settings_;
    DesktopUrlOpener urlOpener_;
    std::unique_ptr<QRMAppDelegate> delegate_;
};

// Console mode: the same controller with a status line per refresh on
// standard output, until SIGINT or SIGTERM. Returns the exit status.
int runConsoleApplication(int argc, char **argv);

}  // namespace tarnwell
