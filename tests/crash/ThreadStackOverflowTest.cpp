// Every kind of thread the program starts must be able to record the overflow of its own
// stack, which only a signal stack of its own makes possible.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <functional>
#include <ostream>
#include <vector>

#include <QCoreApplication>

#include "CrashTestSupport.h"
#include "analytics/EVTSerialQueue.h"
#include "memory/FakeMemorySource.h"
#include "memory/QRMMemoryInfo.h"
#include "threads/StartThread.h"
#include "threads/ThreadSignalStack.h"

namespace tarnwell::crash {
namespace {

using namespace testing;

// Runs out of stack long before depth could reach its limit.
[[gnu::noinline]] int recurseDeeply(int depth) {
    volatile char frame[256];
    frame[0] = char(depth);
    if (depth == INT_MAX) {
        return 0;
    }
    return recurseDeeply(depth + 1) + frame[0];
}

// An allocator whose cleaning overflows the cleaning thread's stack.
class OverflowingAllocator : public MemoryBlockAllocator {
public:
    void *allocate(size_t bytes) override { return std::malloc(bytes); }
    void makeResident(void *, size_t, const std::function<bool()> &) override { recurseDeeply(0); }
    void release(void *block, size_t) override { std::free(block); }
};

struct ThreadKind {
    const char *name;
    std::function<void()> overflow;
    friend void PrintTo(const ThreadKind &kind, std::ostream *out) { *out << kind.name; }
};

class ThreadStackOverflowTest : public ::testing::TestWithParam<ThreadKind> {};

TEST_P(ThreadStackOverflowTest, IsRecordedAndEndsTheProcess) {
    TemporaryDirectory reports;
    const ChildEnd end = runCapturedInChild(reports.path(), GetParam().overflow);
    ASSERT_TRUE(end.finished) << "child hung";
    EXPECT_EQ(end.signal, SIGSEGV) << "exit status " << end.exitStatus;
    const auto records = activeRecords(reports.path(), "signal.crsrecord");
    ASSERT_EQ(records.size(), 2u) << "one signal record and one thread record";
    ASSERT_NE(records[0].find("signal"), nullptr);
    EXPECT_EQ(records[0].find("signal")->stringAt("name"), "SIGSEGV");
    EXPECT_NE(records[1].find("thread"), nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Threads, ThreadStackOverflowTest,
    ::testing::Values(
        // The controller's background tasks and the image watcher start theirs here.
        ThreadKind{"StartedThread", [] { threads::startThread([] { recurseDeeply(0); }).join(); }},
        ThreadKind{"CleaningThread",
                   [] {
                       auto state = std::make_shared<test::FakeMemorySource::State>();
                       state->vmStatistics = test::smallMachine();
                       state->hardwarePhysicalMemory = uint64_t{4} << 30;
                       QRMMemoryInfo engine(std::make_unique<test::FakeMemorySource>(state),
                                            std::make_unique<OverflowingAllocator>());
                       engine.refresh();
                       ASSERT_TRUE(engine.cleanMemoryNow().started());
                       for (;;) {
                           pause();  // until the cleaning thread's crash ends the process
                       }
                   }},
        ThreadKind{"EventsWorker",
                   [] {
                       int argc = 1;
                       char name[] = "tarnwell_test";
                       char *argv[] = {name, nullptr};
                       const QCoreApplication application(argc, argv);
                       EVTSerialQueue queue;
                       queue.post([] { recurseDeeply(0); });
                       queue.waitUntilIdle();
                   }}),
    [](const auto &info) { return std::string(info.param.name); });

// A crash is likeliest when free memory is nearly gone; a stack that still had to be
// faulted in then might not be there for the handler.
TEST(ThreadSignalStack, IsResidentBeforeUse) {
    const size_t size = threads::ThreadSignalStack::kMinimumSize;
    const size_t pageSize = size_t(sysconf(_SC_PAGESIZE));
    void *stack = threads::ThreadSignalStack::mapGuarded(size);
    ASSERT_NE(stack, nullptr);
    std::vector<unsigned char> pages(size / pageSize);
    ASSERT_EQ(mincore(stack, size, pages.data()), 0);
    for (size_t i = 0; i < pages.size(); ++i) {
        EXPECT_EQ(pages[i] & 1, 1) << "page " << i;
    }
    munmap(static_cast<char *>(stack) - pageSize, size + pageSize);
}

}  // namespace
}  // namespace tarnwell::crash
