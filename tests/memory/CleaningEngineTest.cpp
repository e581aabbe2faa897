#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <future>
#include <thread>

#include "CaseName.h"
#include "FakeMemorySource.h"
#include "memory/CleaningPlan.h"
#include "memory/QRMMemoryInfo.h"
#include "memory/QRMRecordKeys.h"

namespace tarnwell {
namespace {

constexpr uint64_t MiB = 1 << 20;
constexpr uint64_t GiB = 1 << 30;

// ---- The decision -------------------------------------------------------

struct PlanCase {
    const char *name;
    QRMStatisticsRecord record;
    std::optional<CleaningRefusal> refusal;
    std::optional<uint64_t> operationalBytes;
    uint64_t blockBytes;
};

// A record as the engine reads it: page counts of 4 KiB pages, the page size,
// available memory and MemTotal.
QRMStatisticsRecord record(std::optional<uint64_t> freeBytes, std::optional<uint64_t> inactiveBytes,
                           std::optional<uint64_t> availableBytes = std::nullopt,
                           uint64_t memTotal = 16 * GiB) {
    QRMStatisticsRecord r;
    r[std::string(keys::pageSize)] = QRMNumber::fromInt32(4096);
    if (freeBytes) {
        r[std::string(keys::freeCount)] = QRMNumber::fromUInt32(uint32_t(*freeBytes / 4096));
        // As the record stores it: wrapped at 4 GiB, and never to be used.
        r[std::string(keys::freeBytes)] = QRMNumber::fromUInt32(uint32_t(*freeBytes));
    }
    if (inactiveBytes) {
        r[std::string(keys::inactiveCount)] =
            QRMNumber::fromUInt32(uint32_t(*inactiveBytes / 4096));
        r[std::string(keys::inactiveBytes)] = QRMNumber::fromUInt32(uint32_t(*inactiveBytes));
    }
    if (availableBytes) {
        r[std::string(keys::availableBytes)] = QRMNumber::fromUInt64(*availableBytes);
    }
    r[std::string(keys::hardwarePhysicalMemory)] = QRMNumber::fromUInt64(memTotal);
    return r;
}

constexpr auto kNoStatistics = CleaningRefusal::NoUsableStatistics;

class CleaningDecisionTable : public testing::TestWithParam<PlanCase> {};

TEST_P(CleaningDecisionTable, Decides) {
    const PlanCase &c = GetParam();
    const CleaningDecision decision = planCleaning(c.record);
    EXPECT_EQ(decision.refusal, c.refusal);
    EXPECT_EQ(decision.operationalBytes, c.operationalBytes);
    EXPECT_EQ(decision.blockBytes, c.blockBytes);
}

INSTANTIATE_TEST_SUITE_P(
    Records, CleaningDecisionTable,
    testing::Values(
        PlanCase{"EmptyRecord", {}, kNoStatistics, std::nullopt, 0},
        PlanCase{"FreeMissing", record(std::nullopt, 8 * MiB), kNoStatistics, std::nullopt, 0},
        PlanCase{"FreeZero", record(0, 8 * MiB), kNoStatistics, std::nullopt, 0},
        PlanCase{"InactiveMissingLeavesOperationalBytes", record(16 * MiB, std::nullopt),
                 kNoStatistics, std::nullopt, 0},
        PlanCase{"InactiveZero", record(16 * MiB, 0), kNoStatistics, std::nullopt, 0},
        PlanCase{"NoAvailableFigureNoCap", record(16 * MiB, 8 * MiB), std::nullopt, 24 * MiB,
                 24 * MiB},
        // 24 GiB installed: the reserve is 5 % of it, 1288490188 bytes. Free
        // and inactive are past 4 GiB, where the stored byte figures wrap
        // (to 1 GiB each): the block is their exact sum, 22 GiB...
        PlanCase{"ExactSumBelowTheCap", record(5 * GiB, 17 * GiB, 23 * GiB + 512 * MiB, 24 * GiB),
                 std::nullopt, 22 * GiB, 22 * GiB},
        // ... unless available memory less the reserve is smaller:
        // 21474836480 - 1288490188.
        PlanCase{"ExactSumCappedByTheReserve", record(5 * GiB, 17 * GiB, 20 * GiB, 24 * GiB),
                 std::nullopt, 20186346292, 20186346292},
        // 2 GiB installed: 5 % is below the 256 MiB floor.
        PlanCase{"CappedBy256MiBFloor", record(1 * GiB, 512 * MiB, 1 * GiB, 2 * GiB), std::nullopt,
                 768 * MiB, 768 * MiB},
        PlanCase{"AvailableEqualToReserve", record(1 * GiB, 512 * MiB, 256 * MiB, 2 * GiB),
                 CleaningRefusal::NoRoomAboveReserve, 1536 * MiB, 0}),
    tarnwell::test::caseName);

// ---- The act -------------------------------------------------------------

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
        engine = std::make_unique<QRMMemoryInfo>(std::make_unique<test::FakeMemorySource>(state),
                                                 std::move(gated));
    }

