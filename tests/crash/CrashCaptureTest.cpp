// Crashes a forked child by every signal and uncaught exception the kit captures, and
// reads back what it recorded.
#include "crash/ExceptionCapture.h"
#include "crash/SignalCapture.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <algorithm>
#include <barrier>
#include <climits>
#include <exception>
#include <memory>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <utility>

#include <QCoreApplication>

#include "CrashTestSupport.h"
#include "analytics/EVTSerialQueue.h"
#include "crash/CrashReporter.h"
#include "crash/DeliberateCrash.h"
#include "crash/MachExceptionTables.h"
#include "memory/FakeMemorySource.h"
#include "memory/QRMMemoryInfo.h"
#include "threads/StartThread.h"
#include "threads/ThreadSignalStack.h"

#include "CaseName.h"

namespace tarnwell::crash {
namespace {

using namespace testing;

// Runs `body` in a child with crash reporting started and its reports under `reports`
// (no image watcher; exit status 99 if it cannot start).
// `beforeCapture` installs what must already be in place when reporting starts.
ChildEnd runCapturedInChild(const std::string &reports, const std::function<void()> &body,
                            const std::function<void()> &beforeCapture = {},
                            bool checkForeignHandlers = false) {
    return runInChild([&] {
        if (beforeCapture) {
            beforeCapture();
        }
        CrashReportingOptions options;
        options.reportsDirectory = reports;
        options.metadata.bundleIdentifier = "app.tarnwell.Tests";
        options.checkForeignHandlers = checkForeignHandlers;
        options.watchImages = false;
        if (!startCrashReporting(options)) {
            _exit(99);
        }
        body();
    });
}

void crashAs(const char *way) {
    crashDeliberately(*parseDeliberateCrash(way));
}

void nullStore() {
    crashAs("segv");
}

// The values that change from run to run ("address" of a sent signal, "time") are read
// as N wherever the expected line says N.
std::string masked(const std::string &line, const std::string &expected) {
    const std::string timeMasked =
        std::regex_replace(line, std::regex(R"("time":\d+)"), R"("time":N)");
    return expected.find(R"("address":N)") == std::string::npos
               ? timeMasked
               : std::regex_replace(timeMasked, std::regex(R"("address":\d+)"), R"("address":N)");
}

// Runs out of stack long before depth could reach its limit.
[[gnu::noinline]] int recurseDeeply(int depth) {
    volatile char frame[256];
    frame[0] = char(depth);
    return depth == INT_MAX ? 0 : recurseDeeply(depth + 1) + frame[0];
}

void overflowThisThread() {
    errno = EMFILE;
    recurseDeeply(0);
}

// An allocator whose cleaning overflows the cleaning thread's stack.
struct OverflowingAllocator : MemoryBlockAllocator {
    void *allocate(size_t bytes) override { return std::malloc(bytes); }
    void makeResident(void *, size_t, const std::function<bool()> &) override {
        overflowThisThread();
    }
    void release(void *block, size_t) override { std::free(block); }
};

void overflowCleaningThread() {
    auto state = std::make_shared<test::FakeMemorySource::State>();
    state->vmStatistics = test::smallMachine();
    state->hardwarePhysicalMemory = uint64_t{4} << 30;
    QRMMemoryInfo engine(std::make_unique<test::FakeMemorySource>(state),
                         std::make_unique<OverflowingAllocator>());
    engine.refresh();
    for (bool started = engine.cleanMemoryNow().started(); started;) {
        pause();  // until the cleaning thread's crash ends the process
    }
}

void overflowEventsWorker() {
    int argc = 1;
    char name[] = "tarnwell_test";
    char *argv[] = {name, nullptr};
    const QCoreApplication application(argc, argv);
    EVTSerialQueue queue;
    queue.post(overflowThisThread);
    queue.waitUntilIdle();
}

// The signal record's fields, from a run of each case checked by hand.
struct CrashCase {
    const char *name;
    void (*crash)();
    int endSignal;
    const char *signalName;
    int code;
    const char *address = "N", *codeName = "null";
};

class SignalCaptureTest : public ::testing::TestWithParam<CrashCase> {};

TEST_P(SignalCaptureTest, RecordsSignalAndThreadThenDiesOfIt) {
    const CrashCase &c = GetParam();
    TemporaryDirectory reports;
    const ChildEnd end = runCapturedInChild(reports.path(), [&] {
        errno = EMFILE;
        c.crash();
    });
    ASSERT_TRUE(end.finished) << "child hung";
    EXPECT_EQ(end.signal, c.endSignal) << "exit status " << end.exitStatus;

    const auto lines = readLines(activeFile(reports.path(), "signal.crsrecord"));
    ASSERT_EQ(lines.size(), 2u) << "one signal record and one thread record";
    const std::string expected = R"({"signal":{"number":)" + std::to_string(c.endSignal) +
                                 R"(,"code":)" + std::to_string(c.code) + R"(,"address":)" +
                                 c.address + R"(,"name":")" + c.signalName + R"(","code_name":)" +
                                 c.codeName + R"(,"errno":24,"time":N}})";
    EXPECT_EQ(masked(lines[0], expected), expected);
    const auto record = parseRecordLine(lines[1]);
    const RecordValue *thread = record ? record->find("thread") : nullptr;
    ASSERT_NE(thread, nullptr) << lines[1];
    EXPECT_NE(thread->find("registers"), nullptr);
    const RecordValue *frames = thread->find("frames");
    ASSERT_TRUE(frames != nullptr && !frames->items.empty());
    // The faulting instruction lies in an image the table knows (this test or libc).
    EXPECT_NE(frames->items[0].find("image_base"), nullptr);
}

// A fault comes back by itself when the handler returns; a sent signal, a trap and a bad
// system call must be sent again, each by its own path. Every kind of thread the program
// starts records the overflow of its own stack, which only a signal stack of its own
// makes possible: the controller's tasks and the image watcher start theirs through
// startThread, the engine its cleaning thread, the events kit its worker. Codes:
// SEGV_MAPERR 1, SEGV_ACCERR 2, ILL_ILLOPN 2, FPE_INTDIV 1, BUS_ADRERR 2, SI_TKILL -6;
// a sent signal's "address" is the sender.
const CrashCase kCrashCases[] = {
    {"NullStore", nullStore, SIGSEGV, "SIGSEGV", 1, "0"},
    {"Trap", [] { crashAs("ill"); }, SIGILL, "SIGILL", 2},
    {"IntegerDivide", [] { crashAs("fpe"); }, SIGFPE, "SIGFPE", 1},
    {"Abort", [] { crashAs("abort"); }, SIGABRT, "SIGABRT", -6, "N", R"("ABORT")"},
    {"MappedFileBusError", [] { crashAs("bus"); }, SIGBUS, "SIGBUS", 2},
    {"RaiseSegv", [] { raise(SIGSEGV); }, SIGSEGV, "SIGSEGV", -6},
    {"RaiseSys", [] { raise(SIGSYS); }, SIGSYS, "SIGSYS", -6},
    {"RaiseTrap", [] { raise(SIGTRAP); }, SIGTRAP, "SIGTRAP", -6},
    {"StartedThreadOverflow", [] { threads::startThread(overflowThisThread).join(); }, SIGSEGV,
     "SIGSEGV", 2},
    {"CleaningThreadOverflow", overflowCleaningThread, SIGSEGV, "SIGSEGV", 2},
    {"EventsWorkerOverflow", overflowEventsWorker, SIGSEGV, "SIGSEGV", 2}};
INSTANTIATE_TEST_SUITE_P(Faults, SignalCaptureTest, ::testing::ValuesIn(kCrashCases),
                         tarnwell::test::caseName);

void killSelf(int) {
    raise(SIGKILL);
}

// More than two make a later one likelier to fault while the first records.
void crashEightThreadsAtOnce() {
    std::barrier start(8);
    std::vector<std::jthread> crashers;
    for (int i = 0; i < 8; ++i) {
        crashers.emplace_back([&start] {
            start.arrive_and_wait();
            nullStore();
        });
    }
}

struct OutcomeCase {
    const char *name;
    void (*before)();  // in place when capture starts
    void (*body)();
    int endSignal;  // 0: the process exits with exitStatus
    int exitStatus;
    size_t signalLines, exceptionLines;
};

class CaptureOutcomeTest : public ::testing::TestWithParam<OutcomeCase> {};

TEST_P(CaptureOutcomeTest, EndsAsExpectedWithOneRecordAtMost) {
    const OutcomeCase &c = GetParam();
    TemporaryDirectory reports;
    const ChildEnd end = runCapturedInChild(reports.path(), c.body, c.before);
    ASSERT_TRUE(end.finished) << "child hung";
    EXPECT_EQ(end.signal, c.endSignal);
    EXPECT_EQ(end.exitStatus, c.endSignal == 0 ? c.exitStatus : -1);
    EXPECT_EQ(readLines(activeFile(reports.path(), "signal.crsrecord")).size(), c.signalLines);
    EXPECT_EQ(readLines(activeFile(reports.path(), "exception.crsrecord")).size(),
              c.exceptionLines);
}

// Threads faulting together neither hang nor write twice: a later one waits for the
// first to write its record and end the process. A handler that was there before capture
// runs after the record is written (SIGKILL ends the process only when it does); one that
// faults again while its signal is blocked is ended by the kernel, with no second record.
// Another path already recording makes the handler leave with status 1; a signal ignored
// at start stays ignored. An uncaught exception is recorded before the previous terminate
// handler runs; a terminate without one is left to the abort it makes.
const OutcomeCase kOutcomeCases[] = {
    {"ThreadsCrashingAtOnce", nullptr, crashEightThreadsAtOnce, SIGSEGV, 0, 2, 0},
    {"FaultThenPreviousHandler", [] { signal(SIGSEGV, killSelf); }, nullStore, SIGKILL, 0, 2, 0},
    {"AbortThenPreviousHandler", [] { signal(SIGABRT, killSelf); }, [] { crashAs("abort"); },
     SIGKILL, 0, 2, 0},
    {"RaisedTrapThenPreviousHandler", [] { signal(SIGTRAP, killSelf); }, [] { raise(SIGTRAP); },
     SIGKILL, 0, 2, 0},
    {"PreviousHandlerFaultsAgain", [] { signal(SIGSEGV, [](int) { nullStore(); }); }, nullStore,
     SIGSEGV, 0, 2, 0},
    {"AnotherPathIsRecording", nullptr,
     [] {
         testAndSetCrashOccurred(*crashContext());
         nullStore();
     },
     0, 1, 0, 0},
    {"SignalIgnoredAtStart", [] { signal(SIGTRAP, SIG_IGN); }, [] { raise(SIGTRAP); }, 0, 0, 0, 0},
    {"ExceptionThenPreviousTerminate", [] { std::set_terminate([] { _exit(42); }); },
     [] { throw std::runtime_error("chained"); }, 0, 42, 0, 2},
    {"TerminateWithoutException", nullptr, [] { std::terminate(); }, SIGABRT, 0, 2, 0}};
INSTANTIATE_TEST_SUITE_P(Cases, CaptureOutcomeTest, ::testing::ValuesIn(kOutcomeCases),
                         tarnwell::test::caseName);

// A handler installed once crash reporting has started (as a toolkit would while it
// sets itself up) is named by the check that runs when start-up is over, once.
TEST(SignalCaptureTest, ForeignHandlerCheckAfterStartUpNamesTheIntruder) {
    TemporaryDirectory reports;
    const std::string output = reports.path() + "/stderr";
    const auto installAndCheck = [] {
        signal(SIGBUS, [](int) {});
        checkForeignSignalHandlersOnce();
        checkForeignSignalHandlersOnce();
    };
    const auto toOutput = [&] {
        dup2(open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), STDERR_FILENO);
    };
    ASSERT_EQ(runCapturedInChild(reports.path(), installAndCheck, toOutput, true).exitStatus, 0);
    EXPECT_EQ(std::regex_replace(readText(output), std::regex(R"(handler \(.+\))"), "handler (N)"),
              "[Telemetry] The signal SIGBUS has a non-Telemetry handler (N).  This will "
              "interfere with reporting.\n");
}

struct DerivedError : std::logic_error {
    using std::logic_error::logic_error;
};

struct ExceptionCase {
    const char *name;
    void (*raise)();
    const char *typeName;
    const char *reason;  // as recorded: quotes and line breaks cannot end the value early
};

class UncaughtExceptionTest : public ::testing::TestWithParam<ExceptionCase> {};

TEST_P(UncaughtExceptionTest, RecordedBeforeAbortReachesDefaultAction) {
    const ExceptionCase &c = GetParam();
    TemporaryDirectory reports;
    const ChildEnd end = runCapturedInChild(reports.path(), c.raise);
    EXPECT_EQ(end.signal, SIGABRT) << "exit status " << end.exitStatus;

    const auto lines = readLines(activeFile(reports.path(), "exception.crsrecord"));
    ASSERT_EQ(lines.size(), 2u);
    const std::string expected = std::string(R"({"exception":{"kind":2,"type":")") + c.typeName +
                                 R"(","reason":")" + c.reason + R"(","time":N}})";
    EXPECT_EQ(masked(lines[0], expected), expected);
    const auto thread = parseRecordLine(lines[1]);
    ASSERT_TRUE(thread && thread->find("thread")) << lines[1];
    EXPECT_FALSE(thread->find("thread")->find("frames")->items.empty());
    // The abort that follows is the exception's own end, not a second crash.
    EXPECT_TRUE(readLines(activeFile(reports.path(), "signal.crsrecord")).empty());
}

