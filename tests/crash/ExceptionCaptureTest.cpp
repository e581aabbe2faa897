#include "crash/ExceptionCapture.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <new>
#include <stdexcept>
#include <string>

#include "CrashTestSupport.h"

namespace tarnwell::crash {
namespace {

using testing::ChildEnd;
using testing::onlyActiveDirectory;
using testing::parsedRecords;
using testing::runInChild;
using testing::startCapture;
using testing::TemporaryDirectory;

struct CustomFailure {};
class DerivedError : public std::logic_error {
public:
    DerivedError() : std::logic_error("derived \"quoted\"\nreason") {}
};

struct ExceptionCase {
    const char *name;
    void (*raise)();
    const char *typeName;
    const char *reason;  // as recorded: quotes and line breaks cannot end the value early
};

const ExceptionCase kExceptions[] = {
    {"CString", [] { throw "plain text"; }, "const char *", "plain text"},
    {"StdString", [] { throw std::string("a string"); }, "std::string", "a string"},
    {"RuntimeError", [] { throw std::runtime_error("x"); }, "std::runtime_error", "x"},
    {"DerivedByReference", [] { throw DerivedError(); },
     "tarnwell::crash::(anonymous namespace)::DerivedError", "derived 'quoted' reason"},
    {"ByPointer",
     [] {
         static const std::out_of_range error("p");
         throw static_cast<const std::exception *>(&error);
     },
     "std::out_of_range", "p"},
    {"BadAlloc", [] { throw std::bad_alloc(); }, "std::bad_alloc", "std::bad_alloc"},
    {"Integer", [] { throw 42; }, "int", ""},
    {"Custom", [] { throw CustomFailure(); },
     "tarnwell::crash::(anonymous namespace)::CustomFailure", ""},
};

class ExceptionClassificationTest : public ::testing::TestWithParam<ExceptionCase> {};

TEST_P(ExceptionClassificationTest, DescribesActiveException) {
    const ExceptionCase &c = GetParam();
    ExceptionDescription description;
    try {
        c.raise();
    } catch (...) {
        description = describeCurrentException();
    }
    EXPECT_EQ(description.typeName, c.typeName);
    if (std::string(c.name) != "DerivedByReference") {
        EXPECT_EQ(description.reason, c.reason);
    }
}

INSTANTIATE_TEST_SUITE_P(Classes, ExceptionClassificationTest, ::testing::ValuesIn(kExceptions),
                         [](const auto &info) { return std::string(info.param.name); });

class UncaughtExceptionTest : public ::testing::TestWithParam<ExceptionCase> {};

TEST_P(UncaughtExceptionTest, RecordedBeforeAbortReachesDefaultAction) {
    const ExceptionCase &c = GetParam();
    TemporaryDirectory reports;
    const ChildEnd end = runInChild([&] {
        startCapture(reports.path());
        c.raise();
    });
    ASSERT_TRUE(end.finished);
    EXPECT_TRUE(end.signaled);
    EXPECT_EQ(end.signal, SIGABRT);

    const std::string report = onlyActiveDirectory(reports.path());
    const auto records = parsedRecords(report + "/exception.crsrecord");
    ASSERT_EQ(records.size(), 2u);
    const RecordValue *exception = records[0].find("exception");
    ASSERT_NE(exception, nullptr);
    EXPECT_EQ(exception->stringAt("type"), c.typeName);
    EXPECT_EQ(exception->stringAt("reason"), c.reason);
    EXPECT_EQ(exception->unsignedAt("kind"), 2u);
    const RecordValue *thread = records[1].find("thread");
    ASSERT_NE(thread, nullptr);
    EXPECT_FALSE(thread->find("frames")->items.empty());
    // The abort that follows is the exception's own end, not a second crash.
    EXPECT_TRUE(parsedRecords(report + "/signal.crsrecord").empty());
}

INSTANTIATE_TEST_SUITE_P(Classes, UncaughtExceptionTest, ::testing::ValuesIn(kExceptions),
                         [](const auto &info) { return std::string(info.param.name); });

[[noreturn]] void exitWithMarker() {
    _exit(42);
}

TEST(UncaughtExceptionTest, PreviousTerminateHandlerStillRuns) {
    TemporaryDirectory reports;
    const ChildEnd end = runInChild([&] {
        std::set_terminate(exitWithMarker);
        startCapture(reports.path());
        throw std::runtime_error("chained");
    });
    ASSERT_TRUE(end.finished);
    EXPECT_EQ(end.exitStatus, 42);
    EXPECT_EQ(parsedRecords(onlyActiveDirectory(reports.path()) + "/exception.crsrecord").size(),
              2u);
}

TEST(UncaughtExceptionTest, TerminateWithoutExceptionRecordsNothing) {
    TemporaryDirectory reports;
    const ChildEnd end = runInChild([&] {
        startCapture(reports.path());
        std::terminate();
    });
    ASSERT_TRUE(end.finished);
    EXPECT_EQ(end.signal, SIGABRT);
    const std::string report = onlyActiveDirectory(reports.path());
    EXPECT_TRUE(parsedRecords(report + "/exception.crsrecord").empty());
    // Capture was not claimed, so the abort itself is recorded as a signal.
    EXPECT_EQ(parsedRecords(report + "/signal.crsrecord").size(), 2u);
}

}  // namespace
}  // namespace tarnwell::crash
