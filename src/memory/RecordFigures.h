#pragma once

#include <cstdint>
#include <string_view>

#include "QRMNumber.h"
#include "QRMRecordKeys.h"

namespace tarnwell {

// A record figure as its readers take it: a missing key reads as 0.
inline uint64_t unsignedValue(const QRMStatisticsRecord &record, std::string_view key) {
    const auto found = record.find(key);
    return found == record.end() ? 0 : found->second.toUInt64();
}

// The exact size of a page class: its page count times the page size, in 64
// bits. The record's 32-bit byte figures wrap at 4 GiB, which MemFree passes
// on most desktops, so every size a person reads or a threshold compares
// comes from here instead. 0 when the count or the page size is missing.
inline uint64_t exactBytes(const QRMStatisticsRecord &record, std::string_view countKey) {
    const auto pageSize = record.find(keys::pageSize);
    if (pageSize == record.end() || pageSize->second.toInt64() <= 0) {
        return 0;
    }
    return unsignedValue(record, countKey) * static_cast<uint64_t>(pageSize->second.toInt64());
}

}  // namespace tarnwell