// One case for each way the type is found; the two deliberate crashes support can ask for
// are among them.
const ExceptionCase kExceptionCases[] = {
    {"CString", [] { throw "plain text"; }, "const char *", "plain text"},
    {"StdString", [] { throw std::string("a string"); }, "std::string", "a string"},
    {"DeliberateThrow", [] { crashAs("throw"); }, "std::runtime_error", "deliberate crash"},
    {"DerivedByReference", [] { throw DerivedError("derived \"quoted\"\nreason"); },
     "tarnwell::crash::(anonymous namespace)::DerivedError", "derived 'quoted' reason"},
    {"ByPointer",
     [] {
         static const std::out_of_range error("p");
         throw static_cast<const std::exception *>(&error);
     },
     "std::out_of_range", "p"},
    {"DeliberateThrowInt", [] { crashAs("throw-int"); }, "int", ""}};
INSTANTIATE_TEST_SUITE_P(Classes, UncaughtExceptionTest, ::testing::ValuesIn(kExceptionCases),
                         tarnwell::test::caseName);

// A crash is likeliest when free memory is nearly gone; a stack that still had to be
// faulted in then might not be there for the handler.
TEST(ThreadSignalStack, IsResidentBeforeUse) {
    const size_t size = threads::ThreadSignalStack::kMinimumSize;
    const size_t pageSize = size_t(sysconf(_SC_PAGESIZE));
    void *stack = threads::ThreadSignalStack::mapGuarded(size);
    ASSERT_NE(stack, nullptr);
    std::vector<unsigned char> pages(size / pageSize);
    ASSERT_EQ(mincore(stack, size, pages.data()), 0);
    EXPECT_EQ(std::ranges::count_if(pages, [](unsigned char page) { return page & 1; }),
              std::ssize(pages));
    munmap(static_cast<char *>(stack) - pageSize, size + pageSize);
}

