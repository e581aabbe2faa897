#include <cmath>
#include <optional>
#include <vector>

#include <gtest/gtest.h>
#include <QNetworkRequest>

#include "analytics/EVTBackoffTimer.h"
#include "analytics/EVTNetworkRetryHandler.h"

namespace tarnwell {
namespace {

// Records each requested delay; runs the block only when told to.
class RecordingRunner : public EVTDelayedRunner {
public:
    void runAfter(std::chrono::nanoseconds delay, std::function<void()> block) override {
        delays.push_back(std::chrono::duration<double>(delay).count());
        pending.push_back(std::move(block));
    }
    void runAll() {
        auto blocks = std::move(pending);
        pending.clear();
        for (auto &block : blocks) {
            block();
        }
    }
    std::vector<double> delays;
    std::vector<std::function<void()>> pending;
};

EVTRandomSource fixedRandom(double value) {
    return [value] { return value; };
}

constexpr double kWidenedJitter = 0.10000000149011612;

TEST(BackoffTimer, DefaultJitterIsTheWidenedSinglePrecisionTenth) {
    RecordingRunner runner;
    EVTBackoffTimer timer(0, runner, fixedRandom(0));
    EXPECT_EQ(timer.jitterCoefficient(), kWidenedJitter);
    EXPECT_NE(timer.jitterCoefficient(), 0.1);
    EXPECT_EQ(timer.retryCount(), 0u);
}

struct DelayCase {
    const char *name;
    double initialValue;
    double random;
    std::vector<double> expected;  // seconds for retries 1, 2, 3
};

class BackoffDelays : public testing::TestWithParam<DelayCase> {};

TEST_P(BackoffDelays, GrowExponentiallyFromABaseOfAtLeastTwo) {
    const DelayCase &c = GetParam();
    RecordingRunner runner;
    EVTBackoffTimer timer(c.initialValue, runner, fixedRandom(c.random));
    for (size_t i = 0; i < c.expected.size(); ++i) {
        timer.executeBlockAfterNextInterval([] {});
    }
    ASSERT_EQ(runner.delays.size(), c.expected.size());
    for (size_t i = 0; i < c.expected.size(); ++i) {
        // The runner gets whole nanoseconds.
        EXPECT_NEAR(runner.delays[i], c.expected[i], 1e-9) << "retry " << i + 1;
    }
    EXPECT_EQ(timer.retryCount(), c.expected.size());
}

INSTANTIATE_TEST_SUITE_P(
    Bases, BackoffDelays,
    testing::Values(
        // A draw of 0.5 is the middle of the jitter range: the nominal delay.
        DelayCase{"defaultBase", 0, 0.5, {2, 4, 8}},
        DelayCase{"retryAfterIsTheBase", 60, 0.5, {60, 3600, 216000}},
        DelayCase{"baseBelowTwoIsTwo", 0.5, 0.5, {2, 4, 8}},
        DelayCase{"lowestJitter", 0, 0.0, {2 * (1 - kWidenedJitter), 4 * (1 - kWidenedJitter)}},
        DelayCase{"highestJitter",
                  0,
                  std::nextafter(1.0, 0.0),
                  {2 * (1 + kWidenedJitter), 4 * (1 + kWidenedJitter)}}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(BackoffTimer, EleventhDelayStaysWithinTheJitterOf2048Seconds) {
    RecordingRunner runner;
    for (double random : {0.0, 0.25, 0.75, std::nextafter(1.0, 0.0)}) {
        EVTBackoffTimer timer(0, runner, fixedRandom(random));
        for (int i = 0; i < 11; ++i) {
            timer.executeBlockAfterNextInterval([] {});
        }
        EXPECT_GE(runner.delays.back(), 2048 * (1 - kWidenedJitter) - 1e-6);
        EXPECT_LE(runner.delays.back(), 2048 * (1 + kWidenedJitter) + 1e-6);
    }
}

TEST(BackoffTimer, ZeroJitterGivesExactPowers) {
    RecordingRunner runner;
    EVTBackoffTimer timer(3, 0.0, runner, fixedRandom(0.9));
    timer.executeBlockAfterNextInterval([] {});
    timer.executeBlockAfterNextInterval([] {});
    EXPECT_EQ(runner.delays, (std::vector<double>{3, 9}));
}

TLMHttpResponse serviceUnavailable(const char *retryAfter = nullptr) {
    TLMHttpResponse response{503, {{"Content-Type", "text/plain"}}};
    if (retryAfter) {
        response.headers.append(qMakePair(QByteArray("Retry-After"), QByteArray(retryAfter)));
    }
    return response;
}

struct Completion {
    int calls = 0;
    bool willRetry = false;
    std::optional<TLMError> error;
};

class RetryHandlerTest : public testing::Test {
protected:
    // Reports one failure of the identifier and lets any delay pass.
    Completion fail(const QString &identifier, const TLMHttpResponse &response,
                    const std::optional<TLMError> &transportError = std::nullopt) {
        Completion completion;
        handler.handleCompletedRequest(request, response, identifier, transportError,
                                       [&](bool willRetry, const std::optional<TLMError> &error) {
                                           ++completion.calls;
                                           completion.willRetry = willRetry;
                                           completion.error = error;
                                       });
        runner.runAll();
        return completion;
    }

    RecordingRunner runner;
    EVTNetworkRetryHandler handler{runner, fixedRandom(0.5)};
    QNetworkRequest request{QUrl("http://127.0.0.1:9/api/v2/events")};
};

TEST_F(RetryHandlerTest, RetriesElevenTimesThenGivesUpForGood) {
    for (int i = 1; i <= 11; ++i) {
        const Completion c = fail("file.multipartmime", serviceUnavailable());
        ASSERT_EQ(c.calls, 1);
        EXPECT_TRUE(c.willRetry) << "failure " << i;
        EXPECT_EQ(c.error->code, kTLMRetryableResponse);
    }
    const Completion twelfth = fail("file.multipartmime", serviceUnavailable());
    EXPECT_EQ(twelfth.calls, 1);
    EXPECT_FALSE(twelfth.willRetry);
    // The handler's own error is reported, not the exhausted-retries fallback.
    EXPECT_EQ(twelfth.error->code, kTLMRetryableResponse);
    EXPECT_EQ(runner.delays.size(), 11u);
    EXPECT_DOUBLE_EQ(runner.delays.back(), 2048);

    EXPECT_FALSE(fail("file.multipartmime", serviceUnavailable()).willRetry);
    // Another identifier has its own timer.
    EXPECT_TRUE(fail("other.multipartmime", serviceUnavailable()).willRetry);
}

TEST_F(RetryHandlerTest, CompletionWaitsForTheDelay) {
    int calls = 0;
    handler.handleCompletedRequest(request, serviceUnavailable(), "f", std::nullopt,
                                   [&](bool, const std::optional<TLMError> &) { ++calls; });
    EXPECT_EQ(calls, 0);
    ASSERT_EQ(runner.pending.size(), 1u);
    runner.runAll();
    EXPECT_EQ(calls, 1);
}

TEST_F(RetryHandlerTest, FirstRetryAfterSetsTheTimersBaseForGood) {
    fail("f", serviceUnavailable("60"));
    fail("f", serviceUnavailable("5"));
    fail("f", serviceUnavailable());
    EXPECT_EQ(runner.delays, (std::vector<double>{60, 3600, 216000}));
}

TEST_F(RetryHandlerTest, EmptyIdentifierIsGivenUpAtOnce) {
    const Completion c = fail("", serviceUnavailable());
    EXPECT_EQ(c.calls, 1);
    EXPECT_FALSE(c.willRetry);
    EXPECT_EQ(c.error->code, kTLMRetryableResponse);
    EXPECT_TRUE(runner.delays.empty());
}

TEST_F(RetryHandlerTest, PermanentFailuresAndSuccessAreReportedAtOnce) {
    EXPECT_FALSE(fail("f", TLMHttpResponse{400, {{"Server", "t"}}}).willRetry);
    const Completion success = fail("f", TLMHttpResponse{200, {{"Server", "t"}}});
    EXPECT_FALSE(success.willRetry);
    EXPECT_FALSE(success.error);
    const TLMError certificate{kURLErrorDomain, kURLErrorServerCertificateUntrusted, {}};
    EXPECT_FALSE(fail("f", TLMHttpResponse{}, certificate).willRetry);
    EXPECT_TRUE(runner.delays.empty());
}

TEST_F(RetryHandlerTest, TransportErrorsAreRetriedWithTheDefaultBase) {
    const TLMError lost{kURLErrorDomain, kURLErrorNetworkConnectionLost, {}};
    const Completion c = fail("f", TLMHttpResponse{}, lost);
    EXPECT_TRUE(c.willRetry);
    EXPECT_EQ(*c.error, lost);
    EXPECT_EQ(runner.delays, (std::vector<double>{2}));
}

TEST_F(RetryHandlerTest, TimersAreKeptPerIdentifier) {
    EXPECT_EQ(handler.timerForIdentifier("", 5), nullptr);
    EVTBackoffTimer *timer = handler.timerForIdentifier("f", 5);
    ASSERT_NE(timer, nullptr);
    EXPECT_EQ(handler.timerForIdentifier("f", 30), timer);
    EXPECT_EQ(timer->initialValue(), 5);
}

}  // namespace
}  // namespace tarnwell
