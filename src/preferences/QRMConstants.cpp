#include "preferences/QRMConstants.h"

#include <optional>

#include "preferences/QRMSettingRange.h"

namespace tarnwell {

namespace {

QString withoutTrailingSlashes(QString address) {
    while (address.endsWith(u'/')) {
        address.chop(1);
    }
    return address;
}

}  // namespace

QRMConstants::QRMConstants(const QString &siteURL)
    : siteURL_(withoutTrailingSlashes(siteURL.trimmed())),
      updatesURL_(QStringLiteral("%1/%2/%3").arg(siteURL_, u"download", u"appcast.xml")),
      updatesBetaURL_(
          QStringLiteral("%1/%2/%3/%4").arg(siteURL_, u"download", u"beta", u"appcast.xml")),
      updatesAlphaURL_(
          QStringLiteral("%1/%2/%3/%4").arg(siteURL_, u"download", u"alpha", u"appcast.xml")) {}

namespace {

std::optional<QString> siteURLOverride() {
    const QString fromEnvironment = qEnvironmentVariable("TARNWELL_SITE_URL").trimmed();
    if (fromEnvironment.isEmpty()) {
        return std::nullopt;
    }
    if (!isAcceptedFeedAddress(QUrl(fromEnvironment))) {
        qWarning(
            "TARNWELL_SITE_URL ignored: an https address is needed (http only to this "
            "machine)");
        return std::nullopt;
    }
    return fromEnvironment;
}

}  // namespace

QString QRMConstants::configuredSiteURL() {
    return siteURLOverride().value_or(QStringLiteral(TARNWELL_SITE_URL));
}

bool QRMConstants::siteURLOverridden() {
    return siteURLOverride().has_value();
}

const QRMConstants &QRMConstants::sharedConstants() {
    static const QRMConstants constants(configuredSiteURL());
    return constants;
}

}  // namespace tarnwell
