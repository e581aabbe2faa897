#include <optional>

#include <gtest/gtest.h>
#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>

#include "TestHttpServer.h"
#include "analytics/TLMNetworkResponseHandler.h"

namespace tarnwell {
namespace {

using test::ScriptedReply;
using test::TestHttpServer;

struct Outcome {
    bool shouldRetry = false;
    std::optional<TLMError> error;
};

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
        Outcome outcome;
        int calls = 0;
        TLMNetworkResponseHandler::handleCompletedResponse(
            response, request, transportError,
            [&](bool retry, const std::optional<TLMError> &error) {
                ++calls;
                outcome = {retry, error};
            });
        EXPECT_EQ(calls, 1);
        return outcome;
    }

    TestHttpServer server;
    QNetworkAccessManager network;
    TLMHttpResponse response;
};

struct StatusCase {
    const char *name;
    int status;
    bool shouldRetry;
    std::optional<int> errorCode;  // absent: delivered
    int responseType;
};

class StatusClassification : public testing::TestWithParam<StatusCase> {};

TEST_P(StatusClassification, DecidesDeliveryRetryOrDrop) {
    const StatusCase &c = GetParam();
    LoopbackExchange exchange;
    const Outcome outcome = exchange.send(ScriptedReply::respond(c.status));
    EXPECT_EQ(outcome.shouldRetry, c.shouldRetry);
    ASSERT_EQ(outcome.error.has_value(), c.errorCode.has_value());
    if (c.errorCode) {
        EXPECT_EQ(outcome.error->domain, QStringLiteral("TLMNetworkError"));
        EXPECT_EQ(outcome.error->code, *c.errorCode);
        EXPECT_EQ(outcome.error->userInfo.value("status_code").toInt(), c.status);
    }
    TLMNetworkResponseHandler::clientResponseType(
        exchange.response, [&](TLMResponseType type, int status) {
            EXPECT_EQ(static_cast<int>(type), c.responseType);
            EXPECT_EQ(status, c.status);
        });
}

