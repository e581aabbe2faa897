#include <climits>
#include <cmath>
#include <optional>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <QCoreApplication>
#include <QNetworkRequest>
#include <QTest>
#include <QTimer>

#include "analytics/EVTBackoffTimer.h"
#include "analytics/EVTNetworkRetryHandler.h"

#include "CaseName.h"
#include "KitTestSupport.h"

namespace tarnwell {
namespace {

EVTRandomSource fixedRandom(double value) {
    return [value] { return value; };
}

// A tenth in single precision, widened.
constexpr double kJitter = 0.10000000149011612;

struct DelayCase {
    const char *name;
    double initialValue;
    double random;
    std::vector<double> expected;  // seconds for retries 1, 2, 3
};

class BackoffDelays : public testing::TestWithParam<DelayCase> {};

TEST_P(BackoffDelays, GrowExponentiallyFromABaseOfAtLeastTwo) {
    const DelayCase &c = GetParam();
    test::RecordingRunner runner{false};
    EVTBackoffTimer timer(c.initialValue, runner, fixedRandom(c.random));
    for (size_t i = 0; i < c.expected.size(); ++i) {
        timer.executeBlockAfterNextInterval([] {});
    }
    // The runner gets whole nanoseconds.
    EXPECT_THAT(runner.delays, testing::Pointwise(testing::DoubleNear(1e-9), c.expected));
}

INSTANTIATE_TEST_SUITE_P(
    Bases, BackoffDelays,
    testing::Values(
        // A draw of 0.5 is the middle of the jitter range: the nominal delay.
        DelayCase{"baseBelowTwoIsTwo", 0.5, 0.5, {2, 4, 8}},
        DelayCase{"lowestJitter", 0, 0.0, {2 * (1 - kJitter), 4 * (1 - kJitter)}},
        DelayCase{
            "highestJitter", 0, std::nextafter(1.0, 0.0), {2 * (1 + kJitter), 4 * (1 + kJitter)}},
        // Past what a 64-bit count of nanoseconds holds (INT64_MAX ns, 9223372036.854775807 s)
        // the longest delay stands in, never a negative one a timer refuses.
        DelayCase{"tenBillionSeconds", 1e10, 0.5, {9223372036.854775807}},
        DelayCase{"hourCubedOnTheThirdRetry", 3600, 0.5, {3600, 12960000, 9223372036.854775807}}),
    tarnwell::test::caseName);

TLMHttpResponse serviceUnavailable(const char *retryAfter = "") {
    return TLMHttpResponse{503, {{"Content-Type", "text/plain"}, {"Retry-After", retryAfter}}};
}

struct Completion {
    bool willRetry = false;
    std::optional<TLMError> error;
};

class RetryHandlerTest : public testing::Test {
protected:
    Completion fail(const QString &identifier, const TLMHttpResponse &response,
                    const std::optional<TLMError> &transportError = std::nullopt) {
        Completion completion;
        int calls = 0;
        handler.handleCompletedRequest(request, response, identifier, transportError,
                                       [&](bool willRetry, const std::optional<TLMError> &error) {
                                           completion = {willRetry, error};
                                           ++calls;
                                       });
        // A retry is reported only once its delay has passed, and every path reports once.
        EXPECT_EQ(calls, runner.pending.empty() ? 1 : 0);
        runner.runAll();
        EXPECT_EQ(calls, 1);
        return completion;
    }

    test::RecordingRunner runner{false};
    EVTNetworkRetryHandler handler{runner, fixedRandom(0.5)};
    QNetworkRequest request{QUrl("http://127.0.0.1:9/api/v2/events")};
};

TEST_F(RetryHandlerTest, RetriesElevenTimesThenGivesUpForGood) {
    for (int i = 1; i <= 11; ++i) {
        const Completion c = fail("file.multipartmime", serviceUnavailable());
        EXPECT_TRUE(c.willRetry) << "failure " << i;
        EXPECT_EQ(c.error->code, kTLMRetryableResponse);
    }
    const Completion twelfth = fail("file.multipartmime", serviceUnavailable());
    EXPECT_FALSE(twelfth.willRetry);
    // The handler's own error is reported, not the exhausted-retries fallback.
    EXPECT_EQ(twelfth.error->code, kTLMRetryableResponse);
    EXPECT_EQ(runner.delays.size(), 11u);
    EXPECT_DOUBLE_EQ(runner.delays.back(), 2048);

    EXPECT_FALSE(fail("file.multipartmime", serviceUnavailable()).willRetry);
    EXPECT_TRUE(fail("other.multipartmime", serviceUnavailable()).willRetry);
}

TEST_F(RetryHandlerTest, FirstRetryAfterSetsTheTimersBaseForGood) {
    fail("f", serviceUnavailable("60"));
    fail("f", serviceUnavailable("5"));
    EXPECT_EQ(runner.delays, (std::vector<double>{60, 3600}));
}

TEST_F(RetryHandlerTest, OnlyRetryableFailuresOfANamedUploadWait) {
    EXPECT_FALSE(fail("f", TLMHttpResponse{400, {{"Server", "t"}}}).willRetry);
    const Completion success = fail("f", TLMHttpResponse{200, {{"Server", "t"}}});
    EXPECT_FALSE(success.willRetry);
    EXPECT_FALSE(success.error);
    const Completion unnamed = fail("", serviceUnavailable());
    EXPECT_FALSE(unnamed.willRetry);
    EXPECT_EQ(unnamed.error->code, kTLMRetryableResponse);
    EXPECT_TRUE(runner.delays.empty());

    const TLMError lost{kURLErrorDomain, kURLErrorNetworkConnectionLost, {}};
    const Completion c = fail("f", TLMHttpResponse{}, lost);
    EXPECT_TRUE(c.willRetry);
    EXPECT_EQ(*c.error, lost);
    EXPECT_EQ(runner.delays, (std::vector<double>{2}));
}

// Qt's timers hold at most INT_MAX milliseconds (24.8 days): a longer wait is armed as a
// chain of them, not refused, and a short one still runs.
TEST(MainLoopRunner, WaitBeyondATimersRangeIsArmedAndAShortOneRuns) {
    EVTMainLoopRunner runner;
    bool ran = false;
    runner.runAfter(std::chrono::nanoseconds::max(), [] {});
    runner.runAfter(std::chrono::milliseconds(1), [&] { ran = true; });
    EXPECT_TRUE(QTest::qWaitFor([&] { return ran; }, 5000));
    const auto timers = QCoreApplication::instance()->findChildren<QTimer *>();
    ASSERT_EQ(timers.size(), 1);
    EXPECT_TRUE(timers[0]->isActive());
    EXPECT_EQ(timers[0]->interval(), INT_MAX);
    delete timers[0];
}

}  // namespace
}  // namespace tarnwell
