#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tarnwell {

// One sample of the kernel's page counters, in the shape of the statistics
// record: page classes as 32-bit counts, event counters as 64-bit totals. A
// counter the platform does not have is 0.
struct VmStatistics {
    int32_t pageSize = 0;
    uint32_t freeCount = 0;
    uint32_t activeCount = 0;
    uint32_t inactiveCount = 0;
    uint32_t wireCount = 0;
    uint64_t zeroFillCount = 0;
    uint64_t reactivations = 0;
    uint64_t pageins = 0;
    uint64_t pageouts = 0;
    uint64_t faults = 0;
    uint64_t cowFaults = 0;
    uint64_t lookups = 0;
    uint64_t hits = 0;
    uint64_t purges = 0;
    uint32_t purgeableCount = 0;
    uint32_t speculativeCount = 0;
    uint64_t swapins = 0;
    uint64_t swapouts = 0;
    uint32_t throttledCount = 0;
    uint32_t externalPageCount = 0;
    uint32_t internalPageCount = 0;
    uint64_t decompressions = 0;
    uint64_t compressions = 0;
    uint32_t compressorPageCount = 0;
    uint64_t totalUncompressedPagesInCompressor = 0;
    // What the kernel says it can hand out without swapping.
    uint64_t availableBytes = 0;
};

struct SwapUsage {
    uint64_t totalBytes = 0;
    uint64_t availableBytes = 0;
    uint64_t usedBytes = 0;
    uint32_t pageSize = 0;
    bool encrypted = false;
};

// One reading of the kernel's figures. Each group either succeeds as a whole
// or is empty, so a failure never mixes fresh and stale figures of one group.
struct MemorySample {
    std::optional<uint64_t> userMemory;
    std::optional<VmStatistics> vmStatistics;
    std::optional<SwapUsage> swapUsage;
    // Why a group is missing, naming the file and the key ("/proc/meminfo:
    // missing MemFree"); empty when every group was read.
    std::string problem;
};

// Where the statistics record's figures come from.
class MemorySource {
public:
    virtual ~MemorySource() = default;

    virtual uint64_t physicalMemory() = 0;
    // Empty when the platform cannot tell; the record then holds 0.
    virtual std::optional<uint64_t> hardwareMemorySize() = 0;
    virtual std::optional<uint64_t> hardwarePhysicalMemory() = 0;

    // Everything a refresh needs in one go: the groups share files (on Linux
    // /proc/meminfo feeds all three), which are then read once.
    virtual MemorySample sample() = 0;
};

}  // namespace tarnwell
