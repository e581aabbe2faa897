#include "EVTNetworkRetryHandler.h"

#include <QNetworkRequest>

#include "TLMNetworkResponseHandler.h"

namespace tarnwell {

EVTNetworkRetryHandler::EVTNetworkRetryHandler(EVTDelayedRunner &runner, EVTRandomSource random)
    : runner_(runner), random_(std::move(random)) {}

EVTNetworkRetryHandler::~EVTNetworkRetryHandler() = default;

void EVTNetworkRetryHandler::handleCompletedRequest(const QNetworkRequest &request,
                                                    const TLMHttpResponse &response,
                                                    const QString &identifier,
                                                    const std::optional<TLMError> &error,
                                                    Completion completion, uint64_t maxRetries) {
    bool shouldRetry = false;
    std::optional<TLMError> handlerError;
    TLMNetworkResponseHandler::handleCompletedResponse(
        response, request, error, [&](bool retry, const std::optional<TLMError> &e) {
            shouldRetry = retry;
            handlerError = e;
        });
    if (!shouldRetry) {
        completion(false, handlerError);
        return;
    }
    const double initialRetryValue = TLMNetworkResponseHandler::retryValueForResponse(response);
    EVTBackoffTimer *timer = timerForIdentifier(identifier, initialRetryValue);
    if (timer == nullptr) {
        completion(false, handlerError ? handlerError
                                       : fallbackError(kTLMNoRetryTimer, request, identifier));
        return;
    }
    if (timer->retryCount() <= maxRetries) {
        timer->executeBlockAfterNextInterval(
            [completion = std::move(completion), handlerError] { completion(true, handlerError); });
        return;
    }
    completion(false, handlerError ? handlerError
                                   : fallbackError(kTLMRetriesExhausted, request, identifier));
}

EVTBackoffTimer *EVTNetworkRetryHandler::timerForIdentifier(const QString &identifier,
                                                            double initialRetryValue) {
    if (identifier.isEmpty()) {
        return nullptr;
    }
    auto &timer = retryTimerMap_[identifier];
    if (!timer) {
        timer = std::make_unique<EVTBackoffTimer>(initialRetryValue, runner_, random_);
    }
    return timer.get();
}

TLMError EVTNetworkRetryHandler::fallbackError(int code, const QNetworkRequest &request,
                                               const QString &identifier) const {
    QVariantMap userInfo{{QString::fromLatin1(kIdentifierKey),
                          identifier.isEmpty() ? QStringLiteral("(null)") : identifier}};
    if (!request.url().isEmpty()) {
        userInfo.insert(QString::fromLatin1(kURLErrorFailingURLKey), request.url());
    }
    return TLMNetworkResponseHandler::errorForCode(code, userInfo);
}

}  // namespace tarnwell
