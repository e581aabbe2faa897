#include "EVTSettings.h"

#include <fcntl.h>

#include <algorithm>
#include <climits>

#include <QDir>
#include <QFile>
#include <QJsonDocument>

#include "EVTKitFiles.h"
#include "EVTLog.h"
#include "crash/RegularFile.h"

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

// A few hundred bytes in practice; a file far larger is not ours.
constexpr size_t kLargestFile = 64 << 10;

// Bounds of every interval in seconds: what a timer can run on without spinning or
// wrapping its millisecond count.
constexpr double kShortestInterval = 1;
constexpr double kLongestInterval = INT_MAX / 1000;

}  // namespace

EVTSettings EVTSettings::loadFromDirectory(const QString &directory, const QUrl &defaultEventsURL) {
    const QString path = QDir(directory).filePath(QString::fromLatin1(kFileName));
    const crash::BoundedRead read =
        crash::readRegularFile(AT_FDCWD, QFile::encodeName(path).constData(), kLargestFile);
    if (read.refusal == crash::FileRefusal::Missing) {
        return EVTSettings({}, defaultEventsURL);
    }
    QJsonParseError error{};
    const QJsonDocument document =
        read.refusal == crash::FileRefusal::None
            ? QJsonDocument::fromJson(QByteArray::fromStdString(read.bytes), &error)
            : QJsonDocument();
    if (!document.isObject()) {
        qCWarning(lcEvents).noquote()
            << QStringLiteral("Ignoring settings file %1: %2")
                   .arg(path, read.refusal != crash::FileRefusal::None
                                  ? QString::fromLatin1(crash::describeRefusal(read.refusal))
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
// Larger files would not be taken for the kit's own when they are sent.
qint64 EVTSettings::maximumPayloadSize() const {
    return std::min(integer(kMaxByteSizePerFile), EVTKitFiles::kLargestPayloadSize);
}
qint64 EVTSettings::maxPendingSendFiles() const {
    return integer(kMaxPendingSendFileCount);
}
// 0 or less means no flush timer. A positive value below a second would make the
// worker spin, one beyond an int of milliseconds would wrap the timer's interval.
double EVTSettings::flushInterval() const {
    const double seconds = number(kFlushIntervalSecs);
    return seconds <= 0 ? 0 : std::clamp(seconds, kShortestInterval, kLongestInterval);
}
qint64 EVTSettings::samplingRate() const {
    return integer(kSamplingRate);
}
// A transfer timeout of 0 would mean none at all.
double EVTSettings::defaultUploadTimeout() const {
    return std::clamp(number(kUploadTimeoutSecs), kShortestInterval, kLongestInterval);
}

}  // namespace tarnwell
