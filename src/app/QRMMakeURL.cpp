#include "app/QRMMakeURL.h"

#include "BuildInfo.h"

namespace tarnwell {

QString QRMMakeURL::makeUTMParamsURLPartWith(const std::optional<QString> &source,
                                             const std::optional<QString> &medium,
                                             const std::optional<QString> &term,
                                             const std::optional<QString> &content,
                                             const std::optional<QString> &campaign) const {
    return QStringLiteral("utm_source=%1&utm_medium=%2&utm_term=%3&utm_content=%4&utm_campaign=%5")
        .arg(source.value_or(QStringLiteral("app")),
             medium.value_or(QString::fromLatin1(kBundleIdentifier)),
             term.value_or(QString::fromLatin1(kMarketingVersion)),
             content.value_or(QString::fromLatin1(kBuildNumber)),
             campaign.value_or(QStringLiteral("link")));
}

}  // namespace tarnwell
