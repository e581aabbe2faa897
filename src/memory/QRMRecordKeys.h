#pragma once

#include <array>
#include <string_view>

namespace tarnwell::keys {

// The statistics record's keys. Readers use these names instead of string
// literals so that a misspelt key fails to compile. Some keys are misspelt on
// purpose ("zerroFillCount", "purgableCount", "xsuEncripted") and stay so.
inline constexpr std::string_view physicalMemory = "physicalMemory";
inline constexpr std::string_view hardwareMemorySize = "hardwareMemorySize";
inline constexpr std::string_view hardwarePhysicalMemory = "hardwarePhysicalMemory";
inline constexpr std::string_view userMemory = "userMemory";
inline constexpr std::string_view pageSize = "pageSize";
inline constexpr std::string_view freeCount = "freeCount";
inline constexpr std::string_view freeBytes = "freeBytes";
inline constexpr std::string_view activeCount = "activeCount";
inline constexpr std::string_view activeBytes = "activeBytes";
inline constexpr std::string_view inactiveCount = "inactiveCount";
inline constexpr std::string_view inactiveBytes = "inactiveBytes";
inline constexpr std::string_view wireCount = "wireCount";
inline constexpr std::string_view wireBytes = "wireBytes";
inline constexpr std::string_view zerroFillCount = "zerroFillCount";
inline constexpr std::string_view zerroFillBytes = "zerroFillBytes";
inline constexpr std::string_view reactivations = "reactivations";
inline constexpr std::string_view pageins = "pageins";
inline constexpr std::string_view pageouts = "pageouts";
inline constexpr std::string_view faults = "faults";
inline constexpr std::string_view COWFaults = "COWFaults";
inline constexpr std::string_view lookups = "lookups";
inline constexpr std::string_view hits = "hits";
inline constexpr std::string_view purges = "purges";
inline constexpr std::string_view purgableCount = "purgableCount";
inline constexpr std::string_view purgeableBytes = "purgeableBytes";
inline constexpr std::string_view speculativeCount = "speculativeCount";
inline constexpr std::string_view speculativeBytes = "speculativeBytes";
inline constexpr std::string_view swapins = "swapins";
inline constexpr std::string_view swapouts = "swapouts";
inline constexpr std::string_view throttledCount = "throttledCount";
inline constexpr std::string_view throttledBytes = "throttledBytes";
inline constexpr std::string_view externalPageCount = "externalPageCount";
inline constexpr std::string_view externalPageBytes = "externalPageBytes";
inline constexpr std::string_view internalPageCount = "internalPageCount";
inline constexpr std::string_view internalPageBytes = "internalPageBytes";
inline constexpr std::string_view decompressions = "decompressions";
inline constexpr std::string_view compressions = "compressions";
inline constexpr std::string_view compressorPageCount = "compressorPageCount";
inline constexpr std::string_view compressorPageBytes = "compressorPageBytes";
inline constexpr std::string_view totalUncompressedPagesInCompressor =
    "totalUncompressedPagesInCompressor";
inline constexpr std::string_view totalUncompressedPagesInCompressorBytes =
    "totalUncompressedPagesInCompressorBytes";
inline constexpr std::string_view usedCount = "usedCount";
inline constexpr std::string_view totalCount = "totalCount";
inline constexpr std::string_view freePercents = "freePercents";
inline constexpr std::string_view inactivePercents = "inactivePercents";
inline constexpr std::string_view activePercents = "activePercents";
inline constexpr std::string_view wirePercents = "wirePercents";
inline constexpr std::string_view usedBytes = "usedBytes";
inline constexpr std::string_view usedPercents = "usedPercents";
inline constexpr std::string_view totalBytes = "totalBytes";
inline constexpr std::string_view totalPercents = "totalPercents";
inline constexpr std::string_view compressorPagePercents = "compressorPagePercents";
inline constexpr std::string_view availableBytes = "availableBytes";
inline constexpr std::string_view xsuTotal = "xsuTotal";
inline constexpr std::string_view xsuAvail = "xsuAvail";
inline constexpr std::string_view xsuUsed = "xsuUsed";
inline constexpr std::string_view xsuPageSize = "xsuPageSize";
inline constexpr std::string_view xsuEncripted = "xsuEncripted";

struct RecordKey {
    std::string_view name;
    bool isByteSize;  // the value is an amount of memory in bytes
    // For a 32-bit byte figure, the page count its exact size comes from.
    std::string_view countKey = {};
};

// Every key a full sample produces, in the order the record is built: fixed
// hardware sizes, then the memory sample, then swap.
inline constexpr std::array kRecordKeys{
    RecordKey{physicalMemory, true},
    RecordKey{hardwareMemorySize, true},
    RecordKey{hardwarePhysicalMemory, true},
    RecordKey{userMemory, true},
    RecordKey{pageSize, false},
    RecordKey{freeCount, false},
    RecordKey{freeBytes, true, freeCount},
    RecordKey{activeCount, false},
    RecordKey{activeBytes, true, activeCount},
    RecordKey{inactiveCount, false},
    RecordKey{inactiveBytes, true, inactiveCount},
    RecordKey{wireCount, false},
    RecordKey{wireBytes, true, wireCount},
    RecordKey{zerroFillCount, false},
    RecordKey{zerroFillBytes, true},
    RecordKey{reactivations, false},
    RecordKey{pageins, false},
    RecordKey{pageouts, false},
    RecordKey{faults, false},
    RecordKey{COWFaults, false},
    RecordKey{lookups, false},
    RecordKey{hits, false},
    RecordKey{purges, false},
    RecordKey{purgableCount, false},
    RecordKey{purgeableBytes, true, purgableCount},
    RecordKey{speculativeCount, false},
    RecordKey{speculativeBytes, true, speculativeCount},
    RecordKey{swapins, false},
    RecordKey{swapouts, false},
    RecordKey{throttledCount, false},
    RecordKey{throttledBytes, true, throttledCount},
    RecordKey{externalPageCount, false},
    RecordKey{externalPageBytes, true, externalPageCount},
    RecordKey{internalPageCount, false},
    RecordKey{internalPageBytes, true, internalPageCount},
    RecordKey{decompressions, false},
    RecordKey{compressions, false},
    RecordKey{compressorPageCount, false},
    RecordKey{compressorPageBytes, true, compressorPageCount},
    RecordKey{totalUncompressedPagesInCompressor, false},
    RecordKey{totalUncompressedPagesInCompressorBytes, true},
    RecordKey{usedCount, false},
    RecordKey{totalCount, false},
    RecordKey{freePercents, false},
    RecordKey{inactivePercents, false},
    RecordKey{activePercents, false},
    RecordKey{wirePercents, false},
    RecordKey{usedBytes, true},
    RecordKey{usedPercents, false},
    RecordKey{totalBytes, true},
    RecordKey{totalPercents, false},
    RecordKey{compressorPagePercents, false},
    RecordKey{availableBytes, true},
    RecordKey{xsuTotal, true},
    RecordKey{xsuAvail, true},
    RecordKey{xsuUsed, true},
    RecordKey{xsuPageSize, false},
    RecordKey{xsuEncripted, false},
};

}  // namespace tarnwell::keys