// The ends of each table and the gaps between its named entries: each type with its
// name, then "code:name" for each first code tried ("-" stands for null).
TEST(ExceptionNameTest, NamesTypeAndFirstCode) {
    using namespace mach;
    const std::tuple<int, const char *, const char *> types[] = {
        {1, "EXC_BAD_ACCESS", "2:KERN_PROTECTION_FAILURE 3:-"},
        {2, "EXC_BAD_INSTRUCTION", "0:EXC_I386_INVOP"},
        {3, "EXC_ARITHMETIC", "0:- 1:EXC_I386_DIV 8:EXC_I386_SSEEXTERR 9:-"},
        {6, "EXC_BREAKPOINT",
         "-1:- 0:EXC_I386_DIVERR 8:- 17:EXC_I386_ALIGNFLT 25:- 33:EXC_I386_ENDPERR 34:-"},
        {12, "EXC_GUARD", "5:-"},
        {4, nullptr, "1:-"}};
    for (const auto &[type, name, codes] : types) {
        EXPECT_STREQ(exceptionName(type), name);
        std::istringstream pairs(codes);
        std::string codeName;
        for (int64_t code; pairs >> code && pairs.ignore(1) >> codeName;) {
            EXPECT_STREQ(exceptionCodeName(type, code),
                         codeName == "-" ? nullptr : codeName.c_str())
                << type << " " << code;
        }
    }
}

