#include "welcome/WelcomeSite.h"

#include "app/QRMMakeURL.h"

namespace tarnwell {

namespace {

// An explicit default port ("https://host:443") is the same address.
int effectivePort(const QUrl &url) {
    const int defaultPort = url.scheme() == u"https" ? 443 : url.scheme() == u"http" ? 80 : -1;
    return url.port(defaultPort);
}

}  // namespace

WelcomeSite::WelcomeSite(QString siteURL) : siteURL_(std::move(siteURL)), site_(siteURL_) {}

QUrl WelcomeSite::reachabilityURL() const {
    return QUrl(QStringLiteral("%1/%2/").arg(siteURL_, u"host/is/reachable"));
}

QString WelcomeSite::welcomePageName(bool isWelcomeShown, const QString &build) {
    QString name = QStringLiteral("welcome");
    if (!isWelcomeShown) {
        name += QStringLiteral("firstrun");
    }
    return name + build;
}

QUrl WelcomeSite::welcomePageURL(const QString &language, const QString &pageName) const {
    const QString query = QRMMakeURL().makeUTMParamsURLPartWith({}, {}, {}, {}, pageName);
    return QUrl(QStringLiteral("%1/%2/%3/?%4").arg(siteURL_, language, pageName, query));
}

WelcomeNavigation WelcomeSite::navigation(const QUrl &target, bool linkClicked) const {
    // Scheme, host and port all count: "https://site.evil.example" and
    // "https://user@evil.example/site" are not the site.
    const bool onSite = site_.isValid() && target.scheme() == site_.scheme() &&
                        target.host().compare(site_.host(), Qt::CaseInsensitive) == 0 &&
                        effectivePort(target) == effectivePort(site_) &&
                        target.userInfo().isEmpty();
    if (onSite || target.scheme() == u"qrc") {
        return WelcomeNavigation::Load;
    }
    const QString scheme = target.scheme();
    if (linkClicked && (scheme == u"http" || scheme == u"https" || scheme == u"mailto")) {
        return WelcomeNavigation::OpenInBrowser;
    }
    return WelcomeNavigation::Refuse;
}

}  // namespace tarnwell
