#include "QRMMemoryInfo.h"

#include <array>
#include <system_error>
#include <utility>

#include "DecimalText.h"
#include "LinuxMemorySource.h"
#include "QRMRecordKeys.h"
#include "RecordFigures.h"
#include "threads/StartThread.h"

namespace tarnwell {

namespace {

// What main() installed as the shared instance.
std::atomic<QRMMemoryInfo *> installedMemoryInfo{nullptr};

QRMNumber hardwareFigure(std::optional<uint64_t> bytes) {
    // A failed hardware query reads 0, stored as a signed 32-bit number as
    // the historic sysctl wrapper did.
    return bytes ? QRMNumber::fromUInt64(*bytes) : QRMNumber::fromInt32(0);
}

// Replaces a figure in place: after the first refresh every key exists, and
// a refresh then allocates nothing.
void assign(QRMStatisticsRecord &record, std::string_view key, QRMNumber value) {
    if (const auto found = record.find(key); found != record.end()) {
        found->second = value;
    } else {
        record.emplace(key, value);
    }
}

// Writes the memory figures through put(key, number), in the order the record
// lists them.
template <class Put>
void putMemoryFigures(const VmStatistics &s, Put put) {
    // Byte values of the 32-bit page classes are 32-bit products and wrap at
    // 4 GiB; readers (the cleaning engine first) depend on that. The 64-bit
    // ones use the page size sign-extended.
    const uint32_t pageSize32 = static_cast<uint32_t>(s.pageSize);
    const uint64_t pageSize64 = static_cast<uint64_t>(static_cast<int64_t>(s.pageSize));
    const auto bytes32 = [&](uint32_t pages) { return QRMNumber::fromUInt32(pageSize32 * pages); };
    const auto bytes64 = [&](uint64_t pages) { return QRMNumber::fromUInt64(pageSize64 * pages); };
    const auto u32 = QRMNumber::fromUInt32;
    const auto u64 = QRMNumber::fromUInt64;

    put(keys::pageSize, QRMNumber::fromInt32(s.pageSize));
    put(keys::freeCount, u32(s.freeCount));
    put(keys::freeBytes, bytes32(s.freeCount));
    put(keys::activeCount, u32(s.activeCount));
    put(keys::activeBytes, bytes32(s.activeCount));
    put(keys::inactiveCount, u32(s.inactiveCount));
    put(keys::inactiveBytes, bytes32(s.inactiveCount));
    put(keys::wireCount, u32(s.wireCount));
    put(keys::wireBytes, bytes32(s.wireCount));
    put(keys::zerroFillCount, u64(s.zeroFillCount));
    put(keys::zerroFillBytes, bytes64(s.zeroFillCount));
    put(keys::reactivations, u64(s.reactivations));
    put(keys::pageins, u64(s.pageins));
    put(keys::pageouts, u64(s.pageouts));
    put(keys::faults, u64(s.faults));
    put(keys::COWFaults, u64(s.cowFaults));
    put(keys::lookups, u64(s.lookups));
    put(keys::hits, u64(s.hits));
    put(keys::purges, u64(s.purges));
    put(keys::purgableCount, u32(s.purgeableCount));
    put(keys::purgeableBytes, bytes32(s.purgeableCount));
    put(keys::speculativeCount, u32(s.speculativeCount));
    put(keys::speculativeBytes, bytes32(s.speculativeCount));
    put(keys::swapins, u64(s.swapins));
    put(keys::swapouts, u64(s.swapouts));
    put(keys::throttledCount, u32(s.throttledCount));
    put(keys::throttledBytes, bytes32(s.throttledCount));
    put(keys::externalPageCount, u32(s.externalPageCount));
    put(keys::externalPageBytes, bytes32(s.externalPageCount));
    put(keys::internalPageCount, u32(s.internalPageCount));
    put(keys::internalPageBytes, bytes32(s.internalPageCount));
    put(keys::decompressions, u64(s.decompressions));
    put(keys::compressions, u64(s.compressions));
    put(keys::compressorPageCount, u32(s.compressorPageCount));
    put(keys::compressorPageBytes, bytes32(s.compressorPageCount));
    put(keys::totalUncompressedPagesInCompressor, u64(s.totalUncompressedPagesInCompressor));
    put(keys::totalUncompressedPagesInCompressorBytes,
        bytes64(s.totalUncompressedPagesInCompressor));

    const uint32_t usedCount =
        s.activeCount + s.inactiveCount + s.wireCount + s.compressorPageCount;
    const uint32_t totalCount = usedCount + s.freeCount;
    put(keys::usedCount, u32(usedCount));
    put(keys::totalCount, u32(totalCount));

    // Percentages in single precision throughout (a double step in between
    // lands one float apart in about a fifth of cases), with no guard: a zero
    // total gives an infinite or not-a-number figure, which readers cope with.
    const float total = static_cast<float>(uint64_t{totalCount});
    const auto percents = [total](uint32_t pages) {
        return QRMNumber::fromFloat(static_cast<float>(pages) * 100.0f / total);
    };
    put(keys::freePercents, percents(s.freeCount));
    put(keys::inactivePercents, percents(s.inactiveCount));
    put(keys::activePercents, percents(s.activeCount));
    put(keys::wirePercents, percents(s.wireCount));
    put(keys::usedBytes, bytes64(usedCount));
    put(keys::usedPercents, percents(usedCount));
    put(keys::totalBytes, bytes64(totalCount));
    put(keys::totalPercents, percents(totalCount));
    put(keys::compressorPagePercents, percents(s.compressorPageCount));
    put(keys::availableBytes, u64(s.availableBytes));
}

template <class Put>
void putSwapFigures(const SwapUsage &usage, Put put) {
    put(keys::xsuTotal, QRMNumber::fromUInt64(usage.totalBytes));
    put(keys::xsuAvail, QRMNumber::fromUInt64(usage.availableBytes));
    put(keys::xsuUsed, QRMNumber::fromUInt64(usage.usedBytes));
    put(keys::xsuPageSize, QRMNumber::fromUInt32(usage.pageSize));
    put(keys::xsuEncripted, QRMNumber::fromUInt32(usage.encrypted ? 1 : 0));
}

}  // namespace

QRMMemoryInfo &QRMMemoryInfo::sharedMemoryInfo() {
    if (QRMMemoryInfo *installed = installedMemoryInfo.load()) {
        return *installed;
    }
    static QRMMemoryInfo thisMachine(std::make_unique<LinuxMemorySource>());
    return thisMachine;
}

void QRMMemoryInfo::setSharedMemoryInfo(QRMMemoryInfo *memoryInfo) {
    installedMemoryInfo.store(memoryInfo);
}

QRMMemoryInfo::QRMMemoryInfo(std::unique_ptr<MemorySource> source)
    : QRMMemoryInfo(std::move(source), std::make_unique<ResidentBlockAllocator>()) {}

QRMMemoryInfo::QRMMemoryInfo(std::unique_ptr<MemorySource> source,
                             std::unique_ptr<MemoryBlockAllocator> allocator,
                             std::filesystem::path cleaningLockFile)
    : source_(std::move(source)),
      allocator_(std::move(allocator)),
      cleaningLock_(std::move(cleaningLockFile)) {
    assign(record_, keys::physicalMemory, physicalMemory());
    assign(record_, keys::hardwareMemorySize, hardwareMemorySize());
    assign(record_, keys::hardwarePhysicalMemory, hardwarePhysicalMemory());
    refresh();
}

QRMMemoryInfo::~QRMMemoryInfo() {
    stopping_ = true;
    std::unique_lock lock(threadsMutex_);
    threadsFinished_.wait(lock, [this] { return runningThreads_ == 0; });
}

QRMStatisticsRecord QRMMemoryInfo::info() const {
    std::lock_guard lock(recordMutex_);
    return record_;
}

void QRMMemoryInfo::refresh() {
    // Sample outside the lock: reading /proc takes far longer than the merge,
    // and readers of info() should not wait for it.
    const MemorySample sample = source_->sample();
    std::lock_guard lock(recordMutex_);
    const auto intoRecord = [this](std::string_view key, QRMNumber value) {
        assign(record_, key, value);
    };
    sampleProblem_ = sample.problem;
    intoRecord(keys::userMemory, hardwareFigure(sample.userMemory));
    if (sample.vmStatistics) {
        putMemoryFigures(*sample.vmStatistics, intoRecord);
    }
    if (sample.swapUsage) {
        putSwapFigures(*sample.swapUsage, intoRecord);
    }
}

std::string QRMMemoryInfo::sampleProblem() const {
    std::lock_guard lock(recordMutex_);
    return sampleProblem_;
}

QRMNumber QRMMemoryInfo::physicalMemory() {
    return QRMNumber::fromUInt64(source_->physicalMemory());
}

QRMNumber QRMMemoryInfo::hardwareMemorySize() {
    return hardwareFigure(source_->hardwareMemorySize());
}

QRMNumber QRMMemoryInfo::hardwarePhysicalMemory() {
    return hardwareFigure(source_->hardwarePhysicalMemory());
}

QRMNumber QRMMemoryInfo::userMemory() {
    return hardwareFigure(source_->sample().userMemory);
}

QRMStatisticsRecord QRMMemoryInfo::gatheredMemoryInfo() {
    QRMStatisticsRecord record;
    if (const auto sample = source_->sample().vmStatistics) {
        putMemoryFigures(
            *sample, [&](std::string_view key, QRMNumber value) { record.emplace(key, value); });
    }
    return record;
}

QRMStatisticsRecord QRMMemoryInfo::gatheredSwapInfo() {
    QRMStatisticsRecord record;
    if (const auto usage = source_->sample().swapUsage) {
        putSwapFigures(*usage,
                       [&](std::string_view key, QRMNumber value) { record.emplace(key, value); });
    }
    return record;
}

std::string QRMMemoryInfo::adaptiveMemorySize(uint64_t bytes, bool withAbbreviation,
                                              bool withFullName, bool withStandartLenght) {
    struct Unit {
        const char *fullName;
        const char *abbreviation;
    };
    static constexpr std::array<Unit, 9> kUnits{{{"byte", "B"},
                                                 {"kilobyte", "KB"},
                                                 {"megabyte", "MB"},
                                                 {"gigabyte", "GB"},
                                                 {"terabyte", "TB"},
                                                 {"petabyte", "PB"},
                                                 {"exabyte", "EB"},
                                                 {"zettabyte", "ZB"},
                                                 {"yottabyte", "YB"}}};
    // A decimal threshold with a binary divisor: 1000 bytes read 0.98 KB.
    double value = static_cast<double>(bytes);
    size_t unit = 0;
    if (bytes >= 1000) {
        value /= 1024;
        unit = 1;
        while (value > 999.0 && unit + 1 < kUnits.size()) {
            value /= 1024;
            ++unit;
        }
    }
    std::string text = twoDecimals(value);
    constexpr size_t kStandardLength = 6;
    if (withStandartLenght && text.size() < kStandardLength) {
        // Two spaces per missing digit line the figures up in the menu's
        // proportional font, where a space is about half a digit wide.
        text.insert(0, 2 * (kStandardLength - text.size()), ' ');
    }
    if (withAbbreviation) {
        return text + " " + kUnits[unit].abbreviation;
    }
    if (withFullName) {
        return text + " " + kUnits[unit].fullName;
    }
    return text;
}

CleaningDecision QRMMemoryInfo::cleanMemoryNow() {
    std::lock_guard engineLock(engineMutex_);
    if (memoryCleaningThreadSemaphore_) {
        return {CleaningRefusal::AlreadyCleaning, std::nullopt, 0};
    }
    CleaningDecision decision = planCleaning(info());
    if (decision.operationalBytes) {
        operationalBytes_ = *decision.operationalBytes;
    }
    if (!decision.started()) {
        return decision;
    }
    if (!cleaningLock_.tryLock()) {
        operationalBytes_ = 0;
        return {CleaningRefusal::AlreadyCleaning, 0, 0};
    }
    void *block = allocator_->allocate(decision.blockBytes);
    if (block == nullptr) {
        cleaningLock_.unlock();
        operationalBytes_ = 0;
        return {CleaningRefusal::CouldNotStart, 0, 0};
    }
    memoryCleaningThreadSemaphore_ = true;
    memoryBlock_ = Block{block, decision.blockBytes};
    {
        std::lock_guard threadsLock(threadsMutex_);
        ++runningThreads_;
    }
    try {
        threads::startThread([this] {
            cleanMemoryBlock();
            cleaningThreadFinished();
        }).detach();
    } catch (const std::system_error &) {
        cleaningThreadFinished();
        allocator_->release(std::exchange(memoryBlock_, {}).data, decision.blockBytes);
        cleaningLock_.unlock();
        memoryCleaningThreadSemaphore_ = false;
        operationalBytes_ = 0;
        return {CleaningRefusal::CouldNotStart, 0, 0};
    }
    return decision;
}

void QRMMemoryInfo::cleanMemoryBlock() {
    Block block;
    {
        std::lock_guard engineLock(engineMutex_);
        if (!memoryCleaningThreadSemaphore_ || blockClaimed_ || memoryBlock_.data == nullptr) {
            return;
        }
        blockClaimed_ = true;
        block = memoryBlock_;
    }
    // Others may allocate while the block becomes resident (tens of seconds
    // for most of RAM on a busy machine): stop before available memory falls
    // into the reserve, which the plan only kept as things stood before. A
    // dropped part is better than the out-of-memory killer, which ended such
    // a cleaning on a shared 24 GiB machine. Stop at once when quitting.
    const uint64_t reserve =
        cleaningReserveBytes(unsignedValue(info(), keys::hardwarePhysicalMemory));
    allocator_->makeResident(block.data, block.bytes, [this, reserve] {
        if (stopping_) {
            return false;
        }
        const auto statistics = source_->sample().vmStatistics;
        return statistics && statistics->availableBytes > reserve;
    });
    std::unique_lock engineLock(engineMutex_);
    operationalBytes_ = 0;
    memoryCleaningThreadSemaphore_ = false;
    blockClaimed_ = false;
    freeAllocatedMemoryIfPossible(std::move(engineLock));
}

void QRMMemoryInfo::freeAllocatedMemoryIfPossible() {
    freeAllocatedMemoryIfPossible(std::unique_lock(engineMutex_));
}

void QRMMemoryInfo::freeAllocatedMemoryIfPossible(std::unique_lock<std::mutex> engineLock) {
    if (memoryCleaningThreadSemaphore_ || memoryBlock_.data == nullptr) {
        return;
    }
    // The pointer is cleared, unlike in the historic engine: a second release
    // of a stale mapping could unmap memory that belongs to someone else now.
    const Block block = std::exchange(memoryBlock_, {});
    allocator_->release(block.data, block.bytes);
    // Another process may clean as soon as the block is gone.
    cleaningLock_.unlock();
    engineLock.unlock();
    announceCleaned();
}

void QRMMemoryInfo::announceCleaned() {
    // Called under the lock, so that once removeMemoryCleanedObserver()
    // returns, the observer is neither running nor about to run: its
    // receiver may be destroyed at once.
    std::lock_guard lock(observersMutex_);
    for (const auto &[id, observer] : observers_) {
        observer();
    }
}

void QRMMemoryInfo::cleaningThreadFinished() {
    // Notify under the lock: the destructor may run as soon as it sees the
    // count reach 0, and must not find this thread still using the
    // condition variable.
    std::lock_guard lock(threadsMutex_);
    --runningThreads_;
    threadsFinished_.notify_all();
}

uint64_t QRMMemoryInfo::operationalBytes() const {
    return operationalBytes_;
}

bool QRMMemoryInfo::memoryCleaningThreadSemaphore() const {
    return memoryCleaningThreadSemaphore_;
}

int QRMMemoryInfo::addMemoryCleanedObserver(std::function<void()> observer) {
    std::lock_guard lock(observersMutex_);
    const int id = nextObserverId_++;
    observers_.emplace_back(id, std::move(observer));
    return id;
}

void QRMMemoryInfo::removeMemoryCleanedObserver(int id) {
    std::lock_guard lock(observersMutex_);
    std::erase_if(observers_, [id](const auto &entry) { return entry.first == id; });
}

}  // namespace tarnwell
