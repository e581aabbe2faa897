#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>
#include <optional>
#include <variant>

namespace tarnwell {

// One release of an appcast feed: an RSS 2.0 item with the release framework's
// namespaced elements and one enclosure.
struct AppcastItem {
    QString title;
    QString version;         // sparkle:version, the build number compared
    QString displayVersion;  // sparkle:shortVersionString, shown to people
    QString minimumSystemVersion;
    QUrl releaseNotesLink;
    QString itemDescription;  // HTML release notes given inline
    QUrl url;                 // the enclosure
    qint64 length = 0;
    QString type;
    QByteArray edSignature;  // raw bytes, decoded from base64

    // The version a person reads: the short version, else the build number.
    QString versionForDisplay() const {
        return displayVersion.isEmpty() ? version : displayVersion;
    }
};

struct AppcastError {
    QString message;
};

// Reads a feed. Items without a version, or without an enclosure carrying a
// usable address, positive length and signature, are dropped: nothing could
// be installed from them. Relative addresses are resolved against feedURL.
// A feed that is not well-formed RSS is an error; one whose items are all
// dropped is an empty list.
std::variant<QList<AppcastItem>, AppcastError> parseAppcast(const QByteArray &feed,
                                                            const QUrl &feedURL);

// The item with the highest version among those this system may run, or
// nothing. An item's minimum system version is compared with systemVersion.
std::optional<AppcastItem> newestItem(const QList<AppcastItem> &items,
                                      const QString &systemVersion);

}  // namespace tarnwell
