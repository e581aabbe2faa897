#pragma once

#include <optional>

#include <QString>

namespace tarnwell {

// Builds the campaign query attached to every address of the product site,
// so the site can tell which command, version and build a visitor came from.
class QRMMakeURL {
public:
    // An absent argument takes its default: source "app", medium the bundle
    // identifier, term the marketing version, content the build number,
    // campaign "link". Values go in as given, unescaped; no leading "?".
    QString makeUTMParamsURLPartWith(const std::optional<QString> &source,
                                     const std::optional<QString> &medium,
                                     const std::optional<QString> &term,
                                     const std::optional<QString> &content,
                                     const std::optional<QString> &campaign) const;
};

}  // namespace tarnwell
