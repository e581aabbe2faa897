#pragma once

#include <QString>
#include <QUrl>

namespace tarnwell {

// Product constants that depend on the web site's base address: the three
// update feeds. The address is fixed at build time (TARNWELL_SITE_URL) and can
// be overridden at run time through the environment variable of the same name,
// so tests and staging builds can point the program at another server.
class QRMConstants {
public:
    static const QRMConstants &sharedConstants();

    // siteURL: scheme and host, trailing slashes are dropped.
    explicit QRMConstants(const QString &siteURL);

    // The address the process uses: the environment's TARNWELL_SITE_URL when set,
    // not empty and an https address (http only to this machine), else the build's.
    static QString configuredSiteURL();
    // Whether configuredSiteURL() is the environment's: such an address holds for one
    // run and is never stored.
    static bool siteURLOverridden();

    const QString &siteURL() const { return siteURL_; }
    const QUrl &updatesURL() const { return updatesURL_; }
    const QUrl &updatesBetaURL() const { return updatesBetaURL_; }
    const QUrl &updatesAlphaURL() const { return updatesAlphaURL_; }

private:
    QString siteURL_;
    QUrl updatesURL_;
    QUrl updatesBetaURL_;
    QUrl updatesAlphaURL_;
};

}  // namespace tarnwell
