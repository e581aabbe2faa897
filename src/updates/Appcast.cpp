#include "updates/Appcast.h"

#include <QXmlStreamReader>

#include "updates/VersionComparator.h"

namespace tarnwell {

namespace {

constexpr QLatin1StringView kSparkleNamespace(
    "http://www.andymatuschak.org/xml-namespaces/sparkle");

// A feed lists every release ever made; a few thousand is already absurd.
constexpr qsizetype kMaximumItems = 5000;

bool isSparkle(const QXmlStreamReader &xml, QStringView name) {
    return xml.namespaceUri() == kSparkleNamespace && xml.name() == name;
}

void readEnclosure(const QXmlStreamAttributes &attributes, const QUrl &feedURL, AppcastItem &item) {
    const QString url = attributes.value(QLatin1StringView("url")).toString().trimmed();
    item.url = url.isEmpty() ? QUrl() : feedURL.resolved(QUrl(url));
    bool lengthIsNumber = false;
    const qint64 length = attributes.value(QLatin1StringView("length")).toLongLong(&lengthIsNumber);
    item.length = lengthIsNumber ? length : 0;
    item.type = attributes.value(QLatin1StringView("type")).toString();
    item.edSignature = QByteArray::fromBase64(
        attributes.value(kSparkleNamespace, QLatin1StringView("edSignature")).toLatin1(),
        QByteArray::AbortOnBase64DecodingErrors);
    // Older feeds carry the versions on the enclosure instead of the item.
    if (item.version.isEmpty()) {
        item.version =
            attributes.value(kSparkleNamespace, QLatin1StringView("version")).toString().trimmed();
    }
    if (item.displayVersion.isEmpty()) {
        item.displayVersion =
            attributes.value(kSparkleNamespace, QLatin1StringView("shortVersionString"))
                .toString()
                .trimmed();
    }
}

AppcastItem readItem(QXmlStreamReader &xml, const QUrl &feedURL) {
    AppcastItem item;
    while (xml.readNextStartElement()) {
        if (xml.name() == u"enclosure" && xml.namespaceUri().isEmpty()) {
            readEnclosure(xml.attributes(), feedURL, item);
            xml.skipCurrentElement();
        } else if (isSparkle(xml, u"version")) {
            item.version = xml.readElementText().trimmed();
        } else if (isSparkle(xml, u"shortVersionString")) {
            item.displayVersion = xml.readElementText().trimmed();
        } else if (isSparkle(xml, u"minimumSystemVersion")) {
            item.minimumSystemVersion = xml.readElementText().trimmed();
        } else if (isSparkle(xml, u"releaseNotesLink")) {
            item.releaseNotesLink = feedURL.resolved(QUrl(xml.readElementText().trimmed()));
        } else if (xml.name() == u"title" && xml.namespaceUri().isEmpty()) {
            item.title = xml.readElementText().trimmed();
        } else if (xml.name() == u"description" && xml.namespaceUri().isEmpty()) {
            item.itemDescription = xml.readElementText().trimmed();
        } else {
            xml.skipCurrentElement();
        }
    }
    return item;
}

bool isInstallable(const AppcastItem &item) {
    return !item.version.isEmpty() && item.url.isValid() && !item.url.isRelative() &&
           item.length > 0 && !item.edSignature.isEmpty();
}

}  // namespace

std::variant<QList<AppcastItem>, AppcastError> parseAppcast(const QByteArray &feed,
                                                            const QUrl &feedURL) {
    QXmlStreamReader xml(feed);
    QList<AppcastItem> items;
    bool sawChannel = false;
    if (!xml.readNextStartElement() || xml.name() != u"rss") {
        return AppcastError{QStringLiteral("not an RSS feed")};
    }
    while (xml.readNextStartElement()) {
        if (xml.name() != u"channel") {
            xml.skipCurrentElement();
            continue;
        }
        sawChannel = true;
        while (xml.readNextStartElement()) {
            if (xml.name() != u"item") {
                xml.skipCurrentElement();
                continue;
            }
            AppcastItem item = readItem(xml, feedURL);
            if (isInstallable(item) && items.size() < kMaximumItems) {
                items.append(std::move(item));
            }
        }
    }
    if (xml.hasError()) {
        return AppcastError{
            QStringLiteral("line %1: %2").arg(xml.lineNumber()).arg(xml.errorString())};
    }
    if (!sawChannel) {
        return AppcastError{QStringLiteral("the feed has no channel")};
    }
    return items;
}

std::optional<AppcastItem> newestItem(const QList<AppcastItem> &items,
                                      const QString &systemVersion) {
    const AppcastItem *newest = nullptr;
    for (const AppcastItem &item : items) {
        if (!item.minimumSystemVersion.isEmpty() &&
            compareVersions(systemVersion, item.minimumSystemVersion) < 0) {
            continue;
        }
        if (!newest || compareVersions(item.version, newest->version) > 0) {
            newest = &item;
        }
    }
    return newest ? std::optional(*newest) : std::nullopt;
}

}  // namespace tarnwell
