#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "CleaningLock.h"
#include "CleaningPlan.h"
#include "MemoryBlockAllocator.h"
#include "MemorySource.h"
#include "QRMNumber.h"

namespace tarnwell {

// The one object that knows the machine's memory: it samples the kernel's
// counters into the statistics record, formats sizes for display and runs the
// cleaning engine.
class QRMMemoryInfo {
public:
    // The process-wide instance: the one main() built and installed, so that
    // everything reads the machine it was pointed at; this machine until then.
    static QRMMemoryInfo &sharedMemoryInfo();
    // memoryInfo must outlive every use of sharedMemoryInfo(); null uninstalls.
    static void setSharedMemoryInfo(QRMMemoryInfo *memoryInfo);

    // An instance over any source; tests pass a fake one.
    explicit QRMMemoryInfo(std::unique_ptr<MemorySource> source);
    // Tests also pass an allocator that can hold a cleaning half-way. With a
    // lock file, cleanings are exclusive across the user's processes too.
    QRMMemoryInfo(std::unique_ptr<MemorySource> source,
                  std::unique_ptr<MemoryBlockAllocator> allocator,
                  std::filesystem::path cleaningLockFile = {});
    // Stops a cleaning under way at its next part and waits for its thread.
    ~QRMMemoryInfo();
    QRMMemoryInfo(const QRMMemoryInfo &) = delete;
    QRMMemoryInfo &operator=(const QRMMemoryInfo &) = delete;

    // A copy of the record taken now; later refreshes never change it.
    QRMStatisticsRecord info() const;
    void refresh();
    // Why the last refresh could not read everything, naming the file and
    // the key; empty when it could. The figures it could not read keep their
    // previous values (or are absent).
    std::string sampleProblem() const;

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

    // Cleaning engine. Returns at once, saying whether a cleaning started or
    // why not; "memoryCleaned" observers are called on the cleaning thread
    // once the block has been touched and released, and only for a cleaning
    // that started.
    CleaningDecision cleanMemoryNow();
    void cleanMemoryBlock();
    void freeAllocatedMemoryIfPossible();
    uint64_t operationalBytes() const;
    // Named like a semaphore for historical reasons; it is a plain flag.
    bool memoryCleaningThreadSemaphore() const;

    // "memoryCleaned": called on the cleaning thread. Returns an id for removal.
    int addMemoryCleanedObserver(std::function<void()> observer);
    void removeMemoryCleanedObserver(int id);

private:
    struct Block {
        void *data = nullptr;
        size_t bytes = 0;
    };

    void freeAllocatedMemoryIfPossible(std::unique_lock<std::mutex> engineLock);
    void announceCleaned();
    void cleaningThreadFinished();

    std::unique_ptr<MemorySource> source_;
    std::unique_ptr<MemoryBlockAllocator> allocator_;

    mutable std::mutex recordMutex_;
    QRMStatisticsRecord record_;
    std::string sampleProblem_;

    // Serialises starting a cleaning against the cleaning thread's hand-back,
    // so a request that arrives just as the flag clears cannot replace the
    // block before the old one is released.
    std::mutex engineMutex_;
    std::atomic<uint64_t> operationalBytes_{0};
    std::atomic<bool> memoryCleaningThreadSemaphore_{false};
    bool blockClaimed_ = false;  // the cleaning thread is making the block resident
    Block memoryBlock_;
    CleaningLock cleaningLock_;  // held from the allocation to the release

    std::atomic<bool> stopping_{false};  // the destructor has begun
    std::mutex threadsMutex_;
    std::condition_variable threadsFinished_;
    int runningThreads_ = 0;

    std::mutex observersMutex_;
    std::vector<std::pair<int, std::function<void()>>> observers_;
    int nextObserverId_ = 1;
};

}  // namespace tarnwell