// This kernel's numbers: SIGILL 4, SIGTRAP 5, SIGABRT 6, SIGBUS 7, SIGFPE 8, SIGKILL 9,
// SIGSEGV 11, SIGSYS 31. Abort and bad system calls map to EXC_CRASH (1024), which is
// never registered, so insisting on them changes nothing.
// The version code comes from the minor number alone.
TEST(ExceptionMaskTest, GuardFromVersionCode1070LessSignalsDeliveredAsSignals) {
    using namespace mach;
    const std::pair<int, uint32_t> codes[] = {{5, 0},       {6, 1060},    {9, 1090},
                                              {10, 101000}, {16, 101600}, {17, 0}};
    for (const auto &[minor, code] : codes) {
        EXPECT_EQ(systemVersionCode(minor), code) << minor;
    }
    EXPECT_EQ(exceptionMask(1060, {}), 0x4Eu);
    EXPECT_EQ(exceptionMask(1070, {}), 0x104Eu);
    EXPECT_EQ(exceptionMask(101600, {}), 0x104Eu);
    const int badAccess[] = {11, 7}, eachFault[] = {4, 5, 8}, crashOnly[] = {6, 31, 9};
    EXPECT_EQ(exceptionMask(1070, badAccess), 0x104Cu);
    EXPECT_EQ(exceptionMask(1070, eachFault), 0x1002u);
    EXPECT_EQ(exceptionMask(1070, crashOnly), 0x104Eu);
    EXPECT_EQ(exceptionMaskForSignal(6), 1024u);
    EXPECT_EQ(exceptionMaskForSignal(31), 1024u);
}

}  // namespace
}  // namespace tarnwell::crash
