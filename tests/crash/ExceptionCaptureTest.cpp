#include "crash/ExceptionCapture.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <stdexcept>
#include <string>

#include "CrashTestSupport.h"
#include "crash/DeliberateCrash.h"

#include "CaseName.h"

namespace tarnwell::crash {
namespace {

using namespace testing;

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

class UncaughtExceptionTest : public ::testing::TestWithParam<ExceptionCase> {};

TEST_P(UncaughtExceptionTest, RecordedBeforeAbortReachesDefaultAction) {
    const ExceptionCase &c = GetParam();
    TemporaryDirectory reports;
    const ChildEnd end = runCapturedInChild(reports.path(), c.raise);
    EXPECT_EQ(end.signal, SIGABRT) << "exit status " << end.exitStatus;

    const auto records = activeRecords(reports.path(), "exception.crsrecord");
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
    EXPECT_TRUE(activeRecords(reports.path(), "signal.crsrecord").empty());
}

// One case for each way the type is found; the two deliberate crashes support can ask for
// are among them.
INSTANTIATE_TEST_SUITE_P(
    Classes, UncaughtExceptionTest,
    ::testing::Values(
        ExceptionCase{"CString", [] { throw "plain text"; }, "const char *", "plain text"},
        ExceptionCase{"StdString", [] { throw std::string("a string"); }, "std::string",
                      "a string"},
        ExceptionCase{"DeliberateThrow", [] { crashDeliberately(DeliberateCrash::Throw); },
                      "std::runtime_error", "deliberate crash"},
        ExceptionCase{"DerivedByReference", [] { throw DerivedError(); },
                      "tarnwell::crash::(anonymous namespace)::DerivedError",
                      "derived 'quoted' reason"},
        ExceptionCase{"ByPointer",
                      [] {
                          static const std::out_of_range error("p");
                          throw static_cast<const std::exception *>(&error);
                      },
                      "std::out_of_range", "p"},
        ExceptionCase{"DeliberateThrowInt", [] { crashDeliberately(DeliberateCrash::ThrowInt); },
                      "int", ""}),
    tarnwell::test::caseName);

}  // namespace
}  // namespace tarnwell::crash