INSTANTIATE_TEST_SUITE_P(
    EveryListedStatus, StatusClassification,
    testing::Values(
        StatusCase{"ok200", 200, false, std::nullopt, 0},
        StatusCase{"created201", 201, false, std::nullopt, 0},
        StatusCase{"accepted202", 202, false, std::nullopt, 0},
        StatusCase{"noContent204", 204, false, std::nullopt, 0},
        StatusCase{"notModified304", 304, false, std::nullopt, 0},
        // Rewritten by a proxy: neither delivered nor worth a retry.
        StatusCase{"nonAuthoritative203", 203, false, -4, 1},
        StatusCase{"badRequest400", 400, false, -5, 2},
        StatusCase{"unauthorized401", 401, false, -5, 2},
        StatusCase{"forbidden403", 403, false, -5, 2}, StatusCase{"notFound404", 404, false, -5, 2},
        StatusCase{"notAcceptable406", 406, false, -5, 2}, StatusCase{"gone410", 410, false, -5, 2},
        StatusCase{"lengthRequired411", 411, false, -5, 2},
        StatusCase{"tooLarge413", 413, false, -5, 2},
        StatusCase{"authTimeout419", 419, false, -5, 2},
        StatusCase{"unprocessable422", 422, false, -5, 2},
        StatusCase{"headersTooLarge431", 431, false, -5, 2},
        StatusCase{"requestTimeout408", 408, true, -1, 3},
        StatusCase{"enhanceYourCalm420", 420, true, -1, 4},
        StatusCase{"tooManyRequests429", 429, true, -1, 4},
        StatusCase{"internal500", 500, true, -1, 3}, StatusCase{"unavailable503", 503, true, -1, 3},
        StatusCase{"last5xx599", 599, true, -1, 3}, StatusCase{"unlisted450", 450, false, -4, 1},
        StatusCase{"unlisted499", 499, false, -4, 1},
        StatusCase{"beyond5xx600", 600, false, -4, 1}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(ResponseErrorFields, CarryTypeStatusRequestIdAndContentType) {
    LoopbackExchange exchange;
    const Outcome withHeaders = exchange.send(ScriptedReply::respond(
        429, {{"X-Request-Id", "req-42"}, {"Content-Type", "text/plain"}, {"Retry-After", "60"}}));
    ASSERT_TRUE(withHeaders.error);
    EXPECT_EQ(withHeaders.error->userInfo.value("type").toInt(), 4);
    EXPECT_EQ(withHeaders.error->userInfo.value("request_id").toString(), "req-42");
    EXPECT_EQ(withHeaders.error->userInfo.value("content_type").toString(), "text/plain");
    EXPECT_EQ(TLMNetworkResponseHandler::retryValueForResponse(exchange.response), 60.0);

    const Outcome bare = exchange.send(ScriptedReply::respond(400));
    ASSERT_TRUE(bare.error);
    EXPECT_TRUE(bare.error->userInfo.contains("request_id"));
    EXPECT_EQ(bare.error->userInfo.value("request_id").toString(), QString());
    EXPECT_EQ(bare.error->userInfo.value("content_type").toString(), QString());
}

TEST(TransportFailures, DroppedStalledAndRefusedConnectionsAreRetried) {
    LoopbackExchange exchange;
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
    LoopbackExchange exchange;
    QNetworkRequest request(exchange.server.url());
    if (c.accept) {
        request.setRawHeader("Accept", c.accept);
    }
    if (c.acceptCharset) {
        request.setRawHeader("Accept-Charset", c.acceptCharset);
    }
    QList<QPair<QByteArray, QByteArray>> headers;
    if (c.contentType) {
        headers.append(qMakePair(QByteArray("Content-Type"), QByteArray(c.contentType)));
    }
    const Outcome outcome = exchange.send(ScriptedReply::respond(200, headers, "{}"), request);
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
        ContentTypeCase{"noAcceptCharset", "application/json", nullptr,
                        "application/json; charset=utf-8", true},
        ContentTypeCase{"typeCaseIgnored", "Application/JSON", nullptr, "application/json", true},
        ContentTypeCase{"typeDiffers", "application/json", nullptr, "text/html", false},
        ContentTypeCase{"noContentType", "application/json", nullptr, nullptr, false},
        ContentTypeCase{"noCharsetInAnswer", "application/json", "UTF-8", "application/json", true},
        ContentTypeCase{"nothingAsked", nullptr, nullptr, "text/html", true}),
    [](const auto &info) { return std::string(info.param.name); });

struct RetryAfterCase {
    const char *name;
    const char *header;  // null: absent
    double seconds;
};

class RetryAfter : public testing::TestWithParam<RetryAfterCase> {};

TEST_P(RetryAfter, GivesTheBaseOfTheBackoff) {
    TLMHttpResponse response{503, {{"Server", "test"}}};
    if (GetParam().header) {
        response.headers.append(
            qMakePair(QByteArray("Retry-After"), QByteArray(GetParam().header)));
    }
    EXPECT_DOUBLE_EQ(TLMNetworkResponseHandler::retryValueForResponse(response),
                     GetParam().seconds);
}

INSTANTIATE_TEST_SUITE_P(Values, RetryAfter,
                         testing::Values(RetryAfterCase{"absent", nullptr, 2.0},
                                         RetryAfterCase{"negative", "-5", 2.0},
                                         RetryAfterCase{"fraction", "0.5", 0.5},
                                         RetryAfterCase{"minute", "60", 60.0},
                                         RetryAfterCase{"httpDate", "Wed, 21 Oct 2015", 2.0}),
                         [](const auto &info) { return std::string(info.param.name); });

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
                    URLErrorCase{"cancelled", kURLErrorDomain, -999, true},
                    URLErrorCase{"backgroundContainer", kURLErrorDomain, -995, false},
                    URLErrorCase{"badURL", kURLErrorDomain, -1000, false},
                    URLErrorCase{"unsupportedURL", kURLErrorDomain, -1002, false},
                    URLErrorCase{"tooManyRedirects", kURLErrorDomain, -1007, false},
                    URLErrorCase{"authRequired", kURLErrorDomain, -1013, false},
                    URLErrorCase{"insecureConnection", kURLErrorDomain, -1022, false},
                    URLErrorCase{"fileMissing", kURLErrorDomain, -1100, false},
                    URLErrorCase{"fileIsDirectory", kURLErrorDomain, -1101, false},
                    URLErrorCase{"noReadPermissionIsRetried", kURLErrorDomain, -1102, true},
                    URLErrorCase{"fileTooLarge", kURLErrorDomain, -1103, false},
                    URLErrorCase{"secureFirst", kURLErrorDomain, -1200, false},
                    URLErrorCase{"secureLast", kURLErrorDomain, -1206, false},
                    URLErrorCase{"pastSecureRange", kURLErrorDomain, -1207, true},
                    URLErrorCase{"otherDomain", "TLMNetworkError", -1001, false}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(QtNetworkErrors, MapToTheCodesThatDecideRetrying) {
    using R = TLMNetworkResponseHandler;
    EXPECT_FALSE(R::retryableURLError(
        R::urlErrorFromNetworkError(QNetworkReply::SslHandshakeFailedError, {})));
    EXPECT_FALSE(
        R::retryableURLError(R::urlErrorFromNetworkError(QNetworkReply::ProtocolUnknownError, {})));
    EXPECT_FALSE(R::retryableURLError(
        R::urlErrorFromNetworkError(QNetworkReply::TooManyRedirectsError, {})));
    EXPECT_TRUE(
        R::retryableURLError(R::urlErrorFromNetworkError(QNetworkReply::HostNotFoundError, {})));
    EXPECT_TRUE(R::retryableURLError(
        R::urlErrorFromNetworkError(QNetworkReply::TemporaryNetworkFailureError, {})));
}

}  // namespace
}  // namespace tarnwell
