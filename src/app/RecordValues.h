#pragma once

#include <cstdint>
#include <string_view>

#include "memory/QRMNumber.h"
#include "memory/QRMRecordKeys.h"

namespace tarnwell {

// Record figures as the menu and the policy read them: a missing key reads as 0.
inline uint64_t unsignedValue(const QRMStatisticsRecord &record, std::string_view key) {
    const auto it = record.find(key);
    return it == record.end() ? 0 : it->second.toUInt64();
}

inline double floatValue(const QRMStatisticsRecord &record, std::string_view key) {
    const auto it = record.find(key);
    return it == record.end() ? 0.0 : it->second.toDouble();
}

}  // namespace tarnwell
