#include "crash/SignalCapture.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <barrier>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "CrashTestSupport.h"
#include "crash/CrashReporter.h"
#include "crash/DeliberateCrash.h"

namespace tarnwell::crash {
namespace {

using namespace testing;

void nullStore() {
    crashDeliberately(DeliberateCrash::Segv);
}

struct CrashCase {
    const char *name;
    void (*crash)();
    int expectedSignal;
    const char *codeName;  // nullptr: null in the record
    bool hardwareFault;    // the record's code is positive and the address meaningful
};

class SignalCaptureTest : public ::testing::TestWithParam<CrashCase> {};

TEST_P(SignalCaptureTest, RecordsSignalAndThreadThenDiesOfIt) {
    const CrashCase &c = GetParam();
    TemporaryDirectory reports;
    const ChildEnd end = runCapturedInChild(reports.path(), c.crash);
    ASSERT_TRUE(end.finished) << "child hung";
    ASSERT_TRUE(end.signaled) << "exit status " << end.exitStatus;
    EXPECT_EQ(end.signal, c.expectedSignal);

    const auto records = activeRecords(reports.path(), "signal.crsrecord");
    ASSERT_EQ(records.size(), 2u) << "one signal record and one thread record";
    const RecordValue *signal = records[0].find("signal");
    ASSERT_NE(signal, nullptr);
    EXPECT_EQ(signal->stringAt("name"), std::string("SIG") + sigabbrev_np(c.expectedSignal));
    const RecordValue *codeName = signal->find("code_name");
    ASSERT_NE(codeName, nullptr);
    if (c.codeName == nullptr) {
        EXPECT_EQ(codeName->type, RecordValue::Type::Null);
    } else {
        EXPECT_EQ(codeName->text, c.codeName);
    }
    EXPECT_EQ(signal->unsignedAt("number"), uint64_t(c.expectedSignal));
    const RecordValue *code = signal->find("code");
    ASSERT_NE(code, nullptr);
    EXPECT_EQ(code->text[0] != '-' && code->text != "0", c.hardwareFault) << code->text;
    std::vector<std::string> keys;
    for (const auto &[key, value] : signal->members) {
        keys.push_back(key);
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"number", "code", "address", "name", "code_name",
                                              "errno", "time"}));

    const RecordValue *thread = records[1].find("thread");
    ASSERT_NE(thread, nullptr);
    EXPECT_NE(thread->find("registers"), nullptr);
    const RecordValue *frames = thread->find("frames");
    ASSERT_NE(frames, nullptr);
    ASSERT_FALSE(frames->items.empty());
    // The faulting instruction lies in an image the table knows (this test or libc).
    EXPECT_NE(frames->items[0].find("image_base"), nullptr);
}

// A fault comes back by itself when the handler returns; a sent signal, a trap and a bad
// system call must be sent again, each by its own path.
INSTANTIATE_TEST_SUITE_P(
    Faults, SignalCaptureTest,
    ::testing::Values(
        CrashCase{"NullStore", nullStore, SIGSEGV, nullptr, true},
        CrashCase{"Trap", [] { crashDeliberately(DeliberateCrash::Ill); }, SIGILL, nullptr, true},
        CrashCase{"IntegerDivide", [] { crashDeliberately(DeliberateCrash::Fpe); }, SIGFPE, nullptr,
                  true},
        CrashCase{"Abort", [] { crashDeliberately(DeliberateCrash::Abort); }, SIGABRT, "ABORT",
                  false},
        CrashCase{"MappedFileBusError", [] { crashDeliberately(DeliberateCrash::Bus); }, SIGBUS,
                  nullptr, true},
        CrashCase{"RaiseSegv", [] { raise(SIGSEGV); }, SIGSEGV, nullptr, false},
        CrashCase{"RaiseSys", [] { raise(SIGSYS); }, SIGSYS, nullptr, false},
        CrashCase{"RaiseTrap", [] { raise(SIGTRAP); }, SIGTRAP, nullptr, false}),
    [](const auto &info) { return std::string(info.param.name); });

struct ChainCase {
    const char *name;
    int signal;
    void (*crash)();
};

class ForeignHandlerChainTest : public ::testing::TestWithParam<ChainCase> {};

