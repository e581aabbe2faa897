#include "memory/QRMMemoryInfo.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <future>
#include <map>
#include <sstream>
#include <thread>

#include "FakeMemorySource.h"
#include "memory/CleaningPlan.h"
#include "memory/QRMInfo.h"
#include "memory/QRMRecordKeys.h"

namespace tarnwell {
namespace {

using test::FakeMemorySource;
using Type = QRMNumber::Type;
constexpr uint64_t MiB = 1 << 20;
constexpr uint64_t GiB = 1 << 30;

class StatisticsRecord : public testing::Test {
protected:
    StatisticsRecord() {
        state->physicalMemory = 8 * GiB;
        state->hardwareMemorySize = 8 * GiB;
        state->hardwarePhysicalMemory = 8 * GiB - 64 * MiB;
        state->userMemory = 7 * GiB;
        state->vmStatistics = test::smallMachine();
        state->swapUsage = SwapUsage{1 * GiB, 768 * MiB, 256 * MiB, 4096, true};
    }

    std::unique_ptr<QRMMemoryInfo> makeInfo() {
        return std::make_unique<QRMMemoryInfo>(std::make_unique<FakeMemorySource>(state));
    }
    static QRMNumber at(const QRMStatisticsRecord &record, std::string_view key) {
        return record.find(key)->second;
    }

