#include "TLMHttpResponse.h"

#include <QNetworkReply>

namespace tarnwell {

TLMHttpResponse TLMHttpResponse::fromReply(const QNetworkReply &reply) {
    TLMHttpResponse response;
    const QVariant status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid()) {
        response.statusCode = status.toInt();
        response.headers = reply.rawHeaderPairs();
    }
    return response;
}

}  // namespace tarnwell
