#include "crash/SignalCapture.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <barrier>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "CrashTestSupport.h"
#include "crash/CrashReporter.h"
#include "crash/DeliberateCrash.h"
#include "crash/RecordParser.h"
#include "crash/ThreadSignalStack.h"

namespace tarnwell::crash {
namespace {

using testing::ChildEnd;
using testing::onlyActiveDirectory;
using testing::parsedRecords;
using testing::readLines;
using testing::runInChild;
using testing::startCapture;
using testing::TemporaryDirectory;

struct CrashCase {
    const char *name;
    void (*crash)();
    int expectedSignal;
    const char *signalName;
    const char *codeName;  // nullptr: null in the record
    bool hardwareFault;    // the record's code is positive and the address meaningful
};

class SignalCaptureTest : public ::testing::TestWithParam<CrashCase> {};

TEST_P(SignalCaptureTest, RecordsSignalAndThreadThenDiesOfIt) {
    const CrashCase &c = GetParam();
    TemporaryDirectory reports;
    const ChildEnd end = runInChild([&] {
        startCapture(reports.path());
        c.crash();
    });
    ASSERT_TRUE(end.finished) << "child hung";
    ASSERT_TRUE(end.signaled) << "exit status " << end.exitStatus;
    EXPECT_EQ(end.signal, c.expectedSignal);

    const auto records = parsedRecords(onlyActiveDirectory(reports.path()) + "/signal.crsrecord");
    ASSERT_EQ(records.size(), 2u) << "one signal record and one thread record";
    const RecordValue *signal = records[0].find("signal");
    ASSERT_NE(signal, nullptr);
    EXPECT_EQ(signal->stringAt("name"), c.signalName);
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

void nullStore() {
    crashDeliberately(DeliberateCrash::Segv);
}
void undefinedInstruction() {
    crashDeliberately(DeliberateCrash::Ill);
}
void integerDivideByZero() {
    crashDeliberately(DeliberateCrash::Fpe);
}
void abortNow() {
    crashDeliberately(DeliberateCrash::Abort);
}
void busError() {
    crashDeliberately(DeliberateCrash::Bus);
}
template <int Number>
void raiseIt() {
    raise(Number);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, SignalCaptureTest,
    ::testing::Values(CrashCase{"NullStore", nullStore, SIGSEGV, "SIGSEGV", nullptr, true},
                      CrashCase{"Trap", undefinedInstruction, SIGILL, "SIGILL", nullptr, true},
                      CrashCase{"IntegerDivide", integerDivideByZero, SIGFPE, "SIGFPE", nullptr,
                                true},
                      CrashCase{"Abort", abortNow, SIGABRT, "SIGABRT", "ABORT", false},
                      CrashCase{"MappedFileBusError", busError, SIGBUS, "SIGBUS", nullptr, true},
                      CrashCase{"RaiseAbrt", raiseIt<SIGABRT>, SIGABRT, "SIGABRT", "ABORT", false},
                      CrashCase{"RaiseBus", raiseIt<SIGBUS>, SIGBUS, "SIGBUS", nullptr, false},
                      CrashCase{"RaiseFpe", raiseIt<SIGFPE>, SIGFPE, "SIGFPE", nullptr, false},
                      CrashCase{"RaiseIll", raiseIt<SIGILL>, SIGILL, "SIGILL", nullptr, false},
                      CrashCase{"RaiseSegv", raiseIt<SIGSEGV>, SIGSEGV, "SIGSEGV", nullptr, false},
                      CrashCase{"RaiseSys", raiseIt<SIGSYS>, SIGSYS, "SIGSYS", nullptr, false},
                      CrashCase{"RaiseTrap", raiseIt<SIGTRAP>, SIGTRAP, "SIGTRAP", nullptr, false}),
    [](const auto &info) { return std::string(info.param.name); });

// A handler installed before crash capture must still run after the record is written:
// the stand-in ends the process with SIGKILL, which nothing else would.
void killSelf(int) {
    raise(SIGKILL);
}

struct ChainCase {
    const char *name;
    int signal;
    void (*crash)();
};

class ForeignHandlerChainTest : public ::testing::TestWithParam<ChainCase> {};

TEST_P(ForeignHandlerChainTest, PreviousHandlerRunsAfterRecord) {
    const ChainCase &c = GetParam();
    TemporaryDirectory reports;
    const ChildEnd end = runInChild([&] {
        signal(c.signal, killSelf);
        startCapture(reports.path());
        c.crash();
    });
    ASSERT_TRUE(end.finished);
    EXPECT_TRUE(end.signaled);
    EXPECT_EQ(end.signal, SIGKILL);
    EXPECT_EQ(readLines(onlyActiveDirectory(reports.path()) + "/signal.crsrecord").size(), 2u);
}

INSTANTIATE_TEST_SUITE_P(Chains, ForeignHandlerChainTest,
                         ::testing::Values(ChainCase{"HardwareFault", SIGSEGV, nullStore},
                                           ChainCase{"Abort", SIGABRT, abortNow},
                                           ChainCase{"RaisedTrap", SIGTRAP, raiseIt<SIGTRAP>}),
                         [](const auto &info) { return std::string(info.param.name); });

// The previous handler faults again while the signal it handles is blocked: the kernel
// ends the process, and the second fault leaves no second record.
void faultAgain(int) {
    crashDeliberately(DeliberateCrash::Segv);
}

TEST(SignalCaptureTest, SecondFaultIsNotRecordedAgain) {
    TemporaryDirectory reports;
    const ChildEnd end = runInChild([&] {
        signal(SIGSEGV, faultAgain);
        startCapture(reports.path());
        nullStore();
    });
    ASSERT_TRUE(end.finished);
    EXPECT_EQ(end.signal, SIGSEGV);
    const auto lines = readLines(onlyActiveDirectory(reports.path()) + "/signal.crsrecord");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(lines[0].starts_with("{\"signal\":"));
}

TEST(SignalCaptureTest, HandlerLeavesQuietlyWhenAnotherPathIsRecording) {
    TemporaryDirectory reports;
    const ChildEnd end = runInChild([&] {
        startCapture(reports.path());
        testAndSetCrashOccurred(*crashContext());
        nullStore();
    });
    ASSERT_TRUE(end.finished);
    EXPECT_FALSE(end.signaled);
    EXPECT_EQ(end.exitStatus, 1);
    EXPECT_TRUE(readLines(onlyActiveDirectory(reports.path()) + "/signal.crsrecord").empty());
}

TEST(SignalCaptureTest, ErrnoOfTheFaultIsRecorded) {
    TemporaryDirectory reports;
    runInChild([&] {
        startCapture(reports.path());
        errno = EMFILE;
        raise(SIGSEGV);
    });
    const auto records = parsedRecords(onlyActiveDirectory(reports.path()) + "/signal.crsrecord");
    ASSERT_FALSE(records.empty());
    EXPECT_EQ(records[0].find("signal")->unsignedAt("errno"), uint64_t(EMFILE));
}

// Runs out of stack long before depth could reach its limit.
[[gnu::noinline]] int recurseDeeply(int depth) {
    volatile char frame[256];
    frame[0] = char(depth);
    if (depth == INT_MAX) {
        return 0;
    }
    return recurseDeeply(depth + 1) + frame[0];
}

// Only a thread with its own signal stack can record the overflow of its stack.
TEST(SignalCaptureTest, StackOverflowOnStartedThreadIsRecorded) {
    TemporaryDirectory reports;
    const ChildEnd end = runInChild([&] {
        startCapture(reports.path());
        std::thread([] {
            const ThreadSignalStack signalStack;
            recurseDeeply(0);
        }).join();
    });
    ASSERT_TRUE(end.finished);
    EXPECT_EQ(end.signal, SIGSEGV);
    const auto records = parsedRecords(onlyActiveDirectory(reports.path()) + "/signal.crsrecord");
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].find("signal")->stringAt("name"), "SIGSEGV");
}

// Two threads faulting together must neither hang nor both write a report: whichever
// comes second meets the default action or the crash-occurred flag.
TEST(SignalCaptureTest, TwoThreadsCrashingAtOnceEndWithOneRecord) {
    TemporaryDirectory reports;
    const ChildEnd end = runInChild([&] {
        startCapture(reports.path());
        std::barrier start(2);
        auto crasher = [&start] {
            start.arrive_and_wait();
            nullStore();
        };
        std::thread first(crasher);
        std::thread second(crasher);
        first.join();
        second.join();
    });
    ASSERT_TRUE(end.finished) << "hung";
    EXPECT_TRUE(end.signal == SIGSEGV || end.exitStatus == 1)
        << "signal " << end.signal << ", exit status " << end.exitStatus;
    int signalRecords = 0;
    for (const std::string &line :
         readLines(onlyActiveDirectory(reports.path()) + "/signal.crsrecord")) {
        signalRecords += line.starts_with("{\"signal\":") ? 1 : 0;
    }
    EXPECT_LE(signalRecords, 1);
}

void namedForeignHandler(int) {}

TEST(SignalCaptureTest, ForeignHandlerCheckNamesTheIntruder) {
    TemporaryDirectory reports;
    const std::string output = reports.path() + "/stderr";
    const ChildEnd end = runInChild([&] {
        startCapture(reports.path() + "/reports");
        signal(SIGBUS, namedForeignHandler);
        const int fd = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        checkForeignSignalHandlers(fd);
        close(fd);
    });
    ASSERT_TRUE(end.finished);
    const auto lines = readLines(output);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(lines[0].starts_with("[Telemetry] The signal SIGBUS has a non-Telemetry handler ("))
        << lines[0];
    EXPECT_TRUE(lines[0].ends_with(").  This will interfere with reporting.")) << lines[0];
}

TEST(SignalCaptureTest, NamesFollowTheSignals) {
    EXPECT_STREQ(signalName(SIGBUS), "SIGBUS");
    EXPECT_STREQ(signalName(SIGSYS), "SIGSYS");
    EXPECT_STREQ(signalName(SIGUSR1), "UNKNOWN");
    EXPECT_STREQ(signalName(0), "UNKNOWN");
    EXPECT_STREQ(signalCodeName(SIGABRT), "ABORT");
    EXPECT_EQ(signalCodeName(SIGSEGV), nullptr);
}

}  // namespace
}  // namespace tarnwell::crash
