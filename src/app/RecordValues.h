#pragma once

#include <string_view>

#include "memory/QRMNumber.h"
#include "memory/RecordFigures.h"

namespace tarnwell {

// A percentage as the menu and the status item read it: a missing key reads
// as 0.
inline double floatValue(const QRMStatisticsRecord &record, std::string_view key) {
    const auto it = record.find(key);
    return it == record.end() ? 0.0 : it->second.toDouble();
}

}  // namespace tarnwell
