#include "TLMNetworkResponseHandler.h"

#include <algorithm>
#include <array>

#include <QNetworkRequest>

namespace tarnwell {

namespace {

constexpr double kDefaultRetryAfterSeconds = 2.0;

constexpr std::array kClientErrorStatuses{400, 401, 403, 404, 406, 410, 411, 413, 419, 422, 431};
constexpr std::array kThrottledStatuses{420, 429};
// 203 is left out on purpose: a proxy rewrote the answer, so it is not trusted.
constexpr std::array kSuccessStatuses{200, 201, 202, 204, 304};

// URL-domain codes that describe a permanent condition: a bad address, a
// certificate problem, a local file that cannot be sent. -1102 (no permission
// to read a file) is retried although its neighbours are not.
constexpr std::array kPermanentURLErrors{-1022, -1013, -1012, -1010, -1007, -1002,
                                         -1000, -995,  -1103, -1101, -1100};
constexpr int kSecureConnectionFirst = -1206;
constexpr int kSecureConnectionLast = -1200;

template <size_t N>
bool contains(const std::array<int, N> &values, int value) {
    return std::find(values.begin(), values.end(), value) != values.end();
}

}  // namespace

std::optional<QString> TLMNetworkResponseHandler::headerForResponse(const TLMHttpResponse &response,
                                                                    const QByteArray &key) {
    if (response.headers.isEmpty()) {
        return std::nullopt;
    }
    for (const auto &[name, value] : response.headers) {
        if (name.compare(key, Qt::CaseInsensitive) == 0) {
            return QString::fromUtf8(value);
        }
    }
    return QString();
}

double TLMNetworkResponseHandler::retryValueForResponse(const TLMHttpResponse &response) {
    const std::optional<QString> header = headerForResponse(response, "Retry-After");
    bool ok = false;
    const double seconds = header ? header->trimmed().toDouble(&ok) : 0.0;
    return ok && seconds >= 0.0 ? seconds : kDefaultRetryAfterSeconds;
}

std::optional<QString> TLMNetworkResponseHandler::requestIdForResponse(
    const TLMHttpResponse &response) {
    return headerForResponse(response, "X-Request-Id");
}

bool TLMNetworkResponseHandler::contentTypeForResponse(const TLMHttpResponse &response,
                                                       const QNetworkRequest &request) {
    if (!request.hasRawHeader("Accept")) {
        return true;
    }
    const std::optional<QString> contentType = headerForResponse(response, "Content-Type");
    if (!contentType || contentType->isEmpty()) {
        return false;
    }
    const QStringList parts = contentType->split(QStringLiteral("; charset="));
    const QString accept = QString::fromUtf8(request.rawHeader("Accept"));
    if (parts.first().compare(accept, Qt::CaseInsensitive) != 0) {
        return false;
    }
    if (request.hasRawHeader("Accept-Charset") && parts.size() >= 2) {
        const QString charset = QString::fromUtf8(request.rawHeader("Accept-Charset"));
        return parts.at(1).compare(charset, Qt::CaseInsensitive) == 0;
    }
    return true;
}

TLMError TLMNetworkResponseHandler::urlErrorFromNetworkError(QNetworkReply::NetworkError error,
                                                             const QString &description) {
    int code = kURLErrorUnknown;
    switch (error) {
        case QNetworkReply::ConnectionRefusedError:
        case QNetworkReply::ProxyConnectionRefusedError:
        case QNetworkReply::ProxyNotFoundError:
            code = kURLErrorCannotConnectToHost;
            break;
        case QNetworkReply::RemoteHostClosedError:
        case QNetworkReply::ProxyConnectionClosedError:
            code = kURLErrorNetworkConnectionLost;
            break;
        case QNetworkReply::HostNotFoundError:
            code = kURLErrorCannotFindHost;
            break;
        case QNetworkReply::TimeoutError:
        case QNetworkReply::ProxyTimeoutError:
            code = kURLErrorTimedOut;
            break;
        case QNetworkReply::OperationCanceledError:
            code = kURLErrorCancelled;
            break;
        case QNetworkReply::TemporaryNetworkFailureError:
        case QNetworkReply::NetworkSessionFailedError:
        case QNetworkReply::BackgroundRequestNotAllowedError:
            code = kURLErrorNotConnectedToInternet;
            break;
        case QNetworkReply::SslHandshakeFailedError:
            code = kURLErrorSecureConnectionFailed;
            break;
        case QNetworkReply::TooManyRedirectsError:
            code = kURLErrorHTTPTooManyRedirects;
            break;
        case QNetworkReply::InsecureRedirectError:
            code = kURLErrorAppTransportSecurityRequiresSecureConnection;
            break;
        case QNetworkReply::AuthenticationRequiredError:
        case QNetworkReply::ProxyAuthenticationRequiredError:
            code = kURLErrorUserAuthenticationRequired;
            break;
        case QNetworkReply::ProtocolUnknownError:
            code = kURLErrorUnsupportedURL;
            break;
        case QNetworkReply::ProtocolInvalidOperationError:
            code = kURLErrorBadURL;
            break;
        case QNetworkReply::ProtocolFailure:
            code = kURLErrorBadServerResponse;
            break;
        default:
            break;
    }
    return TLMError{
        QString::fromLatin1(kURLErrorDomain), code, {{QStringLiteral("description"), description}}};
}

bool TLMNetworkResponseHandler::retryableURLError(const TLMError &error) {
    if (error.domain != QLatin1String(kURLErrorDomain)) {
        return false;
    }
    if (error.code >= kSecureConnectionFirst && error.code <= kSecureConnectionLast) {
        return false;
    }
    return !contains(kPermanentURLErrors, error.code);
}

TLMError TLMNetworkResponseHandler::errorForCode(int code, const QVariantMap &userInfo) {
    return TLMError{QString::fromLatin1(kTLMNetworkErrorDomain), code, userInfo};
}

std::optional<TLMError> TLMNetworkResponseHandler::errorForResponse(const TLMHttpResponse &response,
                                                                    TLMResponseType type,
                                                                    int status) {
    int code = 0;
    switch (type) {
        case TLMResponseType::Success:
            return std::nullopt;
        case TLMResponseType::Unexpected:
            code = kTLMUnexpectedResponse;
            break;
        case TLMResponseType::ClientError:
            code = kTLMClientError;
            break;
        case TLMResponseType::Retryable:
        case TLMResponseType::Throttled:
            code = kTLMRetryableResponse;
            break;
    }
    return errorForCode(code, {
                                  {QStringLiteral("type"), static_cast<int>(type)},
                                  {QStringLiteral("status_code"), status},
                                  {QStringLiteral("request_id"),
                                   requestIdForResponse(response).value_or(QString())},
                                  {QStringLiteral("content_type"),
                                   headerForResponse(response, "Content-Type").value_or(QString())},
                              });
}

void TLMNetworkResponseHandler::clientResponseType(
    const TLMHttpResponse &response, const std::function<void(TLMResponseType, int)> &handler) {
    if (!response.statusCode) {
        handler(TLMResponseType::Unexpected, 0);
        return;
    }
    const int status = *response.statusCode;
    TLMResponseType type = TLMResponseType::Unexpected;
    if (contains(kClientErrorStatuses, status)) {
        type = TLMResponseType::ClientError;
    } else if (contains(kThrottledStatuses, status)) {
        type = TLMResponseType::Throttled;
    } else if (status == 408) {
        type = TLMResponseType::Retryable;
    } else if (contains(kSuccessStatuses, status)) {
        type = TLMResponseType::Success;
    } else if (status >= 500 && status <= 599) {
        type = TLMResponseType::Retryable;
    }
    handler(type, status);
}

void TLMNetworkResponseHandler::handleCompletedResponse(const TLMHttpResponse &response,
                                                        const QNetworkRequest &request,
                                                        const std::optional<TLMError> &error,
                                                        const CompletionBlock &block) {
    if (error) {
        block(retryableURLError(*error), error);
        return;
    }
    clientResponseType(response, [&](TLMResponseType type, int status) {
        switch (type) {
            case TLMResponseType::Success:
                if (contentTypeForResponse(response, request)) {
                    block(false, std::nullopt);
                } else {
                    block(false, errorForResponse(response, TLMResponseType::Unexpected, status));
                }
                break;
            case TLMResponseType::Unexpected:
            case TLMResponseType::ClientError:
                block(false, errorForResponse(response, type, status));
                break;
            case TLMResponseType::Retryable:
            case TLMResponseType::Throttled:
                block(true, errorForResponse(response, type, status));
                break;
        }
    });
}

}  // namespace tarnwell
