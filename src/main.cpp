#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include <QApplication>

#include "BuildInfo.h"
#include "analytics/facade/QRMEventManager.h"
#include "app/ApplicationSession.h"
#include "app/ConsoleViews.h"
#include "app/UsageEvents.h"
#include "cli/CommandLine.h"
#include "cli/CrashReportsCommand.h"
#include "cli/MemoryCommands.h"
#include "cli/SettingsCommand.h"
#include "crash/CrashLog.h"
#include "crash/CrashReporter.h"
#include "crash/DeliberateCrash.h"
#include "crash/ReportStore.h"
#include "crash/TelemetryDirectory.h"
#include "platform/linux/QRMApplicationsInfo.h"
#include "platform/linux/QRMUserNotificationsManager.h"
#include "platform/linux/X11ApplicationEventMonitor.h"
#include "ui/StatusItemViewFactory.h"

using namespace tarnwell;

namespace {

constexpr std::array kSubcommands{
    cli::Subcommand{"stats", "[--json] [--watch [SECONDS]]  print the memory statistics",
                    cli::runStats},
    cli::Subcommand{"clean", "[--json]  free memory now and print how much was freed",
                    cli::runClean},
    cli::Subcommand{"settings", "list, show, change or reset the settings", cli::runSettings},
    cli::Subcommand{"crash-reports", "list the reports of earlier crashes (--json for JSON)",
                    cli::runCrashReports},
};

// First thing in main: a crash anywhere later, start-up included, leaves a report.
void installCrashReporting() {
    const std::string telemetry = crash::telemetryDirectory(kBundleIdentifier);
    if (telemetry.empty()) {
        return;
    }
    // The kit's own warnings, for support; quiet otherwise.
    if (std::getenv("TARNWELL_CRASH_LOG") != nullptr) {
        crash::setCrashLogDescriptor(STDERR_FILENO);
    }
    crash::CrashReportingOptions options;
    options.reportsDirectory = crash::ReportStore::folderIn(telemetry).string();
    options.metadata.bundleIdentifier = kBundleIdentifier;
    options.metadata.buildVersion = kBuildNumber;
    options.metadata.displayVersion = kMarketingVersion;
    crash::startCrashReporting(options);
}

// Hidden from --help: support asks a user to run it to check that reports work.
constexpr std::string_view kDebugCrashOption = "--debug-crash=";

int crashOnPurpose(std::string_view option) {
    const std::string_view way = option.substr(kDebugCrashOption.size());
    const auto how = crash::parseDeliberateCrash(way);
    if (!how) {
        return cli::usageError("unknown crash '" + std::string(way) +
                               "' (segv, abort, fpe, ill, bus, throw, throw-int)");
    }
    crash::crashDeliberately(*how);
}

// The controller's usage events, reported through the analytics facade for
// as long as the application runs.
class FacadeUsageEvents : public UsageEvents {
public:
    FacadeUsageEvents() : events_(QRMEventManager::sharedEventManager()) {
        events_.startEvents(QString::fromLatin1(kBundleIdentifier));
    }
    ~FacadeUsageEvents() override {
        events_.applicationWillTerminate();
        events_.stopEvents();
    }
    void firstRun() override { events_.firstRun(); }
    void run() override { events_.run(); }
    void memoryCleaned() override { events_.memoryCleaned(); }

private:
    QRMEventManager &events_;
};

bool hasDisplay() {
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

int runTrayApplication(int argc, char **argv) {
    QApplication app(argc, argv);
    // Windows come and go; the status item keeps the program running.
    QApplication::setQuitOnLastWindowClosed(false);
    const std::unique_ptr<StatusItemView> statusItem = createStatusItemView();
    FacadeUsageEvents usageEvents;
    X11ApplicationEventMonitor applicationEvents;
    return runSession(app, statusItem.get(),
                      &QRMUserNotificationsManager::sharedUserNotificationsManager(), &usageEvents,
                      X11ApplicationEventMonitor::available() ? &applicationEvents : nullptr, [] {
                          QRMApplicationsInfo::sharedApplicationsInfo()
                              .searchApplicationsAndUtilitiesInBackground();
                      });
}

// The same controller in a terminal: a status line per refresh on standard
// output, the cleaning messages, Ctrl-C to quit.
int runConsoleApplication(int argc, char **argv) {
    QCoreApplication app(argc, argv);
    std::fprintf(stderr, "%s %s is watching memory in the terminal; Ctrl-C quits.\n", kDisplayName,
                 kMarketingVersion);
    ConsoleStatusItemView statusItem;
    ConsoleNotifier notifier;
    FacadeUsageEvents usageEvents;
    return runSession(app, &statusItem, &notifier, &usageEvents);
}

// Without a subcommand: the tray application, or console mode when asked for
// or when there is no display to show a tray on.
int runApplication(int argc, char **argv) {
    bool console = false;
    for (int i = 1; i < argc; ++i) {
        if (std::string_view(argv[i]) == "--console") {
            console = true;
        } else {
            return cli::usageError("unknown option '" + std::string(argv[i]) + "'");
        }
    }
    if (console || !hasDisplay()) {
        return runConsoleApplication(argc, argv);
    }
    return runTrayApplication(argc, argv);
}

}  // namespace

int main(int argc, char **argv) {
    installCrashReporting();
    if (argc >= 2 && std::string_view(argv[1]).starts_with(kDebugCrashOption)) {
        return crashOnPurpose(argv[1]);
    }
    return cli::dispatch(argc, argv, kSubcommands, runApplication);
}
