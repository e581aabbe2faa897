#include <optional>

#include <gtest/gtest.h>
#include <QNetworkReply>

#include "CaseName.h"
#include "analytics/TLMNetworkResponseHandler.h"

namespace tarnwell {
namespace {

struct Outcome {
    bool shouldRetry = false;
    std::optional<TLMError> error;
};

Outcome classify(const TLMHttpResponse &response, const QNetworkRequest &request = {}) {
    Outcome outcome;
    int calls = 0;
    TLMNetworkResponseHandler::handleCompletedResponse(
        response, request, std::nullopt, [&](bool retry, const std::optional<TLMError> &error) {
            ++calls;
            outcome = {retry, error};
        });
    EXPECT_EQ(calls, 1);
    return outcome;
}

// Each verdict's retry decision, error code and response type.
enum Verdict { Delivered, Unexpected, Refused, Retried, Throttled };
struct Report {
    bool shouldRetry;
    int errorCode;
    int responseType;
};
constexpr Report kReports[] = {
    {false, 0, 0}, {false, -4, 1}, {false, -5, 2}, {true, -1, 3}, {true, -1, 4}};

struct StatusCase {
    const char *name;
    int status;
    Verdict verdict;
};

class StatusClassification : public testing::TestWithParam<StatusCase> {};

TEST_P(StatusClassification, DecidesDeliveryRetryOrDrop) {
    const StatusCase &c = GetParam();
    const Report &expected = kReports[c.verdict];
    const Outcome outcome = classify(
        TLMHttpResponse{c.status, {{"X-Request-Id", "req-42"}, {"Content-Type", "text/plain"}}});
    EXPECT_EQ(outcome.shouldRetry, expected.shouldRetry);
    ASSERT_EQ(outcome.error.has_value(), c.verdict != Delivered);
    if (outcome.error) {
        EXPECT_EQ(outcome.error->domain, QStringLiteral("TLMNetworkError"));
        EXPECT_EQ(outcome.error->code, expected.errorCode);
        EXPECT_EQ(outcome.error->userInfo.value("status_code").toInt(), c.status);
        EXPECT_EQ(outcome.error->userInfo.value("type").toInt(), expected.responseType);
        EXPECT_EQ(outcome.error->userInfo.value("request_id").toString(), "req-42");
        EXPECT_EQ(outcome.error->userInfo.value("content_type").toString(), "text/plain");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Statuses, StatusClassification,
    testing::Values(
        StatusCase{"noContent204", 204, Delivered}, StatusCase{"notModified304", 304, Delivered},
        // Rewritten by a proxy: neither delivered nor worth a retry.
        StatusCase{"nonAuthoritative203", 203, Unexpected},
        StatusCase{"badRequest400", 400, Refused}, StatusCase{"requestTimeout408", 408, Retried},
        StatusCase{"tooManyRequests429", 429, Throttled},
        StatusCase{"unlisted450", 450, Unexpected}, StatusCase{"internalError500", 500, Retried},
        StatusCase{"last5xx599", 599, Retried}, StatusCase{"beyond5xx600", 600, Unexpected}),
    tarnwell::test::caseName);

TEST(ContentTypeCheck, SuccessCountsOnlyWhenTheBodyIsWhatWasAskedFor) {
    // Null: the header is not sent, or not answered.
    const struct {
        const char *accept, *acceptCharset, *contentType;
        bool delivered;
    } cases[] = {{"application/json", "UTF-8", "application/json; charset=utf-8", true},
                 {"application/json", "latin1", "application/json; charset=utf-8", false},
                 {"Application/JSON", nullptr, "application/json", true},
                 {"application/json", nullptr, "text/html", false},
                 {"application/json", nullptr, nullptr, false},
                 {"application/json", "UTF-8", "application/json", true},
                 {nullptr, nullptr, "text/html", true}};
    for (const auto &c : cases) {
        QNetworkRequest request;
        if (c.accept) {
            request.setRawHeader("Accept", c.accept);
        }
        if (c.acceptCharset) {
            request.setRawHeader("Accept-Charset", c.acceptCharset);
        }
        TLMHttpResponse response{200, {}};
        if (c.contentType) {
            response.headers = {{"Content-Type", c.contentType}};
        }
        const Outcome outcome = classify(response, request);
        EXPECT_FALSE(outcome.shouldRetry);
        EXPECT_EQ(outcome.error ? outcome.error->code : 0, c.delivered ? 0 : kTLMUnexpectedResponse)
            << "row " << &c - cases;
    }
}

TEST(RetryAfter, UnreadableOrNegativeFallsBackToTwoSeconds) {
    for (const auto &[header, seconds] :
         {std::pair{"-5", 2.0}, {"0.5", 0.5}, {"Wed, 21 Oct 2015", 2.0}}) {
        const TLMHttpResponse response{503, {{"retry-after", header}}};
        EXPECT_DOUBLE_EQ(TLMNetworkResponseHandler::retryValueForResponse(response), seconds)
            << header;
    }
    // Not an HTTP answer at all: no header fields to read.
    EXPECT_FALSE(TLMNetworkResponseHandler::headerForResponse(TLMHttpResponse{}, "Retry-After"));
}

TEST(TransportErrors, OnlyPermanentConditionsAreNotRetried) {
    using R = TLMNetworkResponseHandler;
    // A bad address and the ends of the secure-connection range (-1200 to -1206).
    for (const int code : {-1000, -1200, -1206}) {
        EXPECT_FALSE(R::retryableURLError({kURLErrorDomain, code, {}})) << code;
    }
    // A time-out, no permission to read a file (unlike its neighbours), past the range.
    for (const int code : {-1001, -1102, -1207}) {
        EXPECT_TRUE(R::retryableURLError({kURLErrorDomain, code, {}})) << code;
    }
    EXPECT_FALSE(R::retryableURLError({kTLMNetworkErrorDomain, -1001, {}}));
    for (const auto error :
         {QNetworkReply::SslHandshakeFailedError, QNetworkReply::ProtocolUnknownError,
          QNetworkReply::TooManyRedirectsError}) {
        EXPECT_FALSE(R::retryableURLError(R::urlErrorFromNetworkError(error, {}))) << error;
    }
    // Offline or on a flaky network: that must stay worth retrying.
    for (const auto error :
         {QNetworkReply::HostNotFoundError, QNetworkReply::ConnectionRefusedError,
          QNetworkReply::TemporaryNetworkFailureError, QNetworkReply::TimeoutError}) {
        EXPECT_TRUE(R::retryableURLError(R::urlErrorFromNetworkError(error, {}))) << error;
    }
}

}  // namespace
}  // namespace tarnwell
