#include "EVTSettings.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>

#include "EVTLog.h"

namespace tarnwell {

namespace {

// One table for every key, so a getter cannot drift from its default.
constexpr EVTSettings::Setting kCollectAnalytics{"features", "collect_analytics", 1};
constexpr EVTSettings::Setting kTrackCustomEvents{"analytics", "track_custom_events", 1};
constexpr EVTSettings::Setting kTrackPredefinedEvents{"analytics", "track_predefined_events", 1};
constexpr EVTSettings::Setting kMaxByteSizePerFile{"analytics", "max_byte_size_per_file", 8000};
constexpr EVTSettings::Setting kMaxPendingSendFileCount{"analytics", "max_pending_send_file_count",
                                                        100};
constexpr EVTSettings::Setting kFlushIntervalSecs{"analytics", "flush_interval_secs", 0};
constexpr EVTSettings::Setting kSamplingRate{"analytics", "sampling_rate", 1};
constexpr EVTSettings::Setting kUploadTimeoutSecs{"analytics", "upload_timeout_secs", 21600};

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

// A value of the wrong JSON type counts as missing.
bool EVTSettings::flag(const Setting &setting) const {
    return value(setting.section, setting.key).toBool(setting.defaultValue != 0);
}

qint64 EVTSettings::integer(const Setting &setting) const {
    return value(setting.section, setting.key).toInteger(static_cast<qint64>(setting.defaultValue));
}

double EVTSettings::number(const Setting &setting) const {
    return value(setting.section, setting.key).toDouble(setting.defaultValue);
}

QUrl EVTSettings::eventsURL() const {
    const QJsonValue url = value("analytics", "url");
    return url.isString() ? QUrl(url.toString()) : defaultEventsURL_;
}

bool EVTSettings::shouldCollectAnalytics() const {
    return flag(kCollectAnalytics);
}
bool EVTSettings::shouldCollectCustomEvents() const {
    return flag(kTrackCustomEvents);
}
bool EVTSettings::shouldCollectPredefinedEvents() const {
    return flag(kTrackPredefinedEvents);
}
qint64 EVTSettings::maximumPayloadSize() const {
    return integer(kMaxByteSizePerFile);
}
qint64 EVTSettings::maxPendingSendFiles() const {
    return integer(kMaxPendingSendFileCount);
}
double EVTSettings::flushInterval() const {
    return number(kFlushIntervalSecs);
}
qint64 EVTSettings::samplingRate() const {
    return integer(kSamplingRate);
}
double EVTSettings::defaultUploadTimeout() const {
    return number(kUploadTimeoutSecs);
}

}  // namespace tarnwell
