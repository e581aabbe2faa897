// The welcome window's own process, started by the tray program. It holds the
// web engine, whose memory only process exit gives back.
#include <unistd.h>

#include <csignal>

#include <QApplication>
#include <QLoggingCategory>

#include "BuildInfo.h"
#include "app/WelcomeMessages.h"
#include "localization/QRMLocalization.h"
#include "preferences/QRMConstants.h"
#include "preferences/QRMPreferencesManager.h"
#include "welcome/QRMWelcomePageWindow.h"
#include "welcome/QRMWelcomePageWindowController.h"
#include "welcome/TrayChannel.h"

using namespace tarnwell;

namespace {

// Chromium refuses to start as root with its sandbox on; a root session
// (a live system, a kiosk) gets the window without it rather than no window.
void allowRootWithoutSandbox() {
    if (::geteuid() == 0) {
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    }
}

constexpr std::chrono::seconds kReachabilityTimeout{10};

}  // namespace

int main(int argc, char **argv) {
    allowRootWithoutSandbox();
    // A tray that went away must not kill the window mid-sentence.
    std::signal(SIGPIPE, SIG_IGN);
    // The engine describes its GL set-up at every start; the tray's log is
    // no place for it.
    QLoggingCategory::setFilterRules(QStringLiteral("qt.webenginecontext.info=false"));
    QApplication app(argc, argv);

    const WelcomeSite site(QRMConstants::sharedConstants().siteURL());
    QRMWelcomePageWindow window(site);
    QRMWelcomePageWindowController controller({
        window,
        [](const QString &key) { return localized(key); },
        [] { return QRMPreferencesManager::sharedPreferencesManager().isWelcomeShown(); },
        site,
        QString::fromLatin1(kBuildNumber),
        QStringLiteral(":/welcome"),
        QByteArray(TARNWELL_SITE_REACHABILITY_TOKEN),
        kReachabilityTimeout,
    });
    TrayChannel tray(STDIN_FILENO, STDOUT_FILENO);

    QObject::connect(&tray, &TrayChannel::raiseRequested, &window,
                     &QRMWelcomePageWindow::bringToFront);
    QObject::connect(&tray, &TrayChannel::languageDidChanged, &controller,
                     &QRMWelcomePageWindowController::languageDidChanged);
    QObject::connect(&tray, &TrayChannel::trayGone, &window, &QWidget::close);
    QObject::connect(&window, &QRMWelcomePageWindow::showPreferencesWindow, &tray,
                     [&tray] { tray.send(welcome_messages::kShowPreferencesWindow); });
    QObject::connect(&window, &QRMWelcomePageWindow::firstPageLoaded, &tray,
                     [&tray] { tray.send(welcome_messages::kWindowDidLoad); });

    window.show();
    controller.languageDidChanged();
    return app.exec();
}
