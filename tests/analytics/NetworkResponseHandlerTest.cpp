#include <optional>

#include <gtest/gtest.h>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>

#include "CaseName.h"
#include "TestHttpServer.h"
#include "analytics/TLMNetworkResponseHandler.h"

namespace tarnwell {
namespace {

using test::ScriptedReply;

struct Outcome {
    bool shouldRetry = false;
    std::optional<TLMError> error;
};

Outcome classify(const TLMHttpResponse &response, const QNetworkRequest &request = {},
                 const std::optional<TLMError> &transportError = std::nullopt) {
    Outcome outcome;
    int calls = 0;
    TLMNetworkResponseHandler::handleCompletedResponse(
        response, request, transportError, [&](bool retry, const std::optional<TLMError> &error) {
            ++calls;
            outcome = {retry, error};
        });
    EXPECT_EQ(calls, 1);
    return outcome;
}

// Sends one request to the loopback server and classifies what came back,
// the way the uploader does.
class LoopbackExchange {
public:
    Outcome send(ScriptedReply reply, QNetworkRequest request = QNetworkRequest()) {
        server.script(std::move(reply));
        if (request.url().isEmpty()) {
            request.setUrl(server.url());
        }
        request.setHeader(QNetworkRequest::ContentTypeHeader, "text/plain");
        QNetworkReply *networkReply = network.post(request, QByteArray("payload"));
        QSignalSpy finished(networkReply, &QNetworkReply::finished);
        EXPECT_TRUE(finished.wait(10000));
        networkReply->deleteLater();
        response = TLMHttpResponse::fromReply(*networkReply);
        std::optional<TLMError> transportError;
        if (!response.statusCode) {
            transportError = TLMNetworkResponseHandler::urlErrorFromNetworkError(
                networkReply->error(), networkReply->errorString());
        }
        return classify(response, request, transportError);
    }

    test::TestHttpServer server;
    QNetworkAccessManager network;
    TLMHttpResponse response;
};

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
    const Outcome outcome = classify(TLMHttpResponse{c.status, {{"Server", "test"}}});
    EXPECT_EQ(outcome.shouldRetry, expected.shouldRetry);
    ASSERT_EQ(outcome.error.has_value(), c.verdict != Delivered);
    if (outcome.error) {
        EXPECT_EQ(outcome.error->domain, QStringLiteral("TLMNetworkError"));
        EXPECT_EQ(outcome.error->code, expected.errorCode);
        EXPECT_EQ(outcome.error->userInfo.value("status_code").toInt(), c.status);
        EXPECT_EQ(outcome.error->userInfo.value("type").toInt(), expected.responseType);
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

TEST(Loopback, ErrorFieldsComeFromTheWireAndLostConnectionsAreRetried) {
    LoopbackExchange exchange;
    const Outcome withHeaders = exchange.send(ScriptedReply::respond(
        429, {{"X-Request-Id", "req-42"}, {"Content-Type", "text/plain"}, {"Retry-After", "60"}}));
    ASSERT_TRUE(withHeaders.error);
    EXPECT_EQ(withHeaders.error->userInfo.value("request_id").toString(), "req-42");
    EXPECT_EQ(withHeaders.error->userInfo.value("content_type").toString(), "text/plain");
    EXPECT_EQ(TLMNetworkResponseHandler::retryValueForResponse(exchange.response), 60.0);

    // Qt sends a request again by itself once when the connection closes
    // before any answer, so the server drops both.
    exchange.server.script(ScriptedReply::drop());
    const Outcome dropped = exchange.send(ScriptedReply::drop());
    ASSERT_TRUE(dropped.error);
    EXPECT_EQ(dropped.error->domain, QLatin1String(kURLErrorDomain));
    EXPECT_TRUE(dropped.shouldRetry);
    // No response at all: no header fields to read.
    EXPECT_FALSE(TLMNetworkResponseHandler::headerForResponse(exchange.response, "Content-Type"));

    QNetworkRequest stalling(exchange.server.url());
    stalling.setTransferTimeout(200);
    const Outcome stalled = exchange.send(ScriptedReply::stall(), stalling);
    ASSERT_TRUE(stalled.error);
    EXPECT_TRUE(stalled.shouldRetry);

    QTcpServer closed;
    ASSERT_TRUE(closed.listen(QHostAddress::LocalHost, 0));
    QNetworkRequest refused(QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(closed.serverPort())));
    closed.close();
    const Outcome refusedOutcome = exchange.send(ScriptedReply::respond(200), refused);
    ASSERT_TRUE(refusedOutcome.error);
    EXPECT_EQ(refusedOutcome.error->code, kURLErrorCannotConnectToHost);
    EXPECT_TRUE(refusedOutcome.shouldRetry);
}

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
        const TLMHttpResponse response{503, {{"Retry-After", header}}};
        EXPECT_DOUBLE_EQ(TLMNetworkResponseHandler::retryValueForResponse(response), seconds)
            << header;
    }
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
    // Offline, the name lookup fails first: that must stay worth retrying.
    for (const auto &[error, retryable] : {std::pair{QNetworkReply::SslHandshakeFailedError, false},
                                           {QNetworkReply::ProtocolUnknownError, false},
                                           {QNetworkReply::TooManyRedirectsError, false},
                                           {QNetworkReply::HostNotFoundError, true}}) {
        EXPECT_EQ(R::retryableURLError(R::urlErrorFromNetworkError(error, {})), retryable) << error;
    }
}

}  // namespace
}  // namespace tarnwell
