#include "app/CleaningStatistics.h"

#include <array>

#include "memory/DecimalText.h"

namespace tarnwell {

RunningTotal addFreedBytes(RunningTotal total, uint64_t freedBytes) {
    uint64_t scaled = freedBytes;
    for (int64_t d = total.digit; d > 0 && scaled != 0; --d) {
        scaled >>= 10;
    }
    uint64_t sum = 0;
    if (__builtin_add_overflow(scaled, total.count, &sum)) {
        ++total.digit;
        sum = (scaled >> 10) + (total.count >> 10);
    }
    total.count = sum;
    return total;
}

QString totallyCleanedString(RunningTotal total) {
    static constexpr std::array<const char *, 9> kUnits{"B",  "KB", "MB", "GB", "TB",
                                                        "PB", "EB", "ZB", "YB"};
    double value = double(total.count);
    int64_t digit = total.digit;
    // The entry test is on the stored count and the loop's on the scaled value;
    // the two bounds differ on purpose, so 1000..1023 B read as 0.98..1.00 KB.
    if (total.count >= 1000) {
        do {
            value *= 0.0009765625;
            ++digit;
        } while (value > 999.0);
    }
    const char *unit = digit >= 0 && digit < int64_t(kUnits.size()) ? kUnits[size_t(digit)] : "B";
    return QString::fromStdString(twoDecimals(value)) + QLatin1Char(' ') + QLatin1String(unit);
}

}  // namespace tarnwell
