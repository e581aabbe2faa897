#include "preferences/QRMConstants.h"

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

QString QRMConstants::configuredSiteURL() {
    const QString fromEnvironment = qEnvironmentVariable("TARNWELL_SITE_URL").trimmed();
    return fromEnvironment.isEmpty() ? QStringLiteral(TARNWELL_SITE_URL) : fromEnvironment;
}

const QRMConstants &QRMConstants::sharedConstants() {
    static const QRMConstants constants(configuredSiteURL());
    return constants;
}

}  // namespace tarnwell