    std::shared_ptr<FakeMemorySource::State> state = std::make_shared<FakeMemorySource::State>();
};

// Every key of a full record with its number type: a misspelt, missing or
// retyped key fails. Some names are misspelt on purpose ("zerroFill",
// "purgable", "Encripted"); availableBytes is Linux's own.
TEST_F(StatisticsRecord, HoldsEveryKeyInItsType) {
    const std::pair<Type, const char *> table[] = {
        {Type::Int32, "pageSize"},
        {Type::UInt32,
         "freeCount freeBytes activeCount activeBytes inactiveCount inactiveBytes wireCount "
         "wireBytes purgableCount purgeableBytes speculativeCount speculativeBytes throttledCount "
         "throttledBytes externalPageCount externalPageBytes internalPageCount internalPageBytes "
         "compressorPageCount compressorPageBytes usedCount totalCount xsuPageSize xsuEncripted"},
        {Type::UInt64,
         "physicalMemory hardwareMemorySize hardwarePhysicalMemory userMemory zerroFillCount "
         "zerroFillBytes reactivations pageins pageouts faults COWFaults lookups hits purges "
         "availableBytes swapins swapouts decompressions compressions "
         "totalUncompressedPagesInCompressor "
         "totalUncompressedPagesInCompressorBytes usedBytes totalBytes xsuTotal xsuAvail xsuUsed"},
        {Type::Float,
         "freePercents inactivePercents activePercents wirePercents usedPercents totalPercents "
         "compressorPagePercents"}};
    std::map<std::string, Type> expected;
    for (const auto &[type, names] : table) {
        std::istringstream words(names);
        for (std::string name; words >> name;) {
            expected[name] = type;
        }
    }
    std::map<std::string, Type> actual;
    for (const auto &[key, number] : makeInfo()->info()) {
        actual[std::string(key)] = number.type();
    }
    EXPECT_EQ(actual, expected);
}

TEST_F(StatisticsRecord, FiguresOfASmallMachine) {
    state->vmStatistics->compressorPageCount = 256;
    const auto record = makeInfo()->info();
    EXPECT_EQ(at(record, keys::freeBytes), QRMNumber::fromUInt32(16 << 20));
    EXPECT_EQ(at(record, keys::inactiveBytes), QRMNumber::fromUInt32(8 << 20));
    // used = active + inactive + wired + compressor = 1024 + 2048 + 512 + 256
    EXPECT_EQ(at(record, keys::usedCount), QRMNumber::fromUInt32(3840));
    EXPECT_EQ(at(record, keys::totalCount), QRMNumber::fromUInt32(3840 + 4096));
    EXPECT_EQ(at(record, keys::usedBytes), QRMNumber::fromUInt64(3840ull * 4096));
    EXPECT_EQ(at(record, keys::freePercents), QRMNumber::fromFloat(51.6129036f));  // 4096/7936
    EXPECT_EQ(at(record, keys::totalPercents), QRMNumber::fromFloat(100.0f));
    EXPECT_EQ(at(record, keys::xsuUsed), QRMNumber::fromUInt64(256 * MiB));
    EXPECT_EQ(at(record, keys::xsuEncripted), QRMNumber::fromUInt32(1));
    EXPECT_EQ(at(record, keys::hardwarePhysicalMemory), QRMNumber::fromUInt64(8 * GiB - 64 * MiB));
}

// Byte figures of page classes wrap at 4 GiB while totals stay exact; the
// percentages are single precision throughout (a double step in between gives
// 94.6236725; the expected figure is C's float arithmetic printed with "%.9g").
TEST_F(StatisticsRecord, FiguresOfALargeMachine) {
    state->vmStatistics->freeCount = 5767169;   // 22 GiB and a page
    state->vmStatistics->activeCount = 325119;  // a total of 6094848 pages
    const auto record = makeInfo()->info();
    EXPECT_EQ(at(record, keys::freePercents), QRMNumber::fromFloat(94.6236801f));
    EXPECT_EQ(at(record, keys::freeBytes), QRMNumber::fromUInt32(2 * GiB + 4096));
    EXPECT_EQ(at(record, keys::totalBytes), QRMNumber::fromUInt64(6094848ull * 4096));
}

// Each group of figures keeps its previous values when its own sample fails,
// while the other groups are refreshed; the hardware figures are read once.
TEST_F(StatisticsRecord, FailedSampleKeepsThePreviousFiguresOfItsGroupOnly) {
    auto info = makeInfo();
    const auto before = info->info();
    state->vmStatistics.reset();
    state->userMemory = 5 * GiB;
    state->swapUsage->usedBytes = 512 * MiB;
    state->hardwarePhysicalMemory = 1;
    info->refresh();
    auto after = info->info();
    EXPECT_EQ(at(after, keys::freeBytes), at(before, keys::freeBytes));
    EXPECT_EQ(at(after, keys::usedPercents), at(before, keys::usedPercents));
    EXPECT_EQ(at(after, keys::userMemory), QRMNumber::fromUInt64(5 * GiB));
    EXPECT_EQ(at(after, keys::xsuUsed), QRMNumber::fromUInt64(512 * MiB));
    EXPECT_EQ(at(after, keys::hardwarePhysicalMemory), QRMNumber::fromUInt64(8 * GiB - 64 * MiB));

    state->swapUsage.reset();
    state->vmStatistics = test::smallMachine();
    state->vmStatistics->freeCount = 1;
    info->refresh();
    after = info->info();
    EXPECT_EQ(at(after, keys::xsuUsed), QRMNumber::fromUInt64(512 * MiB));
    EXPECT_EQ(at(after, keys::freeCount), QRMNumber::fromUInt32(1));
}

TEST_F(StatisticsRecord, NothingButHardwareZerosWhenNoSampleEverSucceeded) {
    state->hardwareMemorySize.reset();
    state->userMemory.reset();
    state->vmStatistics.reset();
    state->swapUsage.reset();
    const auto record = makeInfo()->info();
    EXPECT_EQ(at(record, keys::hardwareMemorySize), QRMNumber::fromInt32(0));
    EXPECT_EQ(at(record, keys::userMemory), QRMNumber::fromInt32(0));
    EXPECT_FALSE(record.contains(keys::freeBytes));
    EXPECT_FALSE(record.contains(keys::xsuTotal));
}

TEST(QRMNumberConversion, FollowsTheStoredType) {
    EXPECT_EQ(QRMNumber::fromInt32(-1).toUInt64(), UINT64_MAX);
    EXPECT_EQ(QRMNumber::fromUInt32(UINT32_MAX).toInt64(), int64_t{UINT32_MAX});
    EXPECT_EQ(QRMNumber::fromFloat(99.9f).toUInt64(), 99u);
    EXPECT_EQ(QRMNumber::fromFloat(NAN).toUInt64(), 0u);
    EXPECT_NE(QRMNumber::fromUInt32(5), QRMNumber::fromUInt64(5));
}

// A record as the engine reads it: 4 KiB page counts, the page size, available
// memory and MemTotal. The byte figures are stored wrapped at 4 GiB, as the
// record holds them, and must never be used.
QRMStatisticsRecord record(std::optional<uint64_t> freeBytes, std::optional<uint64_t> inactiveBytes,
                           std::optional<uint64_t> availableBytes = std::nullopt,
                           uint64_t memTotal = 16 * GiB) {
    QRMStatisticsRecord r;
    const auto set = [&](std::string_view key, QRMNumber value) { r[std::string(key)] = value; };
    set(keys::pageSize, QRMNumber::fromInt32(4096));
    if (freeBytes) {
        set(keys::freeCount, QRMNumber::fromUInt32(uint32_t(*freeBytes / 4096)));
        set(keys::freeBytes, QRMNumber::fromUInt32(uint32_t(*freeBytes)));
    }
    if (inactiveBytes) {
        set(keys::inactiveCount, QRMNumber::fromUInt32(uint32_t(*inactiveBytes / 4096)));
        set(keys::inactiveBytes, QRMNumber::fromUInt32(uint32_t(*inactiveBytes)));
    }
    if (availableBytes) {
        set(keys::availableBytes, QRMNumber::fromUInt64(*availableBytes));
    }
    set(keys::hardwarePhysicalMemory, QRMNumber::fromUInt64(memTotal));
    return r;
}

using Decided = std::tuple<std::optional<CleaningRefusal>, std::optional<uint64_t>, uint64_t>;

Decided decided(const QRMStatisticsRecord &record) {
    const CleaningDecision decision = planCleaning(record);
    return {decision.refusal, decision.operationalBytes, decision.blockBytes};
}

// 24 GiB installed: the reserve is 5 % of it, 1288490188 bytes. Free and
// inactive past 4 GiB wrap in the stored byte figures (to 1 GiB each): the
// block is their exact sum, 22 GiB, unless available memory less the reserve
// is smaller: 21474836480 - 1288490188. With 2 GiB installed, 5 % is below
// the 256 MiB floor.
TEST(CleaningDecision, FollowsTheRecord) {
    const Decided unusable{CleaningRefusal::NoUsableStatistics, std::nullopt, 0};
    EXPECT_EQ(decided({}), unusable);
    EXPECT_EQ(decided(record(std::nullopt, 8 * MiB)), unusable);
    EXPECT_EQ(decided(record(0, 8 * MiB)), unusable);
    EXPECT_EQ(decided(record(16 * MiB, std::nullopt)), unusable) << "no operational bytes either";
    EXPECT_EQ(decided(record(16 * MiB, 0)), unusable);
    EXPECT_EQ(decided(record(16 * MiB, 8 * MiB)), Decided(std::nullopt, 24 * MiB, 24 * MiB))
        << "no available figure, no cap";
    EXPECT_EQ(decided(record(5 * GiB, 17 * GiB, 23 * GiB + 512 * MiB, 24 * GiB)),
              Decided(std::nullopt, 22 * GiB, 22 * GiB));
    EXPECT_EQ(decided(record(5 * GiB, 17 * GiB, 20 * GiB, 24 * GiB)),
              Decided(std::nullopt, 20186346292, 20186346292));
    EXPECT_EQ(decided(record(1 * GiB, 512 * MiB, 1 * GiB, 2 * GiB)),
              Decided(std::nullopt, 768 * MiB, 768 * MiB));
    EXPECT_EQ(decided(record(1 * GiB, 512 * MiB, 256 * MiB, 2 * GiB)),
              Decided(CleaningRefusal::NoRoomAboveReserve, 1536 * MiB, 0));
}

// Holds a cleaning inside makeResident until the test opens the gate, and
// records what the engine asked for.
class GatedAllocator : public MemoryBlockAllocator {
public:
    void *allocate(size_t bytes) override {
        allocatedBytes.push_back(bytes);
        return real.allocate(bytes);
    }
    void makeResident(void *block, size_t bytes, const std::function<bool()> &keepGoing) override {
        if (++makeResidentCalls == 1) {
            entered.set_value();
        }
        gate.wait();
        // Until told to stop, for at most 10 s, when the test quits.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (untilStopped && keepGoing() && std::chrono::steady_clock::now() < deadline) {
        }
        *keptGoing = keepGoing();
        real.makeResident(block, bytes, keepGoing);
    }
    void release(void *block, size_t bytes) override {
        ++releaseCalls;
        real.release(block, bytes);
    }

