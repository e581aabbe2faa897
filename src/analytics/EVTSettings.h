#pragma once

#include <QJsonObject>
#include <QString>
#include <QUrl>

namespace tarnwell {

// The kit's tunables. Built-in defaults, each overridable by the same
// section and key in a settings file, so a deployment or a test can change
// limits without a rebuild.
class EVTSettings {
public:
    static constexpr char kFileName[] = "settings.json";

    // Settings from "<directory>/settings.json" over the defaults. A missing
    // file gives the defaults; an unreadable one is reported and ignored.
    static EVTSettings loadFromDirectory(const QString &directory, const QUrl &defaultEventsURL);
    EVTSettings(QJsonObject settings, QUrl defaultEventsURL);

    QUrl eventsURL() const;
    bool shouldCollectAnalytics() const;
    bool shouldCollectCustomEvents() const;
    bool shouldCollectPredefinedEvents() const;
    qint64 maximumPayloadSize() const;
    qint64 maxPendingSendFiles() const;
    // Intervals in seconds, within what a timer holds (flushInterval 0: no timer).
    double flushInterval() const;
    qint64 samplingRate() const;
    double defaultUploadTimeout() const;

    const QJsonObject &dictionary() const { return settings_; }

    // One setting: where it lives in the file and its built-in value.
    struct Setting {
        const char *section;
        const char *key;
        double defaultValue;
    };

private:
    QJsonValue value(const char *section, const char *key) const;
    bool flag(const Setting &setting) const;
    qint64 integer(const Setting &setting) const;
    double number(const Setting &setting) const;

    QJsonObject settings_;
    QUrl defaultEventsURL_;
};

}  // namespace tarnwell
