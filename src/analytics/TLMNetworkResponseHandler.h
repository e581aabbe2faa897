#pragma once

#include <functional>
#include <optional>

#include <QNetworkReply>
#include <QString>

#include "TLMHttpResponse.h"
#include "TLMNetworkError.h"

class QNetworkRequest;

namespace tarnwell {

// How a finished request is to be treated.
enum class TLMResponseType {
    Success = 0,
    Unexpected = 1,
    ClientError = 2,  // retrying will not cure it
    Retryable = 3,    // server-side or time-out condition
    Throttled = 4,
};

// Turns an HTTP response or a transport error into one decision: delivered,
// dropped, or worth trying again. Shared by every network client of the kit.
class TLMNetworkResponseHandler {
public:
    TLMNetworkResponseHandler() = delete;

    // Nothing when the response carries no header fields at all (it never
    // reached HTTP); otherwise the value, empty when the field is absent.
    static std::optional<QString> headerForResponse(const TLMHttpResponse &response,
                                                    const QByteArray &key);
    // The "Retry-After" seconds; 2.0 when absent, unreadable or negative.
    static double retryValueForResponse(const TLMHttpResponse &response);
    static std::optional<QString> requestIdForResponse(const TLMHttpResponse &response);
    static bool contentTypeForResponse(const TLMHttpResponse &response,
                                       const QNetworkRequest &request);

    // Qt reports transport failures in its own enumeration; the kit reasons in
    // the URL domain's codes, so every failure is translated once, here.
    static TLMError urlErrorFromNetworkError(QNetworkReply::NetworkError error,
                                             const QString &description);
    static bool retryableURLError(const TLMError &error);

    static TLMError errorForCode(int code, const QVariantMap &userInfo);
    static std::optional<TLMError> errorForResponse(const TLMHttpResponse &response,
                                                    TLMResponseType type, int status);
    static void clientResponseType(const TLMHttpResponse &response,
                                   const std::function<void(TLMResponseType, int)> &handler);

    // The single entry for clients: calls the block once with
    // (shouldRetry, error), the error absent on success.
    using CompletionBlock = std::function<void(bool, const std::optional<TLMError> &)>;
    static void handleCompletedResponse(const TLMHttpResponse &response,
                                        const QNetworkRequest &request,
                                        const std::optional<TLMError> &error,
                                        const CompletionBlock &block);
};

}  // namespace tarnwell
