#include "EVTConfiguration.h"

#include <QDir>

#include "crash/TelemetryDirectory.h"

namespace tarnwell {

namespace {

QString fromEnvironment(const char *name, const char *buildValue) {
    const QString value = qEnvironmentVariable(name);
    return value.isEmpty() ? QString::fromUtf8(buildValue) : value;
}

}  // namespace

QString EVTConfiguration::rootDirectoryForBundle(const QString &bundleIdentifier) {
    const std::string base = crash::telemetryDirectory(bundleIdentifier.toStdString());
    if (base.empty()) {
        return {};
    }
    return QDir(QString::fromStdString(base)).filePath(QStringLiteral("analytics/v2"));
}

QString EVTConfiguration::installIdPath(const QString &rootDirectory) {
    return rootDirectory.isEmpty() ? QString()
                                   : QDir(rootDirectory).filePath(QStringLiteral("install_id"));
}

EVTConfiguration EVTConfiguration::forApplication(const QString &bundleIdentifier,
                                                  const QString &bundleShortVersion,
                                                  const QString &bundleVersion) {
    EVTConfiguration configuration;
    configuration.rootDirectory = rootDirectoryForBundle(bundleIdentifier);
    configuration.eventsURL = QUrl(fromEnvironment("TARNWELL_EVENTS_URL", TARNWELL_EVENTS_URL));
    configuration.apiKey = fromEnvironment("TARNWELL_EVENTS_KEY", TARNWELL_EVENTS_KEY);
    configuration.bundleIdentifier = bundleIdentifier;
    configuration.bundleVersion = bundleVersion;
    configuration.bundleShortVersion = bundleShortVersion;
    return configuration;
}

}  // namespace tarnwell
