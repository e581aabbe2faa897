#pragma once

#include <functional>
#include <memory>

#include "app/MemoryEngine.h"
#include "app/PreferencesAppSettings.h"
#include "app/QRMAppDelegate.h"
#include "app/UrlOpener.h"
#include "memory/QRMMemoryInfo.h"

class QCoreApplication;

namespace tarnwell {

class ApplicationEventSource;
class StatusItemView;
class UsageEvents;
class UserNotifier;

// A running Tarnwell apart from its views: the controller over the shared
// memory engine, preferences store and interface language, launched in order
// (first sample, status item and titles, timers). The views must outlive it.
//
// With TARNWELL_MEMORY_ROOT set to a folder holding "proc" and "sys"
// captures, the engine reads those instead of the machine's, so end-to-end
// tests run the program on a small record of their own.
class ApplicationSession {
public:
    // usageEvents may be null: nothing is reported. applicationEvents may be
    // null: no cleaning on other applications' events.
    ApplicationSession(StatusItemView *statusItem, UserNotifier *notifier, UsageEvents *usageEvents,
                       ApplicationEventSource *applicationEvents = nullptr,
                       std::function<void()> searchApplicationsAndUtilities = {});
    ~ApplicationSession();

    QRMAppDelegate &delegate() { return *delegate_; }

private:
    std::unique_ptr<QRMMemoryInfo> capturedMemoryInfo_;
    QRMMemoryInfoEngine engine_;
    PreferencesAppSettings settings_;
    DesktopUrlOpener urlOpener_;
    std::unique_ptr<QRMAppDelegate> delegate_;
};

// Runs a session over the given views in app's event loop until the quit
// command, SIGINT or SIGTERM. Returns the exit status.
int runSession(QCoreApplication &app, StatusItemView *statusItem, UserNotifier *notifier,
               UsageEvents *usageEvents, ApplicationEventSource *applicationEvents = nullptr,
               std::function<void()> searchApplicationsAndUtilities = {});

}  // namespace tarnwell
