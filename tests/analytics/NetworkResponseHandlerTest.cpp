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

// The verdicts a status can get, each with the retry decision, error code and response
// type it is reported with.
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
        StatusCase{"enhanceYourCalm420", 420, Throttled},
        StatusCase{"tooManyRequests429", 429, Throttled},
        StatusCase{"unlisted450", 450, Unexpected}, StatusCase{"unlisted499", 499, Unexpected},
        StatusCase{"internalError500", 500, Retried}, StatusCase{"last5xx599", 599, Retried},
        StatusCase{"beyond5xx600", 600, Unexpected}),
    tarnwell::test::caseName);

struct ContentTypeCase {
    const char *name;
    const char *accept;         // null: header not sent
    const char *acceptCharset;  // null: header not sent
    const char *contentType;    // null: header not answered
    bool delivered;
};

class ContentTypeCheck : public testing::TestWithParam<ContentTypeCase> {};

TEST_P(ContentTypeCheck, SuccessCountsOnlyWhenTheBodyIsWhatWasAskedFor) {
    const ContentTypeCase &c = GetParam();
    QNetworkRequest request;
    if (c.accept) {
        request.setRawHeader("Accept", c.accept);
    }
    if (c.acceptCharset) {
        request.setRawHeader("Accept-Charset", c.acceptCharset);
    }
    TLMHttpResponse response{200, {{"Server", "test"}}};
    if (c.contentType) {
        response.headers.append(qMakePair(QByteArray("Content-Type"), QByteArray(c.contentType)));
    }
    const Outcome outcome = classify(response, request);
    EXPECT_FALSE(outcome.shouldRetry);
    EXPECT_EQ(!outcome.error.has_value(), c.delivered);
    if (outcome.error) {
        EXPECT_EQ(outcome.error->code, kTLMUnexpectedResponse);
    }
}

INSTANTIATE_TEST_SUITE_P(
    AcceptAndCharset, ContentTypeCheck,
    testing::Values(
        ContentTypeCase{"charsetMatches", "application/json", "UTF-8",
                        "application/json; charset=utf-8", true},
        ContentTypeCase{"charsetDiffers", "application/json", "latin1",
                        "application/json; charset=utf-8", false},
        ContentTypeCase{"typeCaseIgnored", "Application/JSON", nullptr, "application/json", true},
        ContentTypeCase{"typeDiffers", "application/json", nullptr, "text/html", false},
        ContentTypeCase{"noContentType", "application/json", nullptr, nullptr, false},
        ContentTypeCase{"noCharsetInAnswer", "application/json", "UTF-8", "application/json", true},
        ContentTypeCase{"nothingAsked", nullptr, nullptr, "text/html", true}),
    tarnwell::test::caseName);

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

struct URLErrorCase {
    const char *name;
    const char *domain;
    int code;
    bool retryable;
};

class RetryableURLError : public testing::TestWithParam<URLErrorCase> {};

TEST_P(RetryableURLError, PermanentConditionsAreNotRetried) {
    const URLErrorCase &c = GetParam();
    EXPECT_EQ(TLMNetworkResponseHandler::retryableURLError({c.domain, c.code, {}}), c.retryable);
}

INSTANTIATE_TEST_SUITE_P(
    Codes, RetryableURLError,
    testing::Values(URLErrorCase{"timedOut", kURLErrorDomain, -1001, true},
                    URLErrorCase{"badURL", kURLErrorDomain, -1000, false},
                    URLErrorCase{"noReadPermissionIsRetried", kURLErrorDomain, -1102, true},
                    URLErrorCase{"secureFirst", kURLErrorDomain, -1200, false},
                    URLErrorCase{"secureLast", kURLErrorDomain, -1206, false},
                    URLErrorCase{"pastSecureRange", kURLErrorDomain, -1207, true},
                    URLErrorCase{"otherDomain", "TLMNetworkError", -1001, false}),
    tarnwell::test::caseName);

TEST(QtNetworkErrors, MapToTheCodesThatDecideRetrying) {
    using R = TLMNetworkResponseHandler;
    // Offline, the name lookup or the connection fails: that must stay worth retrying.
    for (const auto &[error, retryable] : {std::pair{QNetworkReply::SslHandshakeFailedError, false},
                                           {QNetworkReply::ProtocolUnknownError, false},
                                           {QNetworkReply::TooManyRedirectsError, false},
                                           {QNetworkReply::HostNotFoundError, true},
                                           {QNetworkReply::ConnectionRefusedError, true}}) {
        EXPECT_EQ(R::retryableURLError(R::urlErrorFromNetworkError(error, {})), retryable) << error;
    }
}

}  // namespace
}  // namespace tarnwell
