#pragma once

#include <cstdint>
#include <optional>

#include "QRMNumber.h"

namespace tarnwell {

// Why the engine did not start a cleaning.
enum class CleaningRefusal {
    AlreadyCleaning,     // a cleaning is under way, in this process or another of the user's
    NoUsableStatistics,  // free or inactive memory missing or 0
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
// The block is free plus inactive memory, each its exact page count times the
// page size (the record's 32-bit byte figures wrap at 4 GiB, and a block
// sized from them freed 0.04x of what dropping the caches did on a 24 GiB
// machine). Linux commits memory lazily and has no compressor to absorb the
// block, so where the record carries "availableBytes" the block is capped at
// that less the reserve: past it the out-of-memory killer wakes instead of
// the caches giving way. The cap, not a wrap, is what bounds the block.
CleaningDecision planCleaning(const QRMStatisticsRecord &record);

}  // namespace tarnwell
