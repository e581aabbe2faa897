#pragma once

#include <cstdint>
#include <optional>

#include "QRMNumber.h"

namespace tarnwell {

// Why the engine did not start a cleaning.
enum class CleaningRefusal {
    AlreadyCleaning,     // a cleaning thread still owns its block
    NoUsableStatistics,  // free or inactive memory missing, 0 or all ones
    NoRoomAboveReserve,  // available memory is within the reserve kept for the system
    CouldNotStart,       // the block or the cleaning thread could not be created
};

struct CleaningDecision {
    std::optional<CleaningRefusal> refusal;  // empty when the cleaning starts
    // What the engine stores in operationalBytes; empty leaves it unchanged.
    std::optional<uint64_t> operationalBytes;
    uint64_t blockBytes = 0;  // the size of the block to make resident

    bool started() const { return !refusal; }
};

// Bytes the kernel keeps for itself during a cleaning: the larger of 256 MiB
// and 5 % of MemTotal.
uint64_t cleaningReserveBytes(uint64_t memTotalBytes);

// The pure decision behind a cleaning: how large a block, given a record.
// The block is free plus inactive memory as the record stores them (both
// 32-bit byte values, so each wraps at 4 GiB). Linux commits memory lazily
// and has no compressor to absorb the block, so where the record carries
// "availableBytes" the block is further capped at that less the reserve:
// going past it would wake the out-of-memory killer instead of freeing caches.
CleaningDecision planCleaning(const QRMStatisticsRecord &record);

}  // namespace tarnwell
