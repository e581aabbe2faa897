#pragma once

#include <cstdint>

#include <QString>

namespace tarnwell {

// The running total of freed memory is kept as a count and a digit: the total
// in bytes is count * 1024^digit. Each time the count would overflow 64 bits,
// both addends are divided by 1024 and the digit rises, so the total loses
// precision instead of wrapping. Both values are persisted as they are.
struct RunningTotal {
    uint64_t count = 0;
    int64_t digit = 0;

    bool operator==(const RunningTotal &) const = default;
};

// Adds freed bytes, scaled down to the total's digit first.
RunningTotal addFreedBytes(RunningTotal total, uint64_t freedBytes);

// The total as "%.2f <unit>", e.g. "1.50 GB". The unit names are not localized.
QString totallyCleanedString(RunningTotal total);

}  // namespace tarnwell
