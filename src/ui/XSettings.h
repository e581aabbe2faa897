#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace tarnwell {

// A string setting from an XSETTINGS blob (the _XSETTINGS_SETTINGS property of
// the settings manager), or nothing when the blob lacks it or is malformed.
// The blob comes from another client, so every length is checked.
std::optional<QString> xsettingsString(const QByteArray &blob, const QByteArray &name);

}  // namespace tarnwell
