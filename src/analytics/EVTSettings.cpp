#include "EVTSettings.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>

#include "EVTLog.h"

namespace tarnwell {

namespace {

// One table for every key, so a getter cannot drift from its default.
struct Setting {
    const char *section;
    const char *key;
    double defaultValue;
};

constexpr Setting kCollectAnalytics{"features", "collect_analytics", 1};
constexpr Setting kTrackCustomEvents{"analytics", "track_custom_events", 1};
constexpr Setting kTrackPredefinedEvents{"analytics", "track_predefined_events", 1};
constexpr Setting kMaxByteSizePerFile{"analytics", "max_byte_size_per_file", 8000};
constexpr Setting kMaxPendingSendFileCount{"analytics", "max_pending_send_file_count", 100};
constexpr Setting kFlushIntervalSecs{"analytics", "flush_interval_secs", 0};
constexpr Setting kSamplingRate{"analytics", "sampling_rate", 1};
constexpr Setting kUploadTimeoutSecs{"analytics", "upload_timeout_secs", 21600};

}  // namespace

EVTSettings EVTSettings::loadFromDirectory(const QString &directory, const QUrl &defaultEventsURL) {
    QFile file(QDir(directory).filePath(QString::fromLatin1(kFileName)));
    if (!file.exists()) {
        return EVTSettings({}, defaultEventsURL);
    }
    QJsonParseError error{};
    const QJsonDocument document = file.open(QIODevice::ReadOnly)
                                       ? QJsonDocument::fromJson(file.readAll(), &error)
                                       : QJsonDocument();
    if (!document.isObject()) {
        qCWarning(lcEvents).noquote()
            << QStringLiteral("Ignoring settings file %1: %2")
                   .arg(file.fileName(), file.error() != QFileDevice::NoError
                                             ? file.errorString()
                                             : error.errorString());
        return EVTSettings({}, defaultEventsURL);
    }
    return EVTSettings(document.object(), defaultEventsURL);
}

EVTSettings::EVTSettings(QJsonObject settings, QUrl defaultEventsURL)
    : settings_(std::move(settings)), defaultEventsURL_(std::move(defaultEventsURL)) {}

QJsonValue EVTSettings::value(const char *section, const char *key) const {
    return settings_.value(QLatin1String(section)).toObject().value(QLatin1String(key));
}

namespace {
bool boolean(const QJsonValue &value, const Setting &setting) {
    return value.toBool(setting.defaultValue != 0);
}
}  // namespace

QUrl EVTSettings::eventsURL() const {
    const QJsonValue url = value("analytics", "url");
    return url.isString() ? QUrl(url.toString()) : defaultEventsURL_;
}

bool EVTSettings::shouldCollectAnalytics() const {
    return boolean(value(kCollectAnalytics.section, kCollectAnalytics.key), kCollectAnalytics);
}

bool EVTSettings::shouldCollectCustomEvents() const {
    return boolean(value(kTrackCustomEvents.section, kTrackCustomEvents.key), kTrackCustomEvents);
}

bool EVTSettings::shouldCollectPredefinedEvents() const {
    return boolean(value(kTrackPredefinedEvents.section, kTrackPredefinedEvents.key),
                   kTrackPredefinedEvents);
}

qint64 EVTSettings::maximumPayloadSize() const {
    return value(kMaxByteSizePerFile.section, kMaxByteSizePerFile.key)
        .toInteger(static_cast<qint64>(kMaxByteSizePerFile.defaultValue));
}

qint64 EVTSettings::maxPendingSendFiles() const {
    return value(kMaxPendingSendFileCount.section, kMaxPendingSendFileCount.key)
        .toInteger(static_cast<qint64>(kMaxPendingSendFileCount.defaultValue));
}

double EVTSettings::flushInterval() const {
    return value(kFlushIntervalSecs.section, kFlushIntervalSecs.key)
        .toDouble(kFlushIntervalSecs.defaultValue);
}

qint64 EVTSettings::samplingRate() const {
    return value(kSamplingRate.section, kSamplingRate.key)
        .toInteger(static_cast<qint64>(kSamplingRate.defaultValue));
}

double EVTSettings::defaultUploadTimeout() const {
    return value(kUploadTimeoutSecs.section, kUploadTimeoutSecs.key)
        .toDouble(kUploadTimeoutSecs.defaultValue);
}

}  // namespace tarnwell
