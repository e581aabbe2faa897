#pragma once

#include <optional>

#include <QByteArray>
#include <QList>
#include <QPair>

class QNetworkReply;

namespace tarnwell {

// What came back from one request, detached from the reply object so the
// classification can be tested without a network. A reply that never reached
// HTTP (refused, dropped, timed out) has no status code and no header fields.
struct TLMHttpResponse {
    std::optional<int> statusCode;
    QList<QPair<QByteArray, QByteArray>> headers;

    static TLMHttpResponse fromReply(const QNetworkReply &reply);
};

}  // namespace tarnwell
