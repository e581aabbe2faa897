#pragma once

#include <chrono>
#include <functional>

#include <QByteArray>
#include <QNetworkAccessManager>
#include <QObject>
#include <QString>

#include "app/Localizer.h"
#include "welcome/WelcomeSite.h"

namespace tarnwell {

class WelcomePageView;

// What the welcome window shows: its texts in the interface language, the
// local page of that language at once, and the product site's welcome page
// in its place once the site proves reachable.
class QRMWelcomePageWindowController : public QObject {
    Q_OBJECT
public:
    struct Services {
        WelcomePageView &view;
        Localizer localized;
        std::function<bool()> isWelcomeShown;
        WelcomeSite site;
        QString build;
        // Holds "<language>/index.html" for each language segment.
        QString pagesFolder;
        QByteArray reachabilityToken;
        std::chrono::milliseconds reachabilityTimeout;
    };

    explicit QRMWelcomePageWindowController(Services services, QObject *parent = nullptr);

    // Once the window is shown, and on every change of the interface
    // language: texts, the local page, a fresh reachability check. Checks
    // that overlap all run; each that succeeds loads the site's page.
    void languageDidChanged();
    void showRemoteWebPage();

    // Ctrl+W alone closes the window; with Shift, Alt or Meta as well, or
    // without Ctrl, the key is not for the window.
    static bool keyDownClosesWindow(Qt::KeyboardModifiers modifiers, int key);

private:
    QUrl localPageURL() const;
    void hostIsReachableInBackground();

    Services services_;
    QNetworkAccessManager network_;
};

}  // namespace tarnwell
