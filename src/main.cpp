#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include <QApplication>
#include <QLocale>
#include <QStandardPaths>
#include <QTimer>

#include "BuildInfo.h"
#include "analytics/EVTConfiguration.h"
#include "analytics/facade/QRMEventManager.h"
#include "app/ApplicationSession.h"
#include "app/ConsoleViews.h"
#include "app/UsageEvents.h"
#include "app/WelcomeWindowProcess.h"
#include "cli/CommandLine.h"
#include "cli/CrashReportsCommand.h"
#include "cli/MemoryCommands.h"
#include "cli/SettingsCommand.h"
#include "cli/UserFolders.h"
#include "crash/CrashLog.h"
#include "crash/CrashReporter.h"
#include "crash/DeliberateCrash.h"
#include "crash/ReportStore.h"
#include "crash/RunIdentity.h"
#include "crash/TelemetryDirectory.h"
#include "localization/QRMLanguageNotifier.h"
#include "localization/QRMLocalization.h"
#include "memory/LinuxMemorySource.h"
#include "memory/QRMMemoryInfo.h"
#include "platform/linux/QRMApplicationsInfo.h"
#include "platform/linux/QRMLoginItems.h"
#include "platform/linux/QRMTaskbarPresence.h"
#include "platform/linux/QRMUserNotificationsManager.h"
#include "platform/linux/X11ApplicationEventMonitor.h"
#include "preferences/QRMPreferencesManager.h"
#include "ui/DisplayCheck.h"
#include "ui/SingleInstance.h"
#include "ui/StatusItemViewFactory.h"
#include "ui/preferences/PreferencesWindowOpener.h"
#include "updates/ApplicationUpdater.h"

using namespace tarnwell;

namespace {

constexpr std::array kSubcommands{
    cli::Subcommand{"stats", "[--json [--pretty]] [--watch [SECONDS]]  print the memory statistics",
                    "Usage: tarnwell stats [--json [--pretty]] [--watch [SECONDS]]\n"
                    "Prints the memory statistics: each key with its value and, for sizes, the\n"
                    "size a person reads.\n\n"
                    "  --json             one JSON object on one line, the stored values\n"
                    "  --pretty           with --json, indent the object over several lines\n"
                    "  --watch [SECONDS]  print again every SECONDS (5 unless given)\n",
                    cli::runStats},
    cli::Subcommand{"clean", "[--json]  free memory now and print how much was freed",
                    "Usage: tarnwell clean [--json]\n"
                    "Frees memory now and prints free memory before and after and the amount\n"
                    "freed. Exits with status 1 and says why when no cleaning could run: another\n"
                    "one is running, or available memory is already within the reserve kept\n"
                    "for the system.\n\n"
                    "  --json  print the outcome as a JSON object\n",
                    cli::runClean},
    cli::Subcommand{"settings", "list, show, change or reset the settings",
                    "Usage: tarnwell settings              list every setting with its value\n"
                    "       tarnwell settings KEY          print one setting\n"
                    "       tarnwell settings KEY VALUE    change one setting\n"
                    "       tarnwell settings --reset      remove every stored setting\n"
                    "       tarnwell settings --keys       list the settings' names\n"
                    "A value is checked against the setting's type and range; a running\n"
                    "Tarnwell picks the change up.\n",
                    cli::runSettings},
    cli::Subcommand{"crash-reports", "list the reports of earlier crashes (--json for JSON)",
                    "Usage: tarnwell crash-reports [--json]\n"
                    "Lists the reports earlier crashes left, newest first, with the crashing\n"
                    "thread's frames as image + offset ('addr2line -e IMAGE OFFSET' names the\n"
                    "source line).\n\n"
                    "  --json  everything the reports hold, as JSON\n",
                    cli::runCrashReports},
};

// One installation and one run, as both kits report them: the install identifier
// lives in the events kit's folder, where it has always been kept.
const crash::RunIdentity &runIdentity() {
    static const crash::RunIdentity identity = crash::makeRunIdentity(
        EVTConfiguration::installIdPath(
            EVTConfiguration::rootDirectoryForBundle(QString::fromLatin1(kBundleIdentifier)))
            .toStdString());
    return identity;
}

// First thing in main once the folders are settled: a crash anywhere later, start-up
// included, leaves a report.
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
    options.metadata.installId = runIdentity().installId;
    options.metadata.sessionId = runIdentity().sessionId;
    const QString apiKey = EVTConfiguration::forApplication(QString::fromLatin1(kBundleIdentifier),
                                                            kMarketingVersion, kBuildNumber)
                               .apiKey;
    if (!apiKey.isEmpty()) {
        options.metadata.apiKey = apiKey.toStdString();
    }
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
        events_.startEvents(QString::fromLatin1(kBundleIdentifier),
                            QString::fromStdString(runIdentity().installId),
                            QString::fromStdString(runIdentity().sessionId));
    }
    ~FacadeUsageEvents() override {
        events_.applicationWillTerminate();
        events_.stopEvents();
    }
    void firstRun() override { events_.firstRun(); }
    void run() override { events_.run(); }
    void memoryCleaned() override { events_.memoryCleaned(); }
    void becameActive() override { events_.applicationDidBecomeActive(); }
    void resignedActive() override { events_.applicationWillResignActive(); }
    void contentViewWithName(const QString &contentName, const QString &contentType,
                             const QString &contentId) override {
        events_.contentViewWithName(contentName, contentType, contentId);
    }

private:
    QRMEventManager &events_;
};

