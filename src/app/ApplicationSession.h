#pragma once

#include <functional>
#include <memory>

#include <QObject>
#include <QString>

#include "app/ApplicationActivity.h"
#include "app/MemoryEngine.h"
#include "app/PreferencesAppSettings.h"
#include "app/QRMAppDelegate.h"
#include "app/UrlOpener.h"
#include "memory/QRMMemoryInfo.h"

class QCoreApplication;

namespace tarnwell {

class ApplicationEventSource;
class LoginItems;
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
    // loginItems may be null: the first run adds no login item.
    // applicationEvents may be null: no cleaning on other applications' events.
    ApplicationSession(QRMMemoryInfo &memory, StatusItemView *statusItem, UserNotifier *notifier,
                       UsageEvents *usageEvents, WelcomeWindowProcess *welcome,
                       UpdateChecks *updater = nullptr, LoginItems *loginItems = nullptr,
                       const QString &loginItemPath = {},
                       ApplicationEventSource *applicationEvents = nullptr,
                       std::function<void()> searchApplicationsAndUtilities = {});
    ~ApplicationSession();

    QRMAppDelegate &delegate() { return *delegate_; }
    MemoryEngine &engine() { return engine_; }

private:
    void connectWelcomeWindow(WelcomeWindowProcess &welcome);

    QRMMemoryInfoEngine engine_;
    PreferencesAppSettings settings_;
    DesktopUrlOpener urlOpener_;
    std::unique_ptr<QRMAppDelegate> delegate_;
    std::unique_ptr<ApplicationActivity> activity_;
};

// Windows a session opens on request, made once the session runs; they live
// as long as the session.
using SessionWindows = std::function<std::unique_ptr<QObject>(ApplicationSession &session)>;

// Runs a session over the given views in app's event loop until the quit
// command, SIGINT or SIGTERM. Returns the exit status.
int runSession(QCoreApplication &app, QRMMemoryInfo &memory, StatusItemView *statusItem,
               UserNotifier *notifier, UsageEvents *usageEvents, WelcomeWindowProcess *welcome,
               UpdateChecks *updater = nullptr, LoginItems *loginItems = nullptr,
               const QString &loginItemPath = {}, const SessionWindows &windows = {},
               ApplicationEventSource *applicationEvents = nullptr,
               std::function<void()> searchApplicationsAndUtilities = {});

}  // namespace tarnwell