    ResidentBlockAllocator real;
    std::vector<size_t> allocatedBytes;
    std::atomic<int> makeResidentCalls = 0;
    // What keepGoing() said once the gate opened; shared, as the engine
    // deletes its allocator before the test reads it.
    std::shared_ptr<std::atomic<bool>> keptGoing = std::make_shared<std::atomic<bool>>(false);
    bool untilStopped = false;
    std::atomic<int> releaseCalls = 0;
    std::promise<void> entered;
    std::shared_future<void> gate;
};

class CleaningEngine : public testing::Test {
protected:
    CleaningEngine() {
        state->vmStatistics = test::smallMachine();
        state->hardwarePhysicalMemory = 4 * GiB;  // a 256 MiB reserve
        auto gated = std::make_unique<GatedAllocator>();
        allocator = gated.get();
        allocator->gate = openGate.get_future().share();
        engine = std::make_unique<QRMMemoryInfo>(std::make_unique<FakeMemorySource>(state),
                                                 std::move(gated));
    }

    std::shared_ptr<FakeMemorySource::State> state = std::make_shared<FakeMemorySource::State>();
    std::promise<void> openGate;
    GatedAllocator *allocator;
    // Tests end with engine.reset(): it waits for the cleaning thread, which
    // may still be inside an observer's set_value on the test's promises.
    std::unique_ptr<QRMMemoryInfo> engine;
};

TEST_F(CleaningEngine, ReturnsAtOnceDropsASecondRequestAndStartsNothingWhenRefused) {
    // Of the 16 MiB free + 8 MiB inactive only 20 MiB lie above the reserve.
    state->vmStatistics->availableBytes = 276 * MiB;
    engine->refresh();
    std::promise<void> cleaned;
    engine->addMemoryCleanedObserver([&] { cleaned.set_value(); });

    ASSERT_TRUE(engine->cleanMemoryNow().started());
    EXPECT_TRUE(engine->memoryCleaningThreadSemaphore());
    EXPECT_EQ(engine->operationalBytes(), 20 * MiB);

    allocator->entered.get_future().wait();
    EXPECT_EQ(engine->cleanMemoryNow().refusal, CleaningRefusal::AlreadyCleaning);
    // Neither an outside release nor a second pass may take the block from
    // the thread that is still touching it.
    engine->freeAllocatedMemoryIfPossible();
    engine->cleanMemoryBlock();
    EXPECT_EQ(allocator->releaseCalls, 0);
    EXPECT_EQ(allocator->makeResidentCalls, 1);

    openGate.set_value();
    cleaned.get_future().wait();
    EXPECT_EQ(allocator->releaseCalls, 1);

    // Refused, a request starts and announces nothing: a second announcement
    // would set the promise twice.
    state->vmStatistics->freeCount = 0;
    engine->refresh();
    EXPECT_EQ(engine->cleanMemoryNow().refusal, CleaningRefusal::NoUsableStatistics);
    EXPECT_FALSE(engine->memoryCleaningThreadSemaphore());
    EXPECT_EQ(allocator->allocatedBytes, std::vector<size_t>{20 * MiB});
    engine.reset();
}

// Observers hear of a cleaning on its own thread, once it is idle and its
// block released, and may start the next one from there.
TEST_F(CleaningEngine, AnnouncesOnTheCleaningThreadAndAnObserverMayCleanAgain) {
    int removedCalls = 0;
    engine->removeMemoryCleanedObserver(engine->addMemoryCleanedObserver([&] { ++removedCalls; }));
    struct Seen {
        bool busy;
        uint64_t operationalBytes;
        int releases;
        std::thread::id thread;
        CleaningDecision next;
    };
    std::promise<Seen> seen;
    std::promise<void> secondDone;
    int calls = 0;
    engine->addMemoryCleanedObserver([&] {
        if (++calls > 1) {
            return secondDone.set_value();
        }
        Seen now{engine->memoryCleaningThreadSemaphore(),
                 engine->operationalBytes(),
                 allocator->releaseCalls.load(),
                 std::this_thread::get_id(),
                 {}};
        now.next = engine->cleanMemoryNow();
        seen.set_value(now);
    });
    openGate.set_value();
    ASSERT_TRUE(engine->cleanMemoryNow().started());
    const Seen observed = seen.get_future().get();
    EXPECT_FALSE(observed.busy);
    EXPECT_EQ(observed.operationalBytes, 0u);
    EXPECT_EQ(observed.releases, 1);
    EXPECT_NE(observed.thread, std::this_thread::get_id());
    EXPECT_TRUE(observed.next.started());
    secondDone.get_future().wait();
    EXPECT_EQ(allocator->releaseCalls, 2);
    EXPECT_EQ(removedCalls, 0);
    engine.reset();
}

// A receiver may go the moment its removal returns, so removal waits for a
// call already under way.
TEST_F(CleaningEngine, RemovingAnObserverWaitsForItsRunningCall) {
    openGate.set_value();
    std::promise<void> called;
    std::promise<void> mayReturn;
    std::atomic<bool> returned = false;
    const int id = engine->addMemoryCleanedObserver([&] {
        called.set_value();
        mayReturn.get_future().wait();
        returned = true;
    });
    ASSERT_TRUE(engine->cleanMemoryNow().started());
    called.get_future().wait();
    auto removal = std::async(std::launch::async, [&] {
        engine->removeMemoryCleanedObserver(id);
        return returned.load();
    });
    EXPECT_EQ(removal.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
    mayReturn.set_value();
    EXPECT_TRUE(removal.get());
    engine.reset();
}

// The block is sized to leave the reserve as things stood at the start;
// when others take memory meanwhile, or the program quits, the cleaning
// stops at its next part.
class CleaningStops : public CleaningEngine, public testing::WithParamInterface<bool> {};

TEST_P(CleaningStops, WhenAvailableMemoryFallsIntoTheReserveOrTheProgramQuits) {
    const bool quitting = GetParam();
    allocator->untilStopped = quitting;
    ASSERT_TRUE(engine->cleanMemoryNow().started());
    allocator->entered.get_future().wait();
    if (!quitting) {
        state->vmStatistics->availableBytes = 255 * MiB;  // the reserve is 256 MiB
    }
    openGate.set_value();
    const auto keptGoing = allocator->keptGoing;
    engine.reset();
    EXPECT_FALSE(*keptGoing);
}

INSTANTIATE_TEST_SUITE_P(Causes, CleaningStops, testing::Values(false, true), [](const auto &info) {
    return info.param ? "Quitting" : "LessAvailable";
});

TEST(ResidentBlockAllocator, MakesEveryPageResidentAndZero) {
    const size_t pageSize = size_t(sysconf(_SC_PAGESIZE));
    const size_t bytes = 256 * pageSize;
    ResidentBlockAllocator allocator;
    void *block = allocator.allocate(bytes);
    ASSERT_NE(block, nullptr);
    const auto residentPages = [&] {
        std::vector<unsigned char> residency(bytes / pageSize);
        EXPECT_EQ(mincore(block, bytes, residency.data()), 0);
        return std::count_if(residency.begin(), residency.end(), [](auto r) { return r & 1; });
    };
    EXPECT_EQ(residentPages(), 0);
    // Parts of 64 pages; told to stop before the third.
    ResidentBlockAllocator inParts(64 * pageSize);
    int parts = 0;
    inParts.makeResident(block, bytes, [&] { return ++parts <= 2; });
    EXPECT_EQ(residentPages(), 128);
    allocator.makeResident(block, bytes, [] { return true; });
    EXPECT_EQ(residentPages(), 256);
    const auto *bytesOfBlock = static_cast<const unsigned char *>(block);
    EXPECT_TRUE(std::all_of(bytesOfBlock, bytesOfBlock + bytes, [](auto b) { return b == 0; }));
    allocator.release(block, bytes);
}

// Columns: bytes; abbreviation, full name, standard length; the text. The
// threshold is decimal, the divisor binary; ties round to even; padding is
// two spaces per missing digit.
TEST(SizeTexts, AdaptiveSizes) {
    const std::tuple<uint64_t, bool, bool, bool, const char *> rows[] = {
        {0, true, false, false, "0.00 B"},
        {999, true, false, false, "999.00 B"},
        {1000, true, false, false, "0.98 KB"},
        {1022976, true, false, false, "999.00 KB"},
        {1023000, true, false, false, "0.98 MB"},
        {1342177280, true, false, false, "1.25 GB"},
        {2 * GiB, false, true, false, "2.00 gigabyte"},
        {2 * GiB, false, false, false, "2.00"},
        {5, false, false, true, "    5.00"},
        {52 * MiB, true, false, true, "  52.00 MB"},
        {512 * MiB, true, false, true, "512.00 MB"},
        {512128, true, false, false, "500.12 KB"},
        {UINT64_MAX, true, true, true, "  16.00 EB"}};
    for (const auto &[bytes, abbreviation, fullName, standardLength, text] : rows) {
        EXPECT_EQ(QRMMemoryInfo::adaptiveMemorySize(bytes, abbreviation, fullName, standardLength),
                  text)
            << bytes;
    }
}

// Binary steps with no decimal threshold; gigabytes are the largest unit.
TEST(SizeTexts, FormattedSizes) {
    EXPECT_EQ(QRMInfo::formatSize(0), std::nullopt);
    const std::pair<uint64_t, const char *> rows[] = {
        {1023, "1023.00 B"},           {1024, "1.00 KB"},
        {1000 << 10, "1000.00 KB"},    {1 << 20, "1.00 MB"},
        {(1 << 30) - 1, "1024.00 MB"}, {3ull << 40, "3072.00 GB"}};
    for (const auto &[bytes, text] : rows) {
        EXPECT_EQ(QRMInfo::formatSize(bytes), text) << bytes;
    }
}

}  // namespace
}  // namespace tarnwell