// Once the event loop runs, Qt and every library have set themselves up, so a signal
// handler one of them installed over ours can be seen.
void checkForeignSignalHandlersWhenRunning() {
    QTimer::singleShot(0, [] { crash::checkForeignSignalHandlersOnce(); });
}

bool hasDisplay() {
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

int runTrayApplication(int argc, char **argv) {
    QApplication app(argc, argv);
    SingleInstance instance(QDBusConnection::sessionBus());
    if (!instance.isFirst()) {
        const bool shown = instance.askFirstToShow();
        std::printf("%s is already running%s\n", kDisplayName,
                    shown ? "; its preferences are open" : "");
        return 0;
    }
    // Windows come and go; the status item keeps the program running.
    QApplication::setQuitOnLastWindowClosed(false);
    QRMPreferencesManager &preferences = QRMPreferencesManager::sharedPreferencesManager();
    DesktopStatusItem statusItem(
        {[&preferences] { return int(preferences.statusBarTextPlacement()); },
         [&preferences] { return int(preferences.statusBarAppearance()); }});
    StatusItemHost &host = statusItem.host();
    FacadeUsageEvents usageEvents;
    WelcomeWindowProcess welcome(WelcomeWindowProcess::installedProgram());
    checkForeignSignalHandlersWhenRunning();
    QRMUserNotificationsManager &notifier =
        QRMUserNotificationsManager::sharedUserNotificationsManager();
    ApplicationUpdater updater(preferences, notifier);
    QRMTaskbarPresence taskbarPresence([&preferences] { return preferences.showDockIcon(); });
    QRMLoginItems &loginItems = QRMLoginItems::sharedLoginItems();
    X11ApplicationEventMonitor applicationEvents;
    const bool applicationEventsAvailable = X11ApplicationEventMonitor::available();
    QRMApplicationsInfo &catalogue = QRMApplicationsInfo::sharedApplicationsInfo();
    const auto windows = [&](ApplicationSession &session) -> std::unique_ptr<QObject> {
        auto opener = std::make_unique<PreferencesWindowOpener>(PreferencesServices{
            session.delegate(), preferences, session.engine(),
            [](const QString &key) { return localized(key); },
            QRMLanguageNotifier::sharedNotifier(), loginItems, QRMLoginItems::applicationPath(),
            [&taskbarPresence] { taskbarPresence.showDockIconChanged(); }, &usageEvents,
            &updater.updater(),
            AppsTabSources{
                &catalogue,
                [&applicationEvents](const QString &locale) {
                    return applicationEvents.runningApplications(locale);
                },
                QStringLiteral("%1/%2/icons")
                    .arg(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation),
                         QString::fromLatin1(kBundleIdentifier)),
                applicationEventsAvailable, QLocale().name()}});
        QObject::connect(&session.delegate(), &QRMAppDelegate::preferencesWindowRequested,
                         opener.get(), &PreferencesWindowOpener::showPreferencesWindow);
        // A second start asks for the one window that lets a user do anything.
        QObject::connect(&instance, &SingleInstance::showRequested, &session.delegate(),
                         &QRMAppDelegate::showPreferencesWindow);
        return opener;
    };
    return runSession(app, QRMMemoryInfo::sharedMemoryInfo(), &host, &notifier, &usageEvents,
                      &welcome, &updater.updater(), &loginItems, QRMLoginItems::applicationPath(),
                      windows, applicationEventsAvailable ? &applicationEvents : nullptr,
                      [&catalogue] { catalogue.searchApplicationsAndUtilitiesInBackground(); });
}

// The same controller in a terminal: a status line per refresh on standard
// output, the cleaning messages, Ctrl-C to quit. why: the reason a tray could
// not start, said on the same line.
int runConsoleApplication(int argc, char **argv, const QString &why = {}) {
    QCoreApplication app(argc, argv);
    std::fprintf(stderr, "%s%s %s is watching memory in the terminal; Ctrl-C quits.\n",
                 why.isEmpty() ? "" : qPrintable(why + QStringLiteral("; ")), kDisplayName,
                 kMarketingVersion);
    ConsoleStatusItemView statusItem;
    ConsoleNotifier notifier;
    FacadeUsageEvents usageEvents;
    checkForeignSignalHandlersWhenRunning();
    return runSession(app, QRMMemoryInfo::sharedMemoryInfo(), &statusItem, &notifier, &usageEvents,
                      nullptr);
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
    if (const QString problem = displayProblem(); !problem.isEmpty()) {
        return runConsoleApplication(argc, argv, problem);
    }
    return runTrayApplication(argc, argv);
}

}  // namespace

int main(int argc, char **argv) {
    if (const auto refusal = cli::settleUserFolders()) {
        std::fprintf(stderr, "tarnwell: %s\n", refusal->c_str());
        return cli::kExitFailure;
    }
    installCrashReporting();
    if (argc >= 2 && std::string_view(argv[1]).starts_with(kDebugCrashOption)) {
        return crashOnPurpose(argv[1]);
    }
    // The one memory source of the process, handed to everything that reads
    // memory (the controller, the commands, the settings' defaults, the usage
    // events' attributes). TARNWELL_MEMORY_ROOT points it at a captured
    // machine. Cleanings are exclusive across the user's processes.
    QRMMemoryInfo memory(LinuxMemorySource::underRoot(std::getenv("TARNWELL_MEMORY_ROOT")),
                         std::make_unique<ResidentBlockAllocator>(), CleaningLock::userLockFile());
    QRMMemoryInfo::setSharedMemoryInfo(&memory);
    const int status = cli::dispatch(argc, argv, kSubcommands, runApplication);
    QRMMemoryInfo::setSharedMemoryInfo(nullptr);
    return status;
}
