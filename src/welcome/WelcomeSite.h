#pragma once

#include <QString>
#include <QUrl>

namespace tarnwell {

// What a link or a redirect inside the welcome view leads to.
enum class WelcomeNavigation {
    Load,           // stays in the view
    OpenInBrowser,  // a link off the site: the user's default browser shows it
    Refuse,         // neither: the view stays where it is
};

// The product site as the welcome window sees it: where to ask whether it
// answers, which page to show, and which addresses belong to it.
class WelcomeSite {
public:
    // siteURL: scheme and host (and port), no trailing slash.
    explicit WelcomeSite(QString siteURL);

    // "<site>/host/is/reachable/".
    QUrl reachabilityURL() const;
    // "welcome", then "firstrun" until the window was first closed, then the
    // build number: a first run of build 120 gives "welcomefirstrun120".
    static QString welcomePageName(bool isWelcomeShown, const QString &build);
    // "<site>/<language>/<page>/?<campaign query>", the page name as campaign.
    QUrl welcomePageURL(const QString &language, const QString &pageName) const;

    // The local pages (compiled in) and the site's own addresses load in the
    // view; a link elsewhere opens in the browser; anything else is refused.
    WelcomeNavigation navigation(const QUrl &target, bool linkClicked) const;

private:
    QString siteURL_;
    QUrl site_;
};

}  // namespace tarnwell
