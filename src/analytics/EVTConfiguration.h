#pragma once

#include <QString>
#include <QUrl>

namespace tarnwell {

// What the kit is told about the application and where to send events.
struct EVTConfiguration {
    // The kit's folder: "<data dir>/telemetry.data/<bundle id>/analytics/v2".
    QString rootDirectory;
    // Events are uploaded only when both are set; otherwise they are kept
    // on disk and pruned by the pending-file limit.
    QUrl eventsURL;
    QString apiKey;
    QString bundleIdentifier;
    QString bundleVersion;       // the build number
    QString bundleShortVersion;  // the marketing version
    // The user's choice; off, the kit records and sends nothing and removes
    // the event files it finds.
    bool collectionEnabled = true;
    // The run's identity, shared with the crash reporter; without an install
    // identifier the kit keeps one of its own in its folder.
    QString installId;
    QString sessionId;

    // The build's endpoint and account key, each replaced by
    // TARNWELL_EVENTS_URL / TARNWELL_EVENTS_KEY when set in the environment.
    static EVTConfiguration forApplication(const QString &bundleIdentifier,
                                           const QString &bundleShortVersion,
                                           const QString &bundleVersion);

    static QString rootDirectoryForBundle(const QString &bundleIdentifier);
    // Where the installation's identifier is kept: in the kit's folder, empty without one.
    static QString installIdPath(const QString &rootDirectory);
};

}  // namespace tarnwell
