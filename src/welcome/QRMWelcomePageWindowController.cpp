#include "welcome/QRMWelcomePageWindowController.h"

#include <cstdio>

#include <QFileInfo>

#include "welcome/HostReachabilityCheck.h"
#include "welcome/WelcomePageView.h"

namespace tarnwell {

QRMWelcomePageWindowController::QRMWelcomePageWindowController(Services services, QObject *parent)
    : QObject(parent), services_(std::move(services)) {}

bool QRMWelcomePageWindowController::keyDownClosesWindow(Qt::KeyboardModifiers modifiers, int key) {
    // The keypad flag says where a key sits, not what the user held down.
    const Qt::KeyboardModifiers held = modifiers & ~Qt::KeypadModifier;
    return held == Qt::ControlModifier && key == Qt::Key_W;
}

void QRMWelcomePageWindowController::languageDidChanged() {
    services_.view.setTexts(services_.localized(QStringLiteral("WelcomeToTarnwell")),
                            services_.localized(QStringLiteral("startDiscoverThePreferences")),
                            services_.localized(QStringLiteral("Preferences")));
    services_.view.loadPage(localPageURL());
    hostIsReachableInBackground();
}

QUrl QRMWelcomePageWindowController::localPageURL() const {
    const QString path =
        QStringLiteral("%1/%2/index.html")
            .arg(services_.pagesFolder, services_.localized(QStringLiteral("language")));
    if (!QFileInfo(path).isFile()) {
        std::fprintf(stderr, "tarnwell-welcome: no welcome page at %s\n", qPrintable(path));
        return QUrl(QStringLiteral("about:blank"));
    }
    // Pages compiled in sit under ":/"; the web engine reaches them as qrc:.
    return path.startsWith(u':') ? QUrl(QStringLiteral("qrc") + path) : QUrl::fromLocalFile(path);
}

void QRMWelcomePageWindowController::hostIsReachableInBackground() {
    // The network access manager works on its own thread; the answer comes
    // back here, on the main thread, without anyone waiting for it.
    auto *check =
        new HostReachabilityCheck(network_, services_.site.reachabilityURL(),
                                  services_.reachabilityToken, services_.reachabilityTimeout, this);
    connect(check, &HostReachabilityCheck::finished, this, [this, check](bool reachable) {
        check->deleteLater();
        if (reachable) {
            showRemoteWebPage();
        }
    });
    check->start();
}

void QRMWelcomePageWindowController::showRemoteWebPage() {
    const QString pageName =
        WelcomeSite::welcomePageName(services_.isWelcomeShown(), services_.build);
    services_.view.loadPage(
        services_.site.welcomePageURL(services_.localized(QStringLiteral("language")), pageName));
}

}  // namespace tarnwell