    std::shared_ptr<test::FakeMemorySource::State> state =
        std::make_shared<test::FakeMemorySource::State>();
    std::promise<void> openGate;
    GatedAllocator *allocator;
    // Tests end with engine.reset(): it waits for the cleaning thread, which
    // may still be inside an observer's set_value on the test's promises.
    std::unique_ptr<QRMMemoryInfo> engine;
};

TEST_F(CleaningEngine, ReturnsAtOnceAndDropsASecondRequest) {
    // Of the 16 MiB free + 8 MiB inactive only 20 MiB lie above the reserve.
    state->vmStatistics->availableBytes = 276 * MiB;
    engine->refresh();
    std::promise<void> cleaned;
    engine->addMemoryCleanedObserver([&] { cleaned.set_value(); });

    const CleaningDecision first = engine->cleanMemoryNow();
    ASSERT_TRUE(first.started());
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
    EXPECT_EQ(allocator->allocatedBytes, std::vector<size_t>{20 * MiB});
    EXPECT_EQ(allocator->releaseCalls, 1);
    engine.reset();
}

TEST_F(CleaningEngine, AnnouncesOnTheCleaningThreadOnceIdleAndReleased) {
    int removedCalls = 0;
    engine->removeMemoryCleanedObserver(engine->addMemoryCleanedObserver([&] { ++removedCalls; }));
    struct Seen {
        bool busy;
        uint64_t operationalBytes;
        int releases;
        std::thread::id thread;
    };
    std::promise<Seen> seen;
    engine->addMemoryCleanedObserver([&] {
        seen.set_value({engine->memoryCleaningThreadSemaphore(), engine->operationalBytes(),
                        allocator->releaseCalls.load(), std::this_thread::get_id()});
    });
    openGate.set_value();
    ASSERT_TRUE(engine->cleanMemoryNow().started());
    const Seen observed = seen.get_future().get();
    EXPECT_FALSE(observed.busy);
    EXPECT_EQ(observed.operationalBytes, 0u);
    EXPECT_EQ(observed.releases, 1);
    EXPECT_NE(observed.thread, std::this_thread::get_id());
    EXPECT_EQ(removedCalls, 0);
    engine.reset();
}

TEST_F(CleaningEngine, AnObserverMayStartTheNextCleaning) {
    openGate.set_value();
    std::promise<CleaningDecision> second;
    std::promise<void> secondDone;
    int calls = 0;
    engine->addMemoryCleanedObserver([&] {
        if (++calls == 1) {
            second.set_value(engine->cleanMemoryNow());
        } else {
            secondDone.set_value();
        }
    });
    ASSERT_TRUE(engine->cleanMemoryNow().started());
    EXPECT_TRUE(second.get_future().get().started());
    secondDone.get_future().wait();
    EXPECT_EQ(allocator->releaseCalls, 2);
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
    // Without the wait the removal returns at once, observer still running.
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

TEST_F(CleaningEngine, RefusedRequestAllocatesNothing) {
    state->vmStatistics->freeCount = 0;
    engine->refresh();
    int notified = 0;
    engine->addMemoryCleanedObserver([&] { ++notified; });
    EXPECT_EQ(engine->cleanMemoryNow().refusal, CleaningRefusal::NoUsableStatistics);
    EXPECT_FALSE(engine->memoryCleaningThreadSemaphore());
    EXPECT_TRUE(allocator->allocatedBytes.empty());
    engine.reset();  // waits for any cleaning thread; there must be none to announce
    EXPECT_EQ(notified, 0);
}

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

}  // namespace
}  // namespace tarnwell