// A handler installed before crash capture must still run after the record is written:
// the stand-in ends the process with SIGKILL, which nothing else would.
TEST_P(ForeignHandlerChainTest, PreviousHandlerRunsAfterRecord) {
    const ChainCase &c = GetParam();
    TemporaryDirectory reports;
    const ChildEnd end = runCapturedInChild(reports.path(), c.crash,
                                            [&] { signal(c.signal, [](int) { raise(SIGKILL); }); });
    ASSERT_TRUE(end.finished);
    EXPECT_EQ(end.signal, SIGKILL);
    EXPECT_EQ(activeRecords(reports.path(), "signal.crsrecord").size(), 2u);
}

INSTANTIATE_TEST_SUITE_P(
    Chains, ForeignHandlerChainTest,
    ::testing::Values(ChainCase{"HardwareFault", SIGSEGV, nullStore},
                      ChainCase{"Abort", SIGABRT,
                                [] { crashDeliberately(DeliberateCrash::Abort); }},
                      ChainCase{"RaisedTrap", SIGTRAP, [] { raise(SIGTRAP); }}),
    [](const auto &info) { return std::string(info.param.name); });

// The previous handler faults again while the signal it handles is blocked: the kernel
// ends the process, and the second fault leaves no second record.
TEST(SignalCaptureTest, SecondFaultIsNotRecordedAgain) {
    TemporaryDirectory reports;
    const ChildEnd end = runCapturedInChild(reports.path(), nullStore,
                                            [] { signal(SIGSEGV, [](int) { nullStore(); }); });
    ASSERT_TRUE(end.finished);
    EXPECT_EQ(end.signal, SIGSEGV);
    const auto records = activeRecords(reports.path(), "signal.crsrecord");
    ASSERT_EQ(records.size(), 2u);
    EXPECT_NE(records[0].find("signal"), nullptr);
}

TEST(SignalCaptureTest, HandlerLeavesQuietlyWhenAnotherPathIsRecording) {
    TemporaryDirectory reports;
    const ChildEnd end = runCapturedInChild(reports.path(), [] {
        testAndSetCrashOccurred(*crashContext());
        nullStore();
    });
    ASSERT_TRUE(end.finished);
    EXPECT_FALSE(end.signaled);
    EXPECT_EQ(end.exitStatus, 1);
    EXPECT_TRUE(activeRecords(reports.path(), "signal.crsrecord").empty());
}

TEST(SignalCaptureTest, ErrnoOfTheFaultIsRecorded) {
    TemporaryDirectory reports;
    runCapturedInChild(reports.path(), [] {
        errno = EMFILE;
        raise(SIGSEGV);
    });
    const auto records = activeRecords(reports.path(), "signal.crsrecord");
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records[0].find("signal")->unsignedAt("errno"), uint64_t(EMFILE));
}

// Threads faulting together must neither hang nor both write a report, nor may the
// second end the process before the first has written its own.
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
    int signalRecords = 0;
    for (const RecordValue &record : activeRecords(reports.path(), "signal.crsrecord")) {
        signalRecords += record.find("signal") != nullptr ? 1 : 0;
    }
    EXPECT_EQ(signalRecords, 1);
}

// Started with SIGTRAP ignored, a kill of it is no crash: the process goes on and
// nothing is recorded.
TEST(SignalCaptureTest, SignalIgnoredAtStartStaysIgnored) {
    TemporaryDirectory reports;
    const ChildEnd end = runCapturedInChild(
        reports.path(), [] { raise(SIGTRAP); }, [] { signal(SIGTRAP, SIG_IGN); });
    ASSERT_TRUE(end.finished);
    EXPECT_FALSE(end.signaled) << "killed by " << end.signal;
    EXPECT_EQ(end.exitStatus, 0);
    EXPECT_TRUE(activeRecords(reports.path(), "signal.crsrecord").empty());
}

// A handler installed once crash reporting has started (as a toolkit would while it
// sets itself up) is named by the check that runs when start-up is over, once.
TEST(SignalCaptureTest, ForeignHandlerCheckAfterStartUpNamesTheIntruder) {
    TemporaryDirectory reports;
    const std::string output = reports.path() + "/stderr";
    const ChildEnd end = runInChild([&] {
        const int fd = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(fd, STDERR_FILENO);
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
    ASSERT_TRUE(end.finished);
    ASSERT_EQ(end.exitStatus, 0);
    const auto lines = readLines(output);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(lines[0].starts_with("[Telemetry] The signal SIGBUS has a non-Telemetry handler ("))
        << lines[0];
    EXPECT_TRUE(lines[0].ends_with(").  This will interfere with reporting.")) << lines[0];
}

}  // namespace
}  // namespace tarnwell::crash
