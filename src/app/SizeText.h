#pragma once

#include <cstdint>

#include <QString>

#include "memory/DecimalText.h"
#include "memory/QRMMemoryInfo.h"

namespace tarnwell {

// A size as the user reads it: the one formatter, abbreviated units.
inline QString sizeText(uint64_t bytes, bool withStandartLenght) {
    return QString::fromStdString(
        QRMMemoryInfo::adaptiveMemorySize(bytes, true, false, withStandartLenght));
}

// A percentage as "%.2f %%" shows it: C's rounding of ties, a point in
// every language.
inline QString percentText(double percent) {
    return QString::fromStdString(twoDecimals(percent)) + QStringLiteral(" %");
}

}  // namespace tarnwell
