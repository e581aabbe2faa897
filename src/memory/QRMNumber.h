#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace tarnwell {

// A number that remembers the type it was stored in. The statistics record
// keeps each figure in a fixed type (several byte values are deliberately
// 32-bit and wrap at 4 GiB), and readers convert on the way out.
class QRMNumber {
public:
    enum class Type { UInt32, UInt64, Int32, Float };

    QRMNumber() = default;
    static QRMNumber fromUInt32(uint32_t v);
    static QRMNumber fromUInt64(uint64_t v);
    static QRMNumber fromInt32(int32_t v);
    static QRMNumber fromFloat(float v);

    Type type() const { return type_; }
    // Conversions follow C's rules for the stored type (a negative Int32 read
    // as unsigned wraps, a float is truncated toward zero).
    uint64_t toUInt64() const;
    int64_t toInt64() const;
    double toDouble() const;

    bool operator==(const QRMNumber &other) const;

private:
    Type type_ = Type::UInt64;
    union {
        uint32_t u32;
        uint64_t u64;
        int32_t i32;
        float f;
    } value_{.u64 = 0};
};

// Key -> figure. Keys are the statistics record's names ("freeBytes", ...).
using QRMStatisticsRecord = std::map<std::string, QRMNumber, std::less<>>;

}  // namespace tarnwell
