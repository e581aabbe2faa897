#pragma once

#include <functional>

#include <QString>

namespace tarnwell {

// Looks a localization key up in the current interface language; an unknown
// key comes back unchanged.
using Localizer = std::function<QString(const QString &key)>;

}  // namespace tarnwell
