#include "crash/SignalCapture.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <barrier>
#include <string>
#include <thread>
#include <vector>

#include "CrashTestSupport.h"
#include "crash/CrashReporter.h"
#include "crash/DeliberateCrash.h"

#include "CaseName.h"

namespace tarnwell::crash {
namespace {

using namespace testing;

void crashAs(const char *way) {
    crashDeliberately(*parseDeliberateCrash(way));
}

void nullStore() {
    crashAs("segv");
}

// The values that change from run to run ("address" of a sent signal, "time") are read
// as N wherever the expected line says N.
std::string masked(std::string line, const std::string &expected) {
    for (const std::string key : {"\"address\":", "\"time\":"}) {
        const size_t at = line.find(key);
        if (at != std::string::npos && expected.find(key + "N") != std::string::npos) {
            const size_t start = at + key.size();
            line.replace(start, line.find_first_not_of("0123456789", start) - start, "N");
        }
    }
    return line;
}

struct CrashCase {
    const char *name;
    void (*crash)();
    int endSignal;
    const char *fields;  // of the signal record, from a run of this case checked by hand
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
    const std::string expected =
        std::string(R"({"signal":{"number":)") + c.fields + R"(,"errno":24,"time":N}})";
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
// system call must be sent again, each by its own path. Codes: SEGV_MAPERR 1, ILL_ILLOPN
// 2, FPE_INTDIV 1, BUS_ADRERR 2, SI_TKILL -6; a sent signal's "address" is the sender.
INSTANTIATE_TEST_SUITE_P(
    Faults, SignalCaptureTest,
    ::testing::Values(CrashCase{"NullStore", nullStore, SIGSEGV,
                                R"(11,"code":1,"address":0,"name":"SIGSEGV","code_name":null)"},
                      CrashCase{"Trap", [] { crashAs("ill"); }, SIGILL,
                                R"(4,"code":2,"address":N,"name":"SIGILL","code_name":null)"},
                      CrashCase{"IntegerDivide", [] { crashAs("fpe"); }, SIGFPE,
                                R"(8,"code":1,"address":N,"name":"SIGFPE","code_name":null)"},
                      CrashCase{"Abort", [] { crashAs("abort"); }, SIGABRT,
                                R"(6,"code":-6,"address":N,"name":"SIGABRT","code_name":"ABORT")"},
                      CrashCase{"MappedFileBusError", [] { crashAs("bus"); }, SIGBUS,
                                R"(7,"code":2,"address":N,"name":"SIGBUS","code_name":null)"},
                      CrashCase{"RaiseSegv", [] { raise(SIGSEGV); }, SIGSEGV,
                                R"(11,"code":-6,"address":N,"name":"SIGSEGV","code_name":null)"},
                      CrashCase{"RaiseSys", [] { raise(SIGSYS); }, SIGSYS,
                                R"(31,"code":-6,"address":N,"name":"SIGSYS","code_name":null)"},
                      CrashCase{"RaiseTrap", [] { raise(SIGTRAP); }, SIGTRAP,
                                R"(5,"code":-6,"address":N,"name":"SIGTRAP","code_name":null)"}),
    tarnwell::test::caseName);

struct ChainCase {
    const char *name;
    int signal;
    void (*crash)();
    void (*previous)(int);
    int endSignal;
};

class ForeignHandlerChainTest : public ::testing::TestWithParam<ChainCase> {};

// A handler installed before crash capture must still run after the record is written,
// and only one record is written however that handler ends.
TEST_P(ForeignHandlerChainTest, PreviousHandlerRunsAfterRecord) {
    const ChainCase &c = GetParam();
    TemporaryDirectory reports;
    const ChildEnd end =
        runCapturedInChild(reports.path(), c.crash, [&] { signal(c.signal, c.previous); });
    ASSERT_TRUE(end.finished);
    EXPECT_EQ(end.signal, c.endSignal);
    EXPECT_EQ(activeRecords(reports.path(), "signal.crsrecord").size(), 2u);
}

// SIGKILL ends the process only when the stand-in runs. The last one faults again while
// the signal it handles is blocked: the kernel ends the process with no second record.
INSTANTIATE_TEST_SUITE_P(Chains, ForeignHandlerChainTest,
                         ::testing::Values(ChainCase{"HardwareFault", SIGSEGV, nullStore,
                                                     [](int) { raise(SIGKILL); }, SIGKILL},
                                           ChainCase{"Abort", SIGABRT, [] { crashAs("abort"); },
                                                     [](int) { raise(SIGKILL); }, SIGKILL},
                                           ChainCase{"RaisedTrap", SIGTRAP, [] { raise(SIGTRAP); },
                                                     [](int) { raise(SIGKILL); }, SIGKILL},
                                           ChainCase{"FaultingAgain", SIGSEGV, nullStore,
                                                     [](int) { nullStore(); }, SIGSEGV}),
                         tarnwell::test::caseName);

TEST(SignalCaptureTest, HandlerLeavesQuietlyWhenAnotherPathIsRecording) {
    TemporaryDirectory reports;
    const ChildEnd end = runCapturedInChild(reports.path(), [] {
        testAndSetCrashOccurred(*crashContext());
        nullStore();
    });
    EXPECT_EQ(end.exitStatus, 1) << "signal " << end.signal;
    EXPECT_TRUE(activeRecords(reports.path(), "signal.crsrecord").empty());
}

// Started with SIGTRAP ignored, a kill of it is no crash: the process goes on and
// nothing is recorded.
TEST(SignalCaptureTest, SignalIgnoredAtStartStaysIgnored) {
    TemporaryDirectory reports;
    const ChildEnd end = runCapturedInChild(
        reports.path(), [] { raise(SIGTRAP); }, [] { signal(SIGTRAP, SIG_IGN); });
    EXPECT_EQ(end.exitStatus, 0) << "signal " << end.signal;
    EXPECT_TRUE(activeRecords(reports.path(), "signal.crsrecord").empty());
}

// Threads faulting together must neither hang nor both write a report, nor may a later
// one end the process before the first has written its own.
TEST(SignalCaptureTest, ThreadsCrashingAtOnceEndWithOneRecord) {
    TemporaryDirectory reports;
    const ChildEnd end = runCapturedInChild(reports.path(), [] {
        // More than two make a later one likelier to fault while the first records.
        constexpr int kThreads = 8;
        std::barrier start(kThreads);
        std::vector<std::thread> crashers;
        for (int i = 0; i < kThreads; ++i) {
            crashers.emplace_back([&start] {
                start.arrive_and_wait();
                nullStore();
            });
        }
        for (std::thread &crasher : crashers) {
            crasher.join();
        }
    });
    ASSERT_TRUE(end.finished) << "hung";
    EXPECT_TRUE(end.signal == SIGSEGV || end.exitStatus == 1)
        << "signal " << end.signal << ", exit status " << end.exitStatus;
    const auto records = activeRecords(reports.path(), "signal.crsrecord");
    ASSERT_EQ(records.size(), 2u) << "one signal record and one thread record";
    EXPECT_NE(records[0].find("signal"), nullptr);
}

// A handler installed once crash reporting has started (as a toolkit would while it
// sets itself up) is named by the check that runs when start-up is over, once.
TEST(SignalCaptureTest, ForeignHandlerCheckAfterStartUpNamesTheIntruder) {
    TemporaryDirectory reports;
    const std::string output = reports.path() + "/stderr";
    const ChildEnd end = runInChild([&] {
        dup2(open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), STDERR_FILENO);
        CrashReportingOptions options;
        options.reportsDirectory = reports.path() + "/reports";
        options.watchImages = false;
        if (!startCrashReporting(options)) {
            _exit(99);
        }
        signal(SIGBUS, [](int) {});
        checkForeignSignalHandlersOnce();
        checkForeignSignalHandlersOnce();
    });
    ASSERT_EQ(end.exitStatus, 0);
    const auto lines = readLines(output);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(lines[0].starts_with("[Telemetry] The signal SIGBUS has a non-Telemetry handler ("))
        << lines[0];
    EXPECT_TRUE(lines[0].ends_with(").  This will interfere with reporting.")) << lines[0];
}

}  // namespace
}  // namespace tarnwell::crash
