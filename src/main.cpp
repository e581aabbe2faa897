#include <array>
#include <cstdio>
#include <string>
#include <string_view>

#include <QApplication>

#include "BuildInfo.h"
#include "analytics/facade/QRMEventManager.h"
#include "app/ApplicationSession.h"
#include "app/ConsoleViews.h"
#include "app/UsageEvents.h"
#include "cli/CommandLine.h"
#include "cli/MemoryCommands.h"
#include "cli/SettingsCommand.h"
#include "platform/linux/QRMUserNotificationsManager.h"
#include "ui/StatusItemViewFactory.h"

using namespace tarnwell;

namespace {

constexpr std::array kSubcommands{
    cli::Subcommand{"stats", "[--json] [--watch [SECONDS]]  print the memory statistics",
                    cli::runStats},
    cli::Subcommand{"clean", "[--json]  free memory now and print how much was freed",
                    cli::runClean},
    cli::Subcommand{"settings", "list, show, change or reset the settings", cli::runSettings},
};

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
    return runSession(app, statusItem.get(),
                      &QRMUserNotificationsManager::sharedUserNotificationsManager(), &usageEvents);
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
    return cli::dispatch(argc, argv, kSubcommands, runApplication);
}
