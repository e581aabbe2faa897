#include "EVTMetadata.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <QFile>
#include <QLocale>
#include <QSysInfo>

#include "EVTConfiguration.h"
#include "EVTEvent.h"
#include "crash/BinaryImageLog.h"

namespace tarnwell {

namespace {

// The service tells platforms apart by a number; Linux hosts send this one.
constexpr uint32_t kLinuxPlatformCode = 3;

QString hostModel() {
    QFile file(QStringLiteral("/sys/class/dmi/id/product_name"));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QString::fromUtf8(file.readAll()).trimmed();
}

QString kernelBuild() {
    utsname name{};
    return uname(&name) == 0 ? QString::fromUtf8(name.version) : QString();
}

void insertIfPresent(QJsonObject &object, const char *key, const QString &value) {
    if (!value.isEmpty()) {
        object.insert(QLatin1String(key), value);
    }
}

}  // namespace

EVTMetadata EVTMetadata::current(const EVTConfiguration &configuration) {
    EVTMetadata metadata;
    QJsonObject &f = metadata.fields_;
    f.insert(QStringLiteral("generator"), QLatin1String(kGenerator));
    insertIfPresent(f, "api_key", configuration.apiKey);
    insertIfPresent(f, "session_id", configuration.sessionId);
    insertIfPresent(f, "install_id", configuration.installId);
    const QString model = hostModel();
    insertIfPresent(f, "model", model);
    insertIfPresent(f, "machine", model);
    insertIfPresent(f, "locale", QLocale::system().name());
    insertIfPresent(f, "os_build", kernelBuild());
    insertIfPresent(f, "os_version", QSysInfo::productVersion());
    f.insert(QStringLiteral("platform"), QLatin1String(kPlatform));
    f.insert(QStringLiteral("platform_code"), static_cast<qint64>(kLinuxPlatformCode));
    f.insert(QStringLiteral("cores"), static_cast<qint64>(sysconf(_SC_NPROCESSORS_ONLN)));
    f.insert(QStringLiteral("jailbroken"), false);
    insertIfPresent(f, "bundle_id", configuration.bundleIdentifier);
    insertIfPresent(f, "bundle_version", configuration.bundleVersion);
    insertIfPresent(f, "bundle_short_version", configuration.bundleShortVersion);
    insertIfPresent(f, "instance_id",
                    QString::fromLatin1(crash::BinaryImageLog::mainExecutableDetails().uuid));
    return metadata;
}

QJsonObject EVTMetadata::payload(double startedAt) const {
    QJsonObject payload = fields_;
    payload.insert(QStringLiteral("started_at"), static_cast<qint64>(startedAt));
    return payload;
}

QByteArray EVTMetadata::line(double startedAt) const {
    return EVTEvent::formatLine(startedAt, QStringLiteral("metadata"), payload(startedAt));
}

}  // namespace tarnwell
