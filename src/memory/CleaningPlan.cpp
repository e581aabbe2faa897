#include "CleaningPlan.h"

#include <algorithm>
#include <limits>

#include "QRMRecordKeys.h"

namespace tarnwell {

namespace {

constexpr uint64_t kAllOnes = std::numeric_limits<uint64_t>::max();
constexpr uint64_t kMinimumReserveBytes = uint64_t{256} << 20;

std::optional<uint64_t> figure(const QRMStatisticsRecord &record, std::string_view key) {
    const auto found = record.find(key);
    if (found == record.end()) {
        return std::nullopt;
    }
    return found->second.toUInt64();
}

bool usable(uint64_t bytes) {
    return bytes != 0 && bytes != kAllOnes;
}

}  // namespace

uint64_t cleaningReserveBytes(uint64_t memTotalBytes) {
    return std::max(kMinimumReserveBytes, memTotalBytes / 20);
}

CleaningDecision planCleaning(const QRMStatisticsRecord &record) {
    const uint64_t freeBytes = figure(record, keys::freeBytes).value_or(0);
    const auto inactiveBytes = figure(record, keys::inactiveBytes);
    if (!inactiveBytes || !usable(freeBytes) || !usable(*inactiveBytes)) {
        return {CleaningRefusal::NoUsableStatistics, std::nullopt, 0};
    }
    const uint64_t sum = freeBytes + *inactiveBytes;
    if (!usable(sum)) {
        return {CleaningRefusal::NoUsableStatistics, sum, 0};
    }
    const auto availableBytes = figure(record, keys::availableBytes);
    if (!availableBytes) {
        return {std::nullopt, sum, sum};
    }
    const uint64_t reserve =
        cleaningReserveBytes(figure(record, keys::hardwarePhysicalMemory).value_or(0));
    if (*availableBytes <= reserve) {
        return {CleaningRefusal::NoRoomAboveReserve, sum, 0};
    }
    const uint64_t block = std::min(sum, *availableBytes - reserve);
    return {std::nullopt, block, block};
}

}  // namespace tarnwell
