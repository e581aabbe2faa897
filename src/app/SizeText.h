#pragma once

#include <cstdint>

#include <QString>

#include "memory/QRMMemoryInfo.h"

namespace tarnwell {

// A size as the user reads it: the one formatter, abbreviated units.
inline QString sizeText(uint64_t bytes, bool withStandartLenght) {
    return QString::fromStdString(
        QRMMemoryInfo::adaptiveMemorySize(bytes, true, false, withStandartLenght));
}

}  // namespace tarnwell
