#include <array>
#include <string>
#include <string_view>

#include <QApplication>

#include "app/ApplicationSession.h"
#include "cli/CommandLine.h"
#include "cli/SettingsCommand.h"
#include "platform/linux/QRMUserNotificationsManager.h"
#include "ui/StatusItemViewFactory.h"

using namespace tarnwell;

namespace {

constexpr std::array kSubcommands{
    cli::Subcommand{"settings", "list, show, change or reset the settings", cli::runSettings},
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
    return runSession(app, statusItem.get(),
                      &QRMUserNotificationsManager::sharedUserNotificationsManager(), nullptr);
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
