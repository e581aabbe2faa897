#include "CleaningPlan.h"

#include <algorithm>

#include "RecordFigures.h"

namespace tarnwell {

namespace {

constexpr uint64_t kMinimumReserveBytes = uint64_t{256} << 20;

}  // namespace

uint64_t cleaningReserveBytes(uint64_t memTotalBytes) {
    return std::max(kMinimumReserveBytes, memTotalBytes / 20);
}

CleaningDecision planCleaning(const QRMStatisticsRecord &record) {
    const uint64_t freeBytes = exactBytes(record, keys::freeCount);
    if (!record.contains(keys::inactiveCount) || freeBytes == 0) {
        return {CleaningRefusal::NoUsableStatistics, std::nullopt, 0};
    }
    const uint64_t inactiveBytes = exactBytes(record, keys::inactiveCount);
    if (inactiveBytes == 0) {
        return {CleaningRefusal::NoUsableStatistics, std::nullopt, 0};
    }
    // Both are below 2^63 (32-bit counts times a 32-bit page size), so the
    // sum cannot wrap.
    const uint64_t sum = freeBytes + inactiveBytes;
    if (!record.contains(keys::availableBytes)) {
        return {std::nullopt, sum, sum};
    }
    const uint64_t availableBytes = unsignedValue(record, keys::availableBytes);
    const uint64_t reserve =
        cleaningReserveBytes(unsignedValue(record, keys::hardwarePhysicalMemory));
    if (availableBytes <= reserve) {
        return {CleaningRefusal::NoRoomAboveReserve, sum, 0};
    }
    const uint64_t block = std::min(sum, availableBytes - reserve);
    return {std::nullopt, block, block};
}

}  // namespace tarnwell
