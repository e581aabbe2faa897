#include <optional>

#include <gtest/gtest.h>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>

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

struct StatusCase {
    const char *name;
    int status;
    bool shouldRetry;
    int errorCode;  // 0: delivered
    int responseType;
};

class StatusClassification : public testing::TestWithParam<StatusCase> {};

TEST_P(StatusClassification, DecidesDeliveryRetryOrDrop) {
    const StatusCase &c = GetParam();
    const Outcome outcome = classify(TLMHttpResponse{c.status, {{"Server", "test"}}});
    EXPECT_EQ(outcome.shouldRetry, c.shouldRetry);
    ASSERT_EQ(outcome.error.has_value(), c.errorCode != 0);
    if (outcome.error) {
        EXPECT_EQ(outcome.error->domain, QStringLiteral("TLMNetworkError"));
        EXPECT_EQ(outcome.error->code, c.errorCode);
        EXPECT_EQ(outcome.error->userInfo.value("status_code").toInt(), c.status);
        EXPECT_EQ(outcome.error->userInfo.value("type").toInt(), c.responseType);
    }
}

// The first and last of each listed range, and the unlisted codes around them.
INSTANTIATE_TEST_SUITE_P(
    Statuses, StatusClassification,
    testing::Values(
        StatusCase{"ok200", 200, false, 0, 0}, StatusCase{"created201", 201, false, 0, 0},
        StatusCase{"accepted202", 202, false, 0, 0}, StatusCase{"noContent204", 204, false, 0, 0},
        StatusCase{"notModified304", 304, false, 0, 0},
        // Rewritten by a proxy: neither delivered nor worth a retry.
        StatusCase{"nonAuthoritative203", 203, false, -4, 1},
        StatusCase{"badRequest400", 400, false, -5, 2},
        StatusCase{"unauthorized401", 401, false, -5, 2},
        StatusCase{"forbidden403", 403, false, -5, 2}, StatusCase{"notFound404", 404, false, -5, 2},
        StatusCase{"notAcceptable406", 406, false, -5, 2}, StatusCase{"gone410", 410, false, -5, 2},
        StatusCase{"lengthRequired411", 411, false, -5, 2},
        StatusCase{"tooLarge413", 413, false, -5, 2},
        StatusCase{"authenticationTimeout419", 419, false, -5, 2},
        StatusCase{"unprocessable422", 422, false, -5, 2},
        StatusCase{"headersTooLarge431", 431, false, -5, 2},
        StatusCase{"requestTimeout408", 408, true, -1, 3},
        StatusCase{"enhanceYourCalm420", 420, true, -1, 4},
        StatusCase{"tooManyRequests429", 429, true, -1, 4},
        StatusCase{"internalError500", 500, true, -1, 3},
        StatusCase{"last5xx599", 599, true, -1, 3}, StatusCase{"unlisted402", 402, false, -4, 1},
        StatusCase{"unlisted450", 450, false, -4, 1},
        StatusCase{"beyond5xx600", 600, false, -4, 1}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(ResponseErrorFields, CarryRequestIdAndContentTypeFromTheWire) {
    LoopbackExchange exchange;
    const Outcome withHeaders = exchange.send(ScriptedReply::respond(
        429, {{"X-Request-Id", "req-42"}, {"Content-Type", "text/plain"}, {"Retry-After", "60"}}));
    ASSERT_TRUE(withHeaders.error);
    EXPECT_EQ(withHeaders.error->userInfo.value("request_id").toString(), "req-42");
    EXPECT_EQ(withHeaders.error->userInfo.value("content_type").toString(), "text/plain");
    EXPECT_EQ(TLMNetworkResponseHandler::retryValueForResponse(exchange.response), 60.0);
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
    [](const auto &info) { return std::string(info.param.name); });

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
                    URLErrorCase{"fileMissing", kURLErrorDomain, -1100, false},
                    URLErrorCase{"noReadPermissionIsRetried", kURLErrorDomain, -1102, true},
                    URLErrorCase{"secureFirst", kURLErrorDomain, -1200, false},
                    URLErrorCase{"secureLast", kURLErrorDomain, -1206, false},
                    URLErrorCase{"pastSecureRange", kURLErrorDomain, -1207, true},
                    URLErrorCase{"otherDomain", "TLMNetworkError", -1001, false}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(QtNetworkErrors, MapToTheCodesThatDecideRetrying) {
    using R = TLMNetworkResponseHandler;
    for (const auto &[error, retryable] : {std::pair{QNetworkReply::SslHandshakeFailedError, false},
                                           {QNetworkReply::ProtocolUnknownError, false},
                                           {QNetworkReply::TooManyRedirectsError, false},
                                           {QNetworkReply::HostNotFoundError, true},
                                           {QNetworkReply::TemporaryNetworkFailureError, true}}) {
        EXPECT_EQ(R::retryableURLError(R::urlErrorFromNetworkError(error, {})), retryable) << error;
    }
}

}  // namespace
}  // namespace tarnwell
