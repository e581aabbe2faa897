#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "QRMNumber.h"

namespace tarnwell {

class MemorySource;

// The one object that knows the machine's memory: it samples the kernel's
// counters into the statistics record, formats sizes for display and runs the
// cleaning engine.
class QRMMemoryInfo {
public:
    // The process-wide instance, reading the real system.
    static QRMMemoryInfo &sharedMemoryInfo();

    // An instance over any source; tests pass a fake one.
    explicit QRMMemoryInfo(std::unique_ptr<MemorySource> source);
    ~QRMMemoryInfo();
    QRMMemoryInfo(const QRMMemoryInfo &) = delete;
    QRMMemoryInfo &operator=(const QRMMemoryInfo &) = delete;

    // A copy of the record taken now; later refreshes never change it.
    QRMStatisticsRecord info() const;
    void refresh();

    QRMNumber physicalMemory();
    QRMNumber hardwareMemorySize();
    QRMNumber hardwarePhysicalMemory();
    QRMNumber userMemory();
    // Empty when the sample failed, so a merge keeps the previous figures.
    QRMStatisticsRecord gatheredMemoryInfo();
    QRMStatisticsRecord gatheredSwapInfo();

    // The one formatter for sizes shown to the user. "Standart" and "Lenght"
    // are misspelt in the historic name and stay that way.
    static std::string adaptiveMemorySize(uint64_t bytes, bool withAbbreviation, bool withFullName,
                                          bool withStandartLenght);

    // Cleaning engine. Returns at once; "memoryCleaned" observers are called
    // on the cleaning thread once the block has been touched and released.
    void cleanMemoryNow();
    void cleanMemoryBlock();
    void freeAllocatedMemoryIfPossible();
    uint64_t operationalBytes() const;
    // Named like a semaphore for historical reasons; it is a plain flag.
    bool memoryCleaningThreadSemaphore() const;

    // "memoryCleaned": called on the cleaning thread. Returns an id for removal.
    int addMemoryCleanedObserver(std::function<void()> observer);
    void removeMemoryCleanedObserver(int id);
};

}  // namespace tarnwell
