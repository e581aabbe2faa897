#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include <QString>

#include "EVTBackoffTimer.h"
#include "TLMHttpResponse.h"
#include "TLMNetworkError.h"

class QNetworkRequest;

namespace tarnwell {

// Decides, for one finished upload, whether and when it is sent again. One
// backoff timer per upload identifier, kept for the life of the handler, so
// an identifier that used up its retries is given up at its next failure.
// Not locked: the caller serialises every call.
class EVTNetworkRetryHandler {
public:
    static constexpr uint64_t kDefaultMaxRetries = 10;
    static constexpr char kIdentifierKey[] = "EVTNetworkRetryHandlerIdentifier";

    EVTNetworkRetryHandler(EVTDelayedRunner &runner, EVTRandomSource random);
    ~EVTNetworkRetryHandler();

    // Called exactly once with (willRetry, error). With willRetry the call
    // comes from the runner after the backoff delay, and the caller sends
    // the request again. maxRetries is inclusive: 10 allows 11 retries.
    using Completion = std::function<void(bool, const std::optional<TLMError> &)>;
    void handleCompletedRequest(const QNetworkRequest &request, const TLMHttpResponse &response,
                                const QString &identifier, const std::optional<TLMError> &error,
                                Completion completion, uint64_t maxRetries = kDefaultMaxRetries);

    // The identifier's timer, made with the given initial value when it is
    // new; nothing for an empty identifier.
    EVTBackoffTimer *timerForIdentifier(const QString &identifier, double initialRetryValue);

private:
    TLMError fallbackError(int code, const QNetworkRequest &request,
                           const QString &identifier) const;

    EVTDelayedRunner &runner_;
    EVTRandomSource random_;
    std::map<QString, std::unique_ptr<EVTBackoffTimer>> retryTimerMap_;
};

}  // namespace tarnwell
